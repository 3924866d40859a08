#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/native/NativeDatastore.hpp>
#include <logging2/native/StreamLocationCreator.hpp>
#include <logging2/native/StreamMetadata.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>
#include <boost/unordered_map.hpp>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace logging2::core {

namespace test {
/// Gives tests access to the hand-off and the buffer sizes, so that the writer needs no code for
/// tests.
struct NativeStreamWriterAccess;
} // namespace test

/// Keeps the samples of a run in temporary files. It cannot undo steps.
///
/// Samples are collected in one buffer per group. A buffer is full when it has getBufferSize()
/// rows, which is 64 MiB if each logged path has one double. A full buffer is handed to a
/// background thread, which appends it to one times file per group and one values file per channel.
/// The first full buffer starts the thread. docs/using/files.md describes the names and contents of
/// the files, and docs/maintaining/hand-off.md describes the hand-off.
///
/// Intended: there is one hand-off slot and no queue. If a buffer fills before the thread has taken
/// the previous one, it replaces the previous one. The replaced steps are lost, and nothing is
/// reported. If N groups with equally many paths are logged together, their buffers fill on
/// consecutive calls, and about (N - 1)/N of the batches are lost, at any speed. To lose no step,
/// call flushIntermediate() and then clearBuffer() before any group has getBufferSize() rows. Then
/// no buffer is ever handed over.
///
/// Errors of the file system, such as a full disk, are not reported.
///
/// Memory: each group has a buffer for getBufferSize() rows of their real width, and up to twice as
/// much while it grows. In addition, the slot holds one batch, and the columns hold the batch that
/// is being written, whatever the number of groups.
///
/// Group ids may be any numbers. Give each channel a number that is unique in the writer: a values
/// file is found by its channel number alone. If groups share a channel number, the values of all
/// of them go to one file, which is the file of the path that is first in path order.
///
/// The owner must call flush() once before it destroys the writer. The destructor writes nothing.
/// Destroying a writer whose thread was started and not joined ends the process, for example if an
/// exception destroys an unflushed writer.
///
/// Threads: only one thread at a time may call the operations. The background thread accesses only
/// what its mutex guards and what never changes. A process that was made by fork() must neither
/// call nor destroy the writer.
class LOGGING2_EXPORT NativeStreamWriter : public StreamWriter {
public:
    /// Draws a unique location and names the files. Creates the user's directory if it is missing,
    /// but no file. Throws what the constructor of StreamLocationCreator throws.
    NativeStreamWriter(StreamingAttributes configuration,
                       SequenceMap<Group, LoggedPathsSetupData> setup);

    /// Takes over the configuration, the locations and the buffers. Intended: move a writer only
    /// before its first `write`, because the thread, the hand-off slot, the columns and the row
    /// widths stay with the source.
    NativeStreamWriter(NativeStreamWriter&& other) noexcept;

    /// Takes over what the move constructor takes over. Intended: move a writer only before the
    /// first `write` of either writer, because the target keeps its own thread, hand-off slot,
    /// columns and row widths.
    NativeStreamWriter& operator=(NativeStreamWriter&& other) noexcept;

    ~NativeStreamWriter() override;

    /// Appends one sample to its group's buffer and returns true; it never returns false.
    ///
    /// The n of a group's first sample is the width of the group's rows. Samples with another n are
    /// split as if they had that width.
    ///
    /// Cost: as long as the buffer is not full, the call takes no lock, does no I/O and allocates
    /// only the growth of the buffer. If the buffer becomes full, it is handed over; the call waits
    /// if the thread is writing a batch.
    ///
    /// Throws std::system_error if the thread cannot be started; the sample is kept. Throws
    /// std::bad_alloc or std::length_error if memory runs out; the sample is not kept.
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Undoes nothing: rejected steps stay in the files. Issues one warning "RollbackNotSupported"
    /// with the stream's name, and throws what the host's warning handler throws.
    ///
    /// Intended: the name is widened byte by byte, so characters other than ASCII are altered.
    void rollback(std::size_t group, double time) override;

    /// Returns a NativeDatastore that names the path's files. Throws std::out_of_range if the path
    /// is not logged.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Returns the empty optional.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Completes the files: ends the thread after it has written the batch in the slot, and then
    /// appends the remaining rows of all groups.
    ///
    /// Call it once, before the writer is destroyed, and write no samples afterwards. A second call
    /// throws std::system_error if there was a thread; otherwise it does nothing.
    ///
    /// Throws std::bad_alloc or std::length_error if memory runs out. The thread has ended then,
    /// and flushIntermediate() appends the rows that are left.
    void flush() override;

    /// Appends the buffered rows of all groups to the files, on the caller's thread. Waits if the
    /// background thread is writing a batch.
    ///
    /// Intended: a batch that waits in the slot is lost if any group has a row count other than 0.
    /// The row counts are not reset, so the next hand-over of a group comes sooner; clearBuffer()
    /// resets them. A group that has a row count but no rows gets empty appends, which create its
    /// files again if they are missing.
    ///
    /// Throws std::bad_alloc or std::length_error if memory runs out. The next flushIntermediate()
    /// or flush() then appends the rows that are in no file yet, unless clearBuffer() discards them
    /// first.
    void flushIntermediate() override;

    /// Does nothing. Call flush() to complete the files.
    void close() override;

    /// Returns the number of the group's logged paths, plus one for the times. Throws
    /// std::out_of_range if the group is not in the setup.
    std::size_t numChannels(std::size_t group) const;

    /// Returns the number of rows at which the group's buffer is full. Throws std::out_of_range if
    /// the group is not in the setup.
    std::size_t getBufferSize(std::size_t group) const;

    /// Discards everything that is buffered and in no file yet, including a batch in the slot, and
    /// resets all row counts to 0. Waits if the background thread is writing a batch. Samples may
    /// be written afterwards.
    void clearBuffer();

    /// Appends the bytes to the file whose path is given in UTF-8. Creates the file if it is
    /// missing. Returns whether the file could be opened; other errors are not reported.
    bool write(const std::string& path, const char* data, std::size_t bytes);

private:
    friend struct test::NativeStreamWriterAccess;

    LOGGING2_NO_EXPORT void initialize();
    LOGGING2_NO_EXPORT void takeFlags(NativeStreamWriter& other);
    LOGGING2_NO_EXPORT void copyToStreamedBuffer(std::size_t group, double time,
                                                 const double* values, std::size_t n);
    LOGGING2_NO_EXPORT void handOver(std::size_t group);
    void writer();

    // The caller of these must hold the mutex, or the thread must have been joined.
    LOGGING2_NO_EXPORT void moveToSlot(std::size_t group);
    LOGGING2_NO_EXPORT void writeBufferedRows(std::size_t group);
    LOGGING2_NO_EXPORT void transposeData(std::size_t group);
    LOGGING2_NO_EXPORT void transposeOrKeep(std::size_t group);
    LOGGING2_NO_EXPORT void turnToColumnsOf(std::size_t group);
    LOGGING2_NO_EXPORT void writeData(std::size_t group);
    LOGGING2_NO_EXPORT void appendColumn(const std::string& path, std::vector<double>& column);
    LOGGING2_NO_EXPORT std::deque<std::vector<double>>& columnsOf(std::size_t group);

    LOGGING2_NO_EXPORT const RowLayout& layoutOf(std::size_t group) const;

    StreamingAttributes attributes;
    StreamMetadata metadata;
    boost::unordered_map<lang::core::ValuePath, NativeDatastore> dataStores;
    std::unique_ptr<StreamLocationCreator> locationCreator;
    std::map<std::size_t, std::string> valuesPaths; // by channel number; UTF-8
    std::map<std::size_t, std::string> timesPaths;  // by group; UTF-8; guarded by mutex
    boost::unordered_map<std::size_t, std::size_t> bufferSizes;
    boost::unordered_map<std::size_t, std::size_t> rowCounts;
    std::unique_ptr<std::thread> writerThread;
    bool dataReady = false;     // guarded by mutex
    bool stopRequested = false; // guarded by mutex
    std::mutex mutex;
    std::condition_variable condition;
    std::size_t streamedGroup = 0; // guarded by mutex
    std::map<std::size_t, std::vector<double>> groupBuffers;
    std::vector<double> streamedBuffer;                             // guarded by mutex
    std::map<std::size_t, std::deque<std::vector<double>>> columns; // guarded by mutex
    boost::unordered_map<std::size_t, std::size_t> rowWidths;
    std::size_t streamedRowWidth = 0; // of the rows in streamedBuffer; guarded by mutex
    bool rowsCameByMove = false;      // some buffer may have rows without a width
    std::size_t columnsGroup = 0;     // the one whose columns keep their memory; guarded by mutex
};

} // namespace logging2::core
