#pragma once

#include <logging2/backends/recording/detail/Database.hpp>

#include <string>
#include <vector>

namespace logging2::core::detail {

/// A database in memory with the tables of an index.
Database empty_index();

/// What distinguishes the tables of a database from those of an index; nothing if they may be read.
/// Anything else, such as a view in the place of a table, could be a query that never ends.
std::vector<std::string> schema_faults(Database& database);

} // namespace logging2::core::detail
