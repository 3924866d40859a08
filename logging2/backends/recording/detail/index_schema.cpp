#include <logging2/backends/recording/detail/index_schema.hpp>

#include <logging2/backends/recording/detail/IndexWriter.hpp>

#include <set>
#include <tuple>

#include <sqlite3.h>

namespace logging2::core::detail {
namespace {

/// The kinds, names and definitions of everything in the database.
using Schema = std::set<std::tuple<std::string, std::string, std::string>>;

Schema schema_of(Database& database) {
    Schema schema;
    Statement query(database, "SELECT type, name, sql FROM sqlite_schema");
    while (query.step()) {
        schema.emplace(query.text(0), query.text(1), query.text(2));
    }
    return schema;
}

Schema index_schema() {
    Database empty = empty_index();
    return schema_of(empty);
}

} // namespace

Database empty_index() {
    Database memory(":memory:", ":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY);
    memory.execute(indexSchema);
    return memory;
}

std::vector<std::string> schema_faults(Database& database) {
    static const Schema expected = index_schema();
    const Schema found = schema_of(database);
    std::vector<std::string> faults;
    for (const auto& [type, name, sql] : found) {
        if (expected.count({type, name, sql}) == 0) {
            faults.push_back(std::string("its ").append(type).append(" \"").append(name).append(
                "\" is not that of a recording"));
        }
    }
    for (const auto& entry : expected) {
        if (found.count(entry) == 0) {
            faults.push_back("the table \"" + std::get<1>(entry) + "\" is missing");
        }
    }
    return faults;
}

} // namespace logging2::core::detail
