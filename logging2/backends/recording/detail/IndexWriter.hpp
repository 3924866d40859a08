#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/Database.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/GroupRow.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace logging2::core::detail {

/// How a run has ended.
struct RunEnd {
    std::string state;
    std::string time; ///< see text_of_time(); empty if nobody knows it
};

/// The index of a recording that is being written: the only connection that changes it. For one
/// thread at a time. A commit is a Transaction on database().
class IndexWriter {
public:
    /// Makes the index with the description and the revision, for a run that is running.
    IndexWriter(const std::string& name, mode_t mode, Durability durability, bool allowLiveReaders,
                const Description& description, std::uint64_t revision);

    Database& database() noexcept { return connection; }

    /// Throws if the index was deleted or moved, so that nobody could find what is written to it.
    /// If its log was, brings what the log holds into the index and makes a new log; throws if that
    /// fails, because somebody reads the index for example.
    void checkPlace();

    /// Adds a chunk, which is its group's last one.
    void add(const ChunkRow& chunk);

    /// Removes the group's chunks whose first step is this one or a later one, and returns the sum
    /// of their hashes.
    std::uint64_t removeFrom(std::size_t group, std::size_t firstStep);

    /// Changes what the index says about the chunk of this sequence number.
    void shorten(const ChunkRow& chunk);

    void setGroup(std::size_t position, const GroupRow& row);

    void setRevision(std::uint64_t revision);

    /// Counts the commit, so that readers notice it.
    void countCommit();

    void end(const RunEnd& end);

    /// The group's last chunk with a first step before this one, if there is one.
    std::optional<ChunkRow> lastBefore(std::size_t group, std::size_t step);

    /// Makes the new state visible also to readers that may not write to the directory: SQLite
    /// tells them only of states that some connection with that right has read.
    void announce();

    /// Brings everything into the one file index.sqlite, which never changes any more. The files
    /// of the log stay if a reader uses them.
    void finish();

private:
    void describe(const Description& description, std::uint64_t revision);
    void describeGroup(std::size_t position, const DescribedGroup& group);
    void setValue(std::string_view key, std::string_view value);
    void rememberLog();
    void restoreLog();

    /// Devices and inodes of the log and its shared memory.
    using LogFiles = std::array<std::pair<dev_t, ino_t>, 2>;
    LogFiles presentLog() const;

    Database connection;
    Statement addChunk;
    Statement findHashes;
    Statement removeChunks;
    Statement shortenChunk;
    Statement updateGroup;
    Statement updateValue;
    Statement findLast;
    Statement readCommit;
    std::uint64_t commitCount = 0;
    bool hasLog;
    LogFiles log{}; ///< when it was made
};

/// The statements that make the tables.
extern const char* const indexSchema;

/// The columns of a chunk's row, in the order in which chunk_of() expects them, and its hash.
extern const char* const chunkColumns;

/// The row that the statement has reached, with the columns from the first one on.
ChunkRow chunk_of(const Statement& statement);

/// The position of the row's hash.
constexpr int chunkHashColumn = 14;

/// Identify the file format: PRAGMA application_id.
constexpr std::int64_t applicationId = 0x4c325245;

} // namespace logging2::core::detail
