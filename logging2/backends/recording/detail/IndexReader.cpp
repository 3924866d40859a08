#include <logging2/backends/recording/detail/IndexReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/index_schema.hpp>
#include <logging2/backends/recording/detail/open_index.hpp>
#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace logging2::core::detail {
namespace {

std::uint64_t number_of(const std::string& text) {
    std::uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::uint64_t hash_sum_of(std::vector<ChunkRow>::const_iterator first,
                          std::vector<ChunkRow>::const_iterator end) {
    return std::accumulate(
        first, end, std::uint64_t{0},
        [](std::uint64_t sum, const ChunkRow& chunk) { return sum + hash_of_row(chunk); });
}

} // namespace

IndexReader::IndexReader(const std::string& directory)
    : location(directory),
      name(directory + "/index.sqlite") {
    database = open_index(location);
    checkFormat();
}

void IndexReader::fail(const std::string& what) const {
    throw RecordingError(name, what);
}

void IndexReader::checkFormat() {
    Transaction transaction(*database, Transaction::Kind::read);
    limitRows();
    if (database->integer("PRAGMA application_id") != applicationId) {
        fail("it is not the index of a recording");
    }
    if (database->integer("PRAGMA user_version") > formatVersion) {
        fail("it was written by a newer version of logging2");
    }
    // Nothing else may be asked of a database that could hold anything.
    if (const auto faults = schema_faults(*database); !faults.empty()) {
        fail("it is damaged: " + faults.front());
    }
}

/// Pages that name each other could give any number of rows, but no more than these fit into the
/// files.
void IndexReader::limitRows() {
    greatestRowCount = std::max(greatestRowCount, row_count_limit(name));
}

std::string IndexReader::limited(const std::string& query) const {
    return query + " LIMIT " + std::to_string(greatestRowCount);
}

void IndexReader::checkHash(std::uint64_t stored, std::uint64_t expected) const {
    if (stored != expected) {
        fail("it is damaged: a row has another hash");
    }
}

std::map<std::string, std::string> IndexReader::runValues() {
    std::map<std::string, std::string> result;
    Statement query(*database, limited("SELECT key, value, hash FROM run").c_str());
    while (query.step()) {
        checkHash(query.unsignedInteger(2), hash_of_row(query.text(0), query.text(1)));
        result[query.text(0)] = query.text(1);
    }
    for (const char* const key : {"state", "revision", "commit"}) {
        if (result.count(key) == 0) {
            fail(std::string("it is damaged: the run has no ") + key);
        }
    }
    return result;
}

std::map<std::string, std::string> IndexReader::properties() {
    std::map<std::string, std::string> result;
    Statement query(*database, limited("SELECT key, value FROM property").c_str());
    while (query.step()) {
        result[query.text(0)] = query.text(1);
    }
    return result;
}

Description IndexReader::description() {
    Transaction transaction(*database, Transaction::Kind::read);
    auto run = runValues();
    Description result{run["id"],      run["name"],
                       run["start"],   run["host"],
                       run["process"], run["library_version"],
                       properties(),   {}};
    Statement groups(*database, limited("SELECT id FROM signal_group ORDER BY position").c_str());
    while (groups.step()) {
        result.groups.push_back({groups.unsignedInteger(0), {}, {}});
    }
    groupCount = result.groups.size();
    Statement channels(*database, limited("SELECT signal_group, number, width FROM channel "
                                          "ORDER BY signal_group, position")
                                      .c_str());
    while (channels.step()) {
        if (channels.unsignedInteger(0) >= result.groups.size()) {
            fail("it is damaged: a channel has no group");
        }
        result.groups[channels.unsignedInteger(0)].channels.push_back(
            {channels.unsignedInteger(1), channels.unsignedInteger(2)});
    }
    Statement paths(*database, ("SELECT signal_group, text, channel FROM (" +
                                limited("SELECT * FROM path") + ") ORDER BY channel, text")
                                   .c_str());
    while (paths.step()) {
        if (paths.unsignedInteger(0) >= result.groups.size()) {
            fail("it is damaged: a path has no group");
        }
        result.groups[paths.unsignedInteger(0)].paths.push_back(
            {paths.text(1), paths.unsignedInteger(2)});
    }
    return result;
}

void IndexReader::refresh(IndexState& state) {
    try {
        refreshOnce(state);
    } catch (const SharedMemoryFault&) {
        database = open_index(location);
        refreshOnce(state);
    }
}

void IndexReader::refreshOnce(IndexState& state) {
    Transaction transaction(*database, Transaction::Kind::read);
    limitRows();
    auto run = runValues();
    const std::uint64_t commit = number_of(run["commit"]);
    if (commit == state.commit) {
        return;
    }
    IndexState next = state;
    next.commit = commit;
    next.state = run["state"];
    next.end = run["end"];
    checkEnd(next.end);
    next.revision = number_of(run["revision"]);
    const std::vector<GroupRow> rows = groupRows();
    next.groups.resize(rows.size());
    for (std::size_t position = 0; position < rows.size(); ++position) {
        refreshGroup(position, rows[position], next.groups[position]);
    }
    state = std::move(next);
}

void IndexReader::checkEnd(const std::string& end) const {
    try {
        if (!end.empty()) {
            time_of(end);
        }
    } catch (const std::runtime_error& error) {
        fail(std::string("it is damaged: ") + error.what());
    }
}

std::vector<GroupRow> IndexReader::groupRows() {
    std::vector<GroupRow> rows;
    Statement query(*database, limited("SELECT steps, shown_steps, chunk_hash_sum, hash "
                                       "FROM signal_group ORDER BY position")
                                   .c_str());
    while (query.step()) {
        rows.push_back(
            {query.unsignedInteger(0), query.unsignedInteger(1), query.unsignedInteger(2)});
        checkHash(query.unsignedInteger(3), hash_of_row(rows.size() - 1, rows.back()));
    }
    if (rows.size() != groupCount) {
        fail("it is damaged: the number of groups has changed");
    }
    return rows;
}

/// Only a group's last chunks ever change, so it reads backwards to one that it knows.
void IndexReader::refreshGroup(std::size_t position, const GroupRow& row, StoredGroup& group) {
    std::vector<ChunkRow> changed;
    std::vector<ChunkRow>& chunks = group.chunks;
    Statement query(*database,
                    limited(std::string("SELECT ") + chunkColumns +
                            " FROM chunk WHERE signal_group = ? ORDER BY first_step DESC")
                        .c_str());
    query.bind(position);
    std::size_t known = 0;
    while (query.step()) {
        const ChunkRow chunk = chunk_of(query);
        checkHash(query.unsignedInteger(chunkHashColumn), hash_of_row(chunk));
        const auto same = std::lower_bound(
            chunks.begin(), chunks.end(), chunk.firstStep,
            [](const ChunkRow& former, std::size_t step) { return former.firstStep < step; });
        if (same != chunks.end() && is_same_chunk(*same, chunk)) {
            known = static_cast<std::size_t>(same - chunks.begin()) + 1;
            break;
        }
        changed.push_back(chunk);
    }
    const std::uint64_t formerSum =
        group.chunkHashSum -
        hash_sum_of(chunks.begin() + static_cast<std::ptrdiff_t>(known), chunks.end());
    static_cast<GroupRow&>(group) = row;
    chunks.resize(known);
    chunks.insert(chunks.end(), changed.rbegin(), changed.rend());
    checkChunks(position, group);
    if (formerSum + hash_sum_of(changed.begin(), changed.end()) != row.chunkHashSum) {
        fail("it is damaged: the chunks of a group belong to another state of it");
    }
}

void IndexReader::checkChunks(std::size_t position, const StoredGroup& group) const {
    std::size_t step = 0;
    for (const ChunkRow& chunk : group.chunks) {
        if (chunk.firstStep != step || chunk.stepCount == 0 ||
            chunk.stepCount > chunk.storedStepCount || chunk.group != position) {
            fail("it is damaged: the chunks of a group do not follow each other");
        }
        if (chunk.offset % alignment != 0) {
            fail("it is damaged: a chunk begins where no record can be");
        }
        if (chunk.stepCount > std::numeric_limits<std::size_t>::max() - step) {
            fail("it is damaged: a group has too many steps");
        }
        step += chunk.stepCount;
    }
    if (step != group.stepCount || group.shownStepCount > step) {
        fail("it is damaged: a group has another number of steps than its chunks");
    }
}

} // namespace logging2::core::detail
