#pragma once

#include <logging2/backends/recording/detail/Database.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/Findings.hpp>
#include <logging2/backends/recording/detail/IndexReader.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// Reads the index of a recording as far as it can be read, and adds what is wrong with it to the
/// findings.
class IndexCheck {
public:
    IndexCheck(const std::string& directory, Findings& foundFaults);

    /// Reads the state of this moment. Without it, the rest is empty.
    void read();

    /// Whether the index describes a run.
    bool hasDescription() const noexcept { return describes; }

    /// What the index says about the run.
    const Description& description() const noexcept { return described; }

    /// As many groups as the description has. Their chunks are in the order of their first steps,
    /// but may not follow each other.
    const std::vector<StoredGroup>& groups() const noexcept { return stored; }

private:
    void readOpened();
    void readRun();
    void checkRunValues();
    void readGroups();
    void readChannels();
    void readPaths();
    void checkDescription();
    void readChunks();
    void checkChunks(std::size_t position);
    void checkHash(std::uint64_t stored, std::uint64_t expected, const std::string& row);
    void add(const std::string& fault) { findings.add(name, fault); }

    std::string limited(const std::string& query) const;
    template <class Action>
    void forEachRow(const std::string& query, Action action);

    std::string location;
    std::string name; ///< of the index
    Findings& findings;
    std::unique_ptr<Database> database;
    std::uint64_t greatestRowCount = 0; ///< of a table
    bool describes = false;
    std::map<std::string, std::string> values; ///< of the table `run`
    Description described;
    std::vector<StoredGroup> stored;
    std::vector<std::uint64_t> chunkHashSums; ///< by group
};

} // namespace logging2::core::detail
