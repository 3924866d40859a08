#include <logging2/backends/recording/detail/DatabaseCheck.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/IndexWriter.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/index_schema.hpp>

#include <vector>

namespace logging2::core::detail {
DatabaseCheck::DatabaseCheck(Database& index, Findings& foundFaults, std::uint64_t greatestRowCount)
    : database(index),
      findings(foundFaults),
      limit(" LIMIT " + std::to_string(greatestRowCount)) {}

bool DatabaseCheck::check() {
    // Nothing else may be asked of a database that could hold anything.
    if (!hasFormat() || !hasSchema()) {
        return false;
    }
    checkIntegrity();
    checkTypes();
    return true;
}

bool DatabaseCheck::hasFormat() {
    if (database.integer("PRAGMA application_id") != applicationId) {
        add("it is not the index of a recording");
        return false;
    }
    const std::int64_t version = database.integer("PRAGMA user_version");
    if (version != formatVersion) {
        if (version > formatVersion) {
            add("it was written by a newer version of logging2");
        } else {
            add("there is no such version of the format: " + std::to_string(version));
        }
        return false;
    }
    return true;
}

bool DatabaseCheck::hasSchema() {
    const std::vector<std::string> faults = schema_faults(database);
    for (const std::string& fault : faults) {
        add(fault);
    }
    return faults.empty();
}

void DatabaseCheck::checkIntegrity() {
    try {
        Statement faults(database, "PRAGMA integrity_check");
        while (faults.step()) {
            if (faults.text(0) != "ok") {
                add(faults.text(0));
            }
        }
    } catch (const RecordingError& error) {
        findings.add(error);
    }
}

/// SQLite stores values of any type in a column, and compares them by their types.
void DatabaseCheck::checkTypes() {
    Database empty = empty_index();
    Statement columns(empty, "SELECT tables.name, columns.name, columns.type FROM sqlite_schema "
                             "AS tables, pragma_table_info(tables.name) AS columns");
    while (columns.step()) {
        const std::string type = columns.text(2);
        std::string allowed = "lower('" + type + "')";
        if (type == "REAL") {
            allowed = "'real', 'null'"; // NaN are stored as NULL
        }
        checkType(columns.text(0), columns.text(1), allowed);
    }
}

void DatabaseCheck::checkType(const std::string& table, const std::string& column,
                              const std::string& types) {
    try {
        const std::int64_t count =
            database.integer(("SELECT count(*) FROM (SELECT " + column + " AS value FROM " + table +
                              limit + ") WHERE typeof(value) NOT IN (" + types + ")")
                                 .c_str());
        if (count != 0) {
            add("values of another type in the column " + column + " of the table " + table + ": " +
                std::to_string(count));
        }
    } catch (const RecordingError& error) {
        findings.add(error);
    }
}

} // namespace logging2::core::detail
