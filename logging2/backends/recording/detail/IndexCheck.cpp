#include <logging2/backends/recording/detail/IndexCheck.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/AccessFault.hpp>
#include <logging2/backends/recording/detail/DatabaseCheck.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>
#include <logging2/backends/recording/detail/open_index.hpp>
#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <algorithm>
#include <charconv>
#include <limits>
#include <set>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace logging2::core::detail {
namespace {

bool is_number(const std::string& text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

bool is_state(const std::string& text) {
    return text == "running" || text == "finished" || text == "interrupted";
}

} // namespace

IndexCheck::IndexCheck(const std::string& directory, Findings& foundFaults)
    : location(directory),
      name(directory + "/index.sqlite"),
      findings(foundFaults) {}

void IndexCheck::read() {
    try {
        database = open_index(location);
        readOpened();
    } catch (const AccessFault&) {
        throw;
    } catch (const RecordingError& error) {
        findings.add(error);
    }
    database.reset();
}

void IndexCheck::readOpened() {
    const Transaction transaction(*database, Transaction::Kind::read);
    greatestRowCount = row_count_limit(name);
    if (!DatabaseCheck(*database, findings, greatestRowCount).check()) {
        return;
    }
    readRun();
    readGroups();
    readChannels();
    readPaths();
    checkDescription();
    readChunks();
}

/// No more rows than fit into the file: pages that name each other could give any number of them.
std::string IndexCheck::limited(const std::string& query) const {
    return query + " LIMIT " + std::to_string(greatestRowCount);
}

template <class Action>
void IndexCheck::forEachRow(const std::string& query, Action action) {
    try {
        Statement rows(*database, query.c_str());
        while (rows.step()) {
            action(rows);
        }
    } catch (const RecordingError& error) {
        findings.add(error);
    }
}

void IndexCheck::checkHash(std::uint64_t hash, std::uint64_t expected, const std::string& row) {
    if (hash != expected) {
        add(text_of_difference("the hash of " + row, expected, hash));
    }
}

void IndexCheck::readRun() {
    forEachRow(limited("SELECT key, value, hash FROM run"), [this](const Statement& row) {
        checkHash(row.unsignedInteger(2), hash_of_row(row.text(0), row.text(1)),
                  "the run's " + row.text(0));
        values[row.text(0)] = row.text(1);
    });
    checkRunValues();
    described = {values["id"],
                 values["name"],
                 values["start"],
                 values["host"],
                 values["process"],
                 values["library_version"],
                 {},
                 {}};
    forEachRow(limited("SELECT key, value FROM property"),
               [this](const Statement& row) { described.properties[row.text(0)] = row.text(1); });
}

void IndexCheck::checkRunValues() {
    const std::set<std::string> needed{"id",      "name",           "start", "host",
                                       "process", "byte_order",     "state", "revision",
                                       "commit",  "library_version"};
    for (const std::string& key : needed) {
        if (values.count(key) == 0) {
            add("the run has no " + key);
        }
    }
    for (const auto& [key, value] : values) {
        if (needed.count(key) == 0 && key != "end") {
            add("the run has an unknown key \"" + key + '"');
        }
    }
    const std::pair<const char*, bool> facts[] = {{"state", is_state(values["state"])},
                                                  {"revision", is_number(values["revision"])},
                                                  {"commit", is_number(values["commit"])},
                                                  {"byte_order", values["byte_order"] == "little"}};
    for (const auto& [key, isValid] : facts) {
        if (!isValid) {
            add(std::string("the run's ") + key + " cannot be \"" + values[key] + '"');
        }
    }
    const bool isRunning = values["state"] == "running";
    const bool hasEnd = values.count("end") != 0;
    if (isRunning && hasEnd) {
        add("the run has an end but its state is running");
    }
}

void IndexCheck::readGroups() {
    forEachRow(limited("SELECT position, id, steps, shown_steps, chunk_hash_sum, hash "
                       "FROM signal_group ORDER BY position"),
               [this](const Statement& row) {
                   const std::size_t position = stored.size();
                   if (row.unsignedInteger(0) != position) {
                       add(text_of_difference("a group's position", std::uint64_t{position},
                                              row.unsignedInteger(0)));
                   }
                   described.groups.push_back({row.unsignedInteger(1), {}, {}});
                   const GroupRow counts{row.unsignedInteger(2), row.unsignedInteger(3),
                                         row.unsignedInteger(4)};
                   stored.push_back({counts, {}});
                   checkHash(row.unsignedInteger(5), hash_of_row(row.unsignedInteger(0), counts),
                             "group " + std::to_string(row.unsignedInteger(1)));
               });
}

void IndexCheck::readChannels() {
    forEachRow(limited("SELECT signal_group, position, number, width FROM channel "
                       "ORDER BY signal_group, position"),
               [this](const Statement& row) {
                   if (row.unsignedInteger(0) >= described.groups.size()) {
                       add("a channel has no group");
                       return;
                   }
                   auto& channels = described.groups[row.unsignedInteger(0)].channels;
                   if (row.unsignedInteger(1) != channels.size()) {
                       add(text_of_difference("a channel's position",
                                              std::uint64_t{channels.size()},
                                              row.unsignedInteger(1)));
                   }
                   channels.push_back({row.unsignedInteger(2), row.unsignedInteger(3)});
               });
}

void IndexCheck::readPaths() {
    forEachRow("SELECT signal_group, text, channel FROM (" + limited("SELECT * FROM path") +
                   ") ORDER BY channel, text",
               [this](const Statement& row) {
                   if (row.unsignedInteger(0) >= described.groups.size()) {
                       add("the path \"" + row.text(1) + "\" has no group");
                       return;
                   }
                   described.groups[row.unsignedInteger(0)].paths.push_back(
                       {row.text(1), row.unsignedInteger(2)});
               });
}

void IndexCheck::checkDescription() {
    try {
        run_id_of(described.id);
        description_of(text_of(described));
        time_of(described.start);
        if (const auto end = values.find("end"); end != values.end()) {
            time_of(end->second);
        }
        describes = true;
    } catch (const std::runtime_error& error) {
        add(error.what());
    }
}

void IndexCheck::readChunks() {
    chunkHashSums.resize(stored.size());
    forEachRow(limited(std::string("SELECT ") + chunkColumns +
                       " FROM chunk ORDER BY signal_group, first_step"),
               [this](const Statement& row) {
                   const ChunkRow chunk = chunk_of(row);
                   checkHash(row.unsignedInteger(chunkHashColumn), hash_of_row(chunk),
                             "the chunk of sequence " + std::to_string(chunk.sequence));
                   if (chunk.group >= stored.size()) {
                       add("the chunk of sequence " + std::to_string(chunk.sequence) +
                           " has no group");
                       return;
                   }
                   stored[chunk.group].chunks.push_back(chunk);
                   chunkHashSums[chunk.group] += row.unsignedInteger(chunkHashColumn);
               });
    for (std::size_t position = 0; position < stored.size(); ++position) {
        checkChunks(position);
    }
}

void IndexCheck::checkChunks(std::size_t position) {
    const std::string group = "group " + std::to_string(described.groups[position].id);
    std::uint64_t step = 0;
    for (const ChunkRow& chunk : stored[position].chunks) {
        if (chunk.firstStep != step) {
            add(text_of_difference(group + ": the first step of a chunk", step,
                                   std::uint64_t{chunk.firstStep}));
        }
        if (chunk.stepCount == 0 || chunk.stepCount > chunk.storedStepCount) {
            add(group + ": of the " + std::to_string(chunk.storedStepCount) +
                " steps of a chunk, " + std::to_string(chunk.stepCount) + " belong to the run");
        }
        step = chunk.firstStep + chunk.stepCount;
    }
    const StoredGroup& counts = stored[position];
    if (counts.stepCount != step) {
        add(text_of_difference(group + ": the number of steps", step,
                               std::uint64_t{counts.stepCount}));
    }
    if (counts.chunkHashSum != chunkHashSums[position]) {
        add(text_of_difference(group + ": the sum of its chunks' hashes", chunkHashSums[position],
                               counts.chunkHashSum));
    }
    if (counts.shownStepCount > counts.stepCount) {
        add(group + ": " + std::to_string(counts.shownStepCount) + " steps are shown of " +
            std::to_string(counts.stepCount));
    }
}

} // namespace logging2::core::detail
