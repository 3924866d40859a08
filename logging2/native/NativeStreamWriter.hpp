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
/// Reaches the hand-off and the buffer sizes from tests, without a branch in the writer.
struct NativeStreamWriterAccess;
} // namespace test

/// Keeps the samples of a run in files, which a background thread writes; cannot take steps back.
///
/// Samples are collected in one buffer per group. A buffer that has got its number of rows (64 MiB
/// by one double per logged path, see getBufferSize()) is handed to the thread, which appends it
/// to one times file per group and one values file per channel. docs/file-layout.md tells the
/// files' names and contents, docs/threads.md who holds what when.
///
/// Intended: there is one hand-off slot and no queue. A buffer that fills before the thread has
/// taken the one before replaces it, and the replaced steps are in no file. A host that must lose
/// none, however slow the disk, calls flushIntermediate() and then clearBuffer() before any group
/// has getBufferSize() rows: then nothing is ever handed over.
///
/// Memory: per group the buffer at its real row width, up to twice that while it grows; once for
/// the slot, and once for the columns of the batch in work, whatever the number of groups.
///
/// Any group id will do. Values files are known by their channel number alone: where groups share
/// channel numbers, the file of the path that is first in path order gets the values of all of
/// them, so give channels numbers that are unique in the writer.
///
/// The owner calls flush() once before destroying the writer: the destructor writes nothing, and
/// destroying a writer whose thread was started but not joined ends the process.
///
/// Threads: all operations are called from one thread. The thread that the writer starts touches
/// nothing but what its mutex guards and what never changes. A process that fork() made must
/// neither call nor destroy it.
class LOGGING2_EXPORT NativeStreamWriter : public StreamWriter {
public:
    /// Draws a unique location and names the files; creates the user's directory and no file.
    /// Throws what StreamLocationCreator does.
    NativeStreamWriter(StreamingAttributes configuration,
                       SequenceMap<Group, LoggedPathsSetupData> setup);

    /// Intended: for a writer that has not been written to. Thread, hand-off slot, columns and row
    /// widths stay with the source.
    NativeStreamWriter(NativeStreamWriter&& other) noexcept;

    /// Intended: likewise; what the move leaves behind stays as it was in the target.
    NativeStreamWriter& operator=(NativeStreamWriter&& other) noexcept;

    ~NativeStreamWriter() override;

    /// Appends one sample to its group's buffer; always true. Takes no lock, does no I/O and
    /// allocates nothing but the buffer's growth, unless the buffer is full: then it hands it over,
    /// waiting for the thread where that is writing.
    ///
    /// The n of a group's first sample is the width of its rows; samples of another n are split as
    /// if they had that width. Throws std::system_error where the thread cannot be started (the
    /// sample is kept), allocation and length errors (the sample is not kept).
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Takes nothing back: issues one warning "RollbackNotSupported" with the stream's name.
    void rollback(std::size_t group, double time) override;

    /// A NativeDatastore that names the path's files. Throws std::out_of_range for a path that is
    /// not logged.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Always empty.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Ends the thread after the batch in the slot and appends the rest. To be called once, before
    /// the writer is destroyed; a second call throws std::system_error where there was a thread,
    /// and writes nothing otherwise. Nothing may be written afterwards.
    ///
    /// Where memory runs out, the thread has ended and flushIntermediate() appends the rest.
    void flush() override;

    /// Appends what the buffers hold from the caller's thread; waits while the background thread
    /// is writing.
    ///
    /// Intended: a batch that waits in the slot is dropped where some group has rows. The row
    /// counts go on, so that the next hand-over of a group comes sooner, and a group that was
    /// written before gets empty appends, which create its files anew where they are gone.
    ///
    /// Where memory runs out, the next flushIntermediate() or flush() appends what is in no file
    /// yet. clearBuffer() in between would drop it.
    void flushIntermediate() override;

    /// Does nothing.
    void close() override;

    /// The number of the group's logged paths, plus one for the times. Throws std::out_of_range for
    /// an unknown group.
    std::size_t numChannels(std::size_t group) const;

    /// How many rows fill the group's buffer. Throws std::out_of_range for an unknown group.
    std::size_t getBufferSize(std::size_t group) const;

    /// Drops everything that is buffered and not in files, also a batch that waits in the slot,
    /// and starts all row counts anew. Samples may be written afterwards.
    void clearBuffer();

    /// Appends the bytes to the file, named in UTF-8, which is created where it is missing. Returns
    /// whether it could be opened; other errors are not reported.
    bool write(const std::string& path, const char* data, std::size_t bytes);

private:
    friend struct test::NativeStreamWriterAccess;

    LOGGING2_NO_EXPORT void initialize();
    LOGGING2_NO_EXPORT void takeFlags(NativeStreamWriter& other);
    LOGGING2_NO_EXPORT void copyToStreamedBuffer(std::size_t group, double time,
                                                 const double* values, std::size_t n);
    LOGGING2_NO_EXPORT void handOver(std::size_t group);
    void writer();

    // These need the mutex, or a thread that has been joined.
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
