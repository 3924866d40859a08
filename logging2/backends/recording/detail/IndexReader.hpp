#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/Database.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/GroupRow.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// A group's row, and its chunks in the order of their steps. They follow each other without gaps.
struct StoredGroup : GroupRow {
    std::vector<ChunkRow> chunks;
};

/// A state of the index.
struct IndexState {
    std::string state;
    std::string end;
    std::uint64_t revision = 0;
    std::optional<std::uint64_t> commit; ///< none before the state is read
    std::vector<StoredGroup> groups;
};

/// Reads the index of a recording, which it never changes. Reads in short transactions, so that
/// the writer's log can be emptied between them.
class IndexReader {
public:
    /// Opens the index in the recording's directory. Throws RecordingError, also if it is no
    /// recording or of a newer version.
    explicit IndexReader(const std::string& directory);

    /// What is fixed about the run. To be called first.
    Description description();

    /// Brings the state up to date. The first time, it has no groups.
    void refresh(IndexState& state);

private:
    void checkFormat();
    void limitRows();
    std::string limited(const std::string& query) const;
    void refreshOnce(IndexState& state);
    std::map<std::string, std::string> runValues();
    std::map<std::string, std::string> properties();
    void checkHash(std::uint64_t stored, std::uint64_t expected) const;
    void checkEnd(const std::string& end) const;
    std::vector<GroupRow> groupRows();
    void refreshGroup(std::size_t position, const GroupRow& row, StoredGroup& group);
    void checkChunks(std::size_t position, const StoredGroup& group) const;
    [[noreturn]] void fail(const std::string& what) const;

    std::string location;
    std::string name; ///< of the index
    std::unique_ptr<Database> database;
    std::uint64_t greatestRowCount = 0; ///< of a table
    std::size_t groupCount = 0;
};

} // namespace logging2::core::detail
