#pragma once

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace logging2::core {

namespace detail {

class Engine;

/// Ends the engine of a writer.
struct EndEngine {
    /// Ends it, except in a forked child, where it belongs to the parent.
    LOGGING2_RECORDING_EXPORT void operator()(Engine* engine) const noexcept;
};

} // namespace detail

/// Stores a run in a directory of its own, where it outlives the process: a recording.
///
/// A sample that `write` accepted is in the recording after `flush` has returned, unless a rollback
/// discarded it. Until then it survives a crash of the process if a commit has stored it; a commit
/// begins when a chunk is full and once per `commitInterval`.
///
/// Errors: if something cannot be stored, because the disk is full for example, the next call
/// throws RecordingError, which names the first sample that is not stored. The call itself has had
/// no effect, except that a rollback has discarded its steps. All accepted samples are still held,
/// and the next call tries to store them again, so a host can free space and go on. Every call may
/// also throw std::bad_alloc.
///
/// `rollbackOnTimeRegression` is obeyed as by the memory writers; `pointLimit` is ignored.
///
/// Threads: one writer is driven by one thread at a time; it stores on a thread of its own. In a
/// forked child every call throws std::logic_error, and the destructor does nothing.
class LOGGING2_RECORDING_EXPORT RecordingStreamWriter final : public StreamWriter {
public:
    /// Makes a new directory `NAME-YYYYMMDDTHHMMSSZ-XXXXXX.recording` in `options.directory`. NAME
    /// is the name in the attributes, with an underscore for each character other than a letter,
    /// a digit, `.`, `-` and `_`; "run" if that is empty.
    ///
    /// Throws std::invalid_argument if an option has no meaning, a channel is wider than 2^32
    /// doubles, or the buffers cannot hold one step of each group, and RecordingError if the
    /// recording cannot be made.
    RecordingStreamWriter(const StreamingAttributes& attributes,
                          const SequenceMap<Group, LoggedPathsSetupData>& setup,
                          const RecordingOptions& options = {});

    /// Takes over the recording. The other writer can only be destroyed or assigned to.
    RecordingStreamWriter(RecordingStreamWriter&& other) noexcept;
    /// Ends its own recording as the destructor does, and takes over the other one.
    RecordingStreamWriter& operator=(RecordingStreamWriter&& other) noexcept;

    /// Stores what was not flushed and marks the run as interrupted, if `flush` and `close` were
    /// not called. Never throws: what cannot be stored is lost without a message.
    ~RecordingStreamWriter() override;

    /// The directory of the recording.
    const std::string& location() const noexcept { return directory; }

    /// Appends one sample; always true. The n values are copied. Takes no lock, except once per
    /// block of steps; if the buffers are full, it waits for the disk.
    ///
    /// Throws std::out_of_range if the group is not in the setup, std::invalid_argument if n is
    /// not the sum of the widths of its channels, std::logic_error after `flush`, and
    /// RecordingError.
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Discards the first sample that is strictly later than the time and everything behind it.
    /// Samples at the time itself stay.
    ///
    /// Costs what it discards while the group's times ascend. If it discards what readers have
    /// seen, it waits for a commit, and the run's revision increases. Throws as `write` does.
    void rollback(std::size_t group, double time) override;

    /// The stored data of one logged path: the samples that are committed when the reader is made,
    /// and all of them after `flush`. Throws std::out_of_range if the path is not in the setup.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Always empty.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Stores all samples, shows them to readers, and ends the run as finished. A second call does
    /// nothing. Throws RecordingError; then the run goes on, and flush may be called again.
    void flush() override;

    /// Stores all samples so far and shows them to readers, also those that were held back.
    void flushIntermediate() override;

    /// The same as `flush`.
    void close() override;

private:
    std::string directory;
    std::set<lang::core::ValuePath> paths;
    std::unique_ptr<detail::Engine, detail::EndEngine> engine;
};

} // namespace logging2::core
