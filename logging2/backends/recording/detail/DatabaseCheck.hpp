#pragma once

#include <logging2/backends/recording/detail/Database.hpp>
#include <logging2/backends/recording/detail/Findings.hpp>

#include <cstdint>
#include <string>

namespace logging2::core::detail {

/// Checks whether a database is the index of a recording, whatever its tables say.
class DatabaseCheck {
public:
    /// No more than the greatest number of rows of each table are looked at.
    DatabaseCheck(Database& index, Findings& foundFaults, std::uint64_t greatestRowCount);

    /// Returns whether the tables may be read. They may be damaged nevertheless.
    bool check();

private:
    bool hasFormat();
    bool hasSchema();
    void checkIntegrity();
    void checkTypes();
    void checkType(const std::string& table, const std::string& column, const std::string& types);
    void add(const std::string& fault) { findings.add(database.name(), fault); }

    Database& database;
    Findings& findings;
    std::string limit;
};

} // namespace logging2::core::detail
