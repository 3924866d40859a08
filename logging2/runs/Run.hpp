#pragma once

#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/runs/Outline.hpp>
#include <logging2/runs/Overview.hpp>
#include <logging2/runs/Series.hpp>
#include <logging2/runs/export.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core {

/// What became of a run.
enum class RunState {
    /// Its host is still writing.
    running,
    /// Its host has made all samples final.
    finished,
    /// Its host stopped without making them final: it crashed, or it left early.
    interrupted
};

/// "running", "finished" or "interrupted".
inline const char* name_of(RunState state) noexcept {
    switch (state) {
    case RunState::running:
        return "running";
    case RunState::finished:
        return "finished";
    case RunState::interrupted:
        break;
    }
    return "interrupted";
}

/// What is known about a run as a whole.
struct RunInfo {
    /// Identifies the run among all others: a UUID in 36 characters.
    std::string id;

    /// The name that the host gave the stream; may be empty.
    std::string name;

    /// What became of the run.
    RunState state = RunState::running;

    /// When the host started to write, by its clock.
    std::chrono::system_clock::time_point start;

    /// When the host ended writing, by its clock; empty while it runs and if it crashed.
    std::optional<std::chrono::system_clock::time_point> end;

    /// The host's own notes, such as the model and the tolerance.
    std::map<std::string, std::string> properties;

    /// Grows by one whenever samples that were visible to readers are discarded.
    std::uint64_t revision = 0;

    /// The name of the computer that the host ran on; empty if it is not stored.
    std::string host;

    /// The id of the host's process on that computer; empty if it is not stored.
    std::string process;

    /// The version of logging2 that the host used; empty if it is not stored.
    std::string libraryVersion;
};

/// What is known about a group of a run.
struct GroupInfo {
    /// The id that the host used in `write`.
    std::size_t id = 0;

    /// The number of steps.
    std::size_t stepCount = 0;

    /// The time of the first step, empty if there is none.
    std::optional<double> firstTime;

    /// The time of the last step, empty if there is none.
    std::optional<double> lastTime;
};

/// What is known about a signal of a run.
struct SignalInfo {
    /// The name of the signal.
    lang::core::ValuePath path;

    /// The id of its group.
    std::size_t group = 0;

    /// The number of its channel. Signals of one group and channel are aliases.
    std::size_t channel = 0;

    /// The number of doubles per sample.
    std::size_t width = 0;
};

/// The steps first, first + 1, ... first + count - 1 of a group, numbered from 0 in the order in
/// which they were logged.
struct StepRange {
    /// The first step.
    std::size_t first = 0;

    /// The number of steps.
    std::size_t count = 0;
};

/// What is known about the samples of a signal without looking at each of them.
struct SignalSummary {
    /// The number of samples, S.
    std::size_t sampleCount = 0;

    /// The least and the greatest time of a sample; empty if no time is a number.
    std::optional<double> leastTime;
    /// See leastTime.
    std::optional<double> greatestTime;

    /// The least value of each element; +infinity if it has no number. As many entries as the
    /// signal is wide.
    std::vector<double> least;

    /// The greatest value of each element; -infinity if it has no number.
    std::vector<double> greatest;

    /// How many values of each element are NaN; those count neither as least nor as greatest.
    std::vector<std::size_t> nanCount;

    /// How many bytes the values take where they are stored, without the times and without what is
    /// stored to find them. Aliases share these bytes.
    std::uint64_t byteCount = 0;
};

/// One run, wherever it is stored.
///
/// All answers are those of one state of the run, the one at which it was opened or last
/// refreshed, also while the host goes on writing.
///
/// Every operation may throw the error of the storage, which its opening function names. Threads:
/// only one thread at a time may use an object. Different objects of the same run are independent.
///
/// The order of the virtual operations is fixed: storages are built apart from this library.
class LOGGING2_RUNS_EXPORT Run {
public:
    virtual ~Run();

    /// The run as a whole.
    virtual RunInfo info() const = 0;

    /// The groups in the order of the host's setup, also those without steps.
    virtual std::vector<GroupInfo> groups() const = 0;

    /// The signals, ordered by group, channel and path, also those without samples.
    virtual std::vector<SignalInfo> signals() const = 0;

    /// All samples of a signal, in the order in which they were logged. Throws std::out_of_range,
    /// with the path in its message, if the run has no such signal.
    virtual Series series(const lang::core::ValuePath& path) const = 0;

    /// The samples of a signal with from <= time <= to, in the order in which they were logged.
    /// Samples whose time is NaN are left out. Throws std::out_of_range as above.
    virtual Series series(const lang::core::ValuePath& path, double from, double to) const = 0;

    /// The samples of a signal at these steps. Throws std::out_of_range as above, and if the group
    /// has fewer steps.
    virtual Series series(const lang::core::ValuePath& path, StepRange steps) const = 0;

    /// The steps of the group with this id from the first to the last one with from <= time <= to;
    /// none if there is no such step. If the times do not ascend, other steps may lie between them.
    /// Throws std::out_of_range if the run has no such group.
    virtual StepRange steps(std::size_t group, double from, double to) const = 0;

    /// What is known about all samples of a signal. A recording does not read them; a run in memory
    /// does. Throws std::out_of_range as above.
    virtual SignalSummary summary(const lang::core::ValuePath& path) const = 0;

    /// The signal in [from, to], divided into bucketCount intervals of the same length. Throws
    /// std::out_of_range as above, and std::invalid_argument if bucketCount is 0, if from or to is
    /// not finite, or if from is greater than to.
    virtual Overview overview(const lang::core::ValuePath& path, double from, double to,
                              std::size_t bucketCount) const = 0;

    /// All samples of a signal as consecutive series. Each is a view if the storage has the samples
    /// in memory; then nothing is copied. Empty if there are no samples. Throws std::out_of_range
    /// as above.
    virtual std::vector<Series> pieces(const lang::core::ValuePath& path) const;

    /// Goes on to the present state of the run. Returns whether anything has changed. A Series that
    /// was given out before stays as it is.
    virtual bool refresh() = 0;

    /// One element of a signal in [from, to], divided into bucketCount intervals of the same
    /// length. Costs as much as an overview. Only if more than eight times as many pieces of 256
    /// samples as there are buckets hold infinite values, some finite values of these pieces may be
    /// missing in the least and the greatest. Throws as overview() does, and std::out_of_range if
    /// the signal has no such element.
    virtual Outline outline(const lang::core::ValuePath& path, std::size_t element, double from,
                            double to, std::size_t bucketCount) const = 0;

protected:
    Run() = default;
    Run(const Run&) = default;
    Run(Run&&) = default;
    Run& operator=(const Run&) = default;
    Run& operator=(Run&&) = default;
};

} // namespace logging2::core
