#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/ChunkEncoder.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// Rows of a group that are to be stored. They follow the steps before firstStep and replace what
/// was stored from there on.
struct Piece {
    std::size_t group; ///< position in the description
    std::size_t firstStep;
    const double* rows;
    std::size_t rowCount;
};

/// Steps of a group that are to be discarded.
struct Discard {
    std::size_t group;
    std::size_t firstStep;
};

/// What one commit changes: first the discards, then the pieces, each in their order.
struct Commit {
    std::vector<Discard> discards;
    std::vector<Piece> pieces;
    bool showAll = false; ///< readers see also the newest steps, which the solver may reject
    const char* endState = nullptr; ///< the run's state from now on, unless it is still running
};

/// How a group stands after its last step.
struct GroupEnd {
    std::size_t stepCount = 0;
    double lastTime = 0;                                            ///< if there is a step
    double greatestTime = -std::numeric_limits<double>::infinity(); ///< of those that are not NaN
};

/// The files of a recording that is being written. For one thread at a time.
///
/// If a function throws, the recording is as it was before, and the call may be repeated.
class Recorder {
public:
    /// Makes the files in the directory, which exists.
    Recorder(const std::string& directory, const RecordingOptions& options,
             const Description& description);

    void commit(const Commit& commit);

    /// Shows the last commit to all readers. If it has ended the run, brings everything into the
    /// index. What was committed is stored even if this throws.
    void publish();

    /// The first stored step of the group that is later than the time, if there is one.
    std::optional<std::size_t> firstLater(std::size_t group, double time) const;

    /// How the group would stand with its first stepCount stored steps only.
    GroupEnd endOf(std::size_t group, std::size_t stepCount) const;

    std::size_t storedStepCount(std::size_t group) const { return groups[group].counts.steps; }

    /// How many stored steps readers see.
    std::size_t shownStepCount(std::size_t group) const { return groups[group].counts.shown; }

private:
    struct Counts {
        std::size_t steps = 0;
        std::size_t shown = 0;
    };
    struct GroupState {
        ChunkEncoder encoder;
        Counts counts;
    };

    /// What a commit makes of the state; it is kept if the commit succeeds.
    struct Draft {
        std::uint64_t end;
        std::uint64_t nextSequence;
        std::uint64_t revision;
        std::map<std::size_t, Counts> counts; ///< of the groups that it changes
        std::vector<ChunkRow> rows;           ///< of its pieces
        std::size_t stagedByteCount = 0;      ///< they end at `end` and are not written yet
    };

    Draft draftOf(const Commit& commit) const;
    void appendDescription(const Description& description);
    void appendDiscard(Draft& draft, const Discard& discard);
    void appendPiece(Draft& draft, const Piece& piece);
    RecordHeader headerOf(Draft& draft, RecordKind kind, std::size_t group) const;
    char* stage(Draft& draft, std::size_t byteCount);
    void writeStaged(Draft& draft);
    void updateIndex(Draft& draft, const Commit& commit);
    void discardInIndex(std::size_t group, std::size_t firstStep);
    void addToIndex(ChunkRow row);
    ChunkRow shortened(ChunkRow row, std::size_t stepCount) const;
    std::vector<double> timesOf(const ChunkRow& row, std::size_t count) const;

    Durability durability;
    std::size_t heldBack;
    RunId run;
    DataFile data;
    mutable IndexWriter index;
    std::vector<GroupState> groups;
    std::unique_ptr<char[]> staging;
    std::size_t stagingByteCount = 0;
    std::uint64_t end = 0; ///< of the records in the data file
    std::uint64_t nextSequence = 0;
    std::uint64_t revision = 0;
    bool hasEnded = false; ///< by the last commit
};

} // namespace logging2::core::detail
