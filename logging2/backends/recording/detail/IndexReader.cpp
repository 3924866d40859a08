#include <logging2/backends/recording/detail/IndexReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>
#include <logging2/backends/recording/detail/index_schema.hpp>
#include <logging2/backends/recording/detail/open_index.hpp>
#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <algorithm>
#include <charconv>

namespace logging2::core::detail {
namespace {

std::uint64_t number_of(const std::string& text) {
    std::uint64_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
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

void IndexReader::checkHash(std::uint64_t stored, std::uint64_t expected) const {
    if (stored != expected) {
        fail("it is damaged: a row has another hash");
    }
}

std::map<std::string, std::string> IndexReader::runValues() {
    std::map<std::string, std::string> result;
    Statement query(*database, "SELECT key, value, hash FROM run");
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
    Statement query(*database, "SELECT key, value FROM property");
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
    Statement groups(*database, "SELECT id FROM signal_group ORDER BY position");
    while (groups.step()) {
        result.groups.push_back({groups.unsignedInteger(0), {}, {}});
    }
    Statement channels(*database, "SELECT signal_group, number, width FROM channel "
                                  "ORDER BY signal_group, position");
    while (channels.step()) {
        if (channels.unsignedInteger(0) >= result.groups.size()) {
            fail("it is damaged: a channel has no group");
        }
        result.groups[channels.unsignedInteger(0)].channels.push_back(
            {channels.unsignedInteger(1), channels.unsignedInteger(2)});
    }
    Statement paths(*database,
                    "SELECT signal_group, text, channel FROM path ORDER BY channel, text");
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
    auto run = runValues();
    const std::uint64_t commit = number_of(run["commit"]);
    if (commit == state.commit) {
        return;
    }
    IndexState next = state;
    next.commit = commit;
    next.state = run["state"];
    next.end = run["end"];
    next.revision = number_of(run["revision"]);
    Statement groups(*database,
                     "SELECT steps, shown_steps, hash FROM signal_group ORDER BY position");
    for (std::size_t position = 0; groups.step(); ++position) {
        if (position == next.groups.size()) {
            next.groups.emplace_back();
        }
        next.groups[position].stepCount = groups.unsignedInteger(0);
        next.groups[position].shownStepCount = groups.unsignedInteger(1);
        checkHash(groups.unsignedInteger(2),
                  hash_of_row(position, groups.unsignedInteger(0), groups.unsignedInteger(1)));
    }
    for (std::size_t position = 0; position < next.groups.size(); ++position) {
        refreshGroup(position, next.groups[position]);
    }
    state = std::move(next);
}

/// Only a group's last chunks ever change, so it reads backwards to one that it knows.
void IndexReader::refreshGroup(std::size_t position, StoredGroup& group) {
    std::vector<ChunkRow> changed;
    std::vector<ChunkRow>& chunks = group.chunks;
    Statement query(*database, (std::string("SELECT ") + chunkColumns +
                                " FROM chunk WHERE signal_group = ? ORDER BY first_step DESC")
                                   .c_str());
    query.bind(position);
    std::size_t known = 0;
    while (query.step()) {
        const ChunkRow row = chunk_of(query);
        checkHash(query.unsignedInteger(chunkHashColumn), hash_of_row(row));
        const auto same = std::lower_bound(
            chunks.begin(), chunks.end(), row.firstStep,
            [](const ChunkRow& chunk, std::size_t step) { return chunk.firstStep < step; });
        if (same != chunks.end() && is_same_chunk(*same, row)) {
            known = static_cast<std::size_t>(same - chunks.begin()) + 1;
            break;
        }
        changed.push_back(row);
    }
    chunks.resize(known);
    chunks.insert(chunks.end(), changed.rbegin(), changed.rend());
    checkChunks(position, group);
}

void IndexReader::checkChunks(std::size_t position, const StoredGroup& group) const {
    std::size_t step = 0;
    for (const ChunkRow& chunk : group.chunks) {
        if (chunk.firstStep != step || chunk.stepCount == 0 ||
            chunk.stepCount > chunk.storedStepCount || chunk.group != position) {
            fail("it is damaged: the chunks of a group do not follow each other");
        }
        step += chunk.stepCount;
    }
    if (step != group.stepCount || group.shownStepCount > step) {
        fail("it is damaged: a group has another number of steps than its chunks");
    }
}

} // namespace logging2::core::detail
