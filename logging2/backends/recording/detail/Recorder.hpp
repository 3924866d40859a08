#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/ChunkEncoder.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/ChunkWriter.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/GroupRow.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
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
    bool showAll = false;      ///< readers see also the newest steps, which the solver may reject
    std::optional<RunEnd> end; ///< unless the run goes on
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
    /// Makes the files in the directory, which exists, for a run that begins with this revision.
    Recorder(const std::string& directory, const RecordingOptions& options,
             const Description& description, std::uint64_t firstRevision = 0);

    void commit(const Commit& commit);

    /// Shows the last commit to all readers. If it has ended the run, brings everything into the
    /// index. What was committed is stored even if this throws.
    void publish();

    /// The first stored step of the group that is later than the time, of which there is one.
    std::size_t firstLater(std::size_t group, double time) const;

    /// How the group would stand with its first stepCount stored steps only.
    GroupEnd endOf(std::size_t group, std::size_t stepCount) const;

    std::size_t storedStepCount(std::size_t group) const { return groups[group].row.stepCount; }

    /// How many stored steps readers see.
    std::size_t shownStepCount(std::size_t group) const { return groups[group].row.shownStepCount; }

private:
    struct GroupState {
        ChunkEncoder encoder;
        GroupRow row;
    };

    /// The rollbacks in the data file. Each record tells of them, in case the last one is damaged.
    struct Rollbacks {
        std::uint64_t count = 0;
        Discard last{};
    };

    /// What a commit makes of the state; it is kept if the commit succeeds.
    struct Draft {
        std::uint64_t end;
        std::uint64_t nextSequence;
        std::uint64_t revision;
        Rollbacks rollbacks;
        std::map<std::size_t, GroupRow> groups; ///< those that it changes
        std::vector<PendingChunk> chunks;       ///< of its pieces
    };

    void buryFailedTransaction();
    Draft draftOf(const Commit& commit) const;
    void store(Draft& draft, const Commit& commit);
    void appendDescription(const Description& description);
    void appendDiscards(Draft& draft, const std::vector<Discard>& discards);
    void appendPieces(Draft& draft, const std::vector<Piece>& pieces);
    RecordHeader headerOf(Draft& draft, RecordKind kind, std::size_t group) const;
    void updateIndex(Draft& draft, const Commit& commit);
    void discardInIndex(std::size_t group, std::size_t firstStep, GroupRow& groupRow);
    void addToIndex(ChunkRow row, GroupRow& groupRow);
    ChunkRow shortened(ChunkRow row, std::size_t stepCount) const;
    std::vector<double> timesOf(const ChunkRow& row, std::size_t count) const;

    Durability durability;
    std::size_t heldBack;
    RunId run;
    DataFile data;
    mutable IndexWriter index;
    ChunkWriter chunkWriter;
    std::vector<GroupState> groups;
    std::uint64_t end = 0; ///< of the records in the data file
    std::uint64_t nextSequence = 0;
    std::uint64_t revision;
    Rollbacks rollbacks;
    bool hasEnded = false;    ///< by the last commit
    bool mayComeBack = false; ///< the transaction of the last commit, though it has failed
};

} // namespace logging2::core::detail
