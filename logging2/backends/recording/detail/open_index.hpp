#pragma once

#include <logging2/backends/recording/detail/Database.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace logging2::core::detail {

/// Opens the index of a recording for reading, in the way that its files allow, without changing
/// any of them:
/// - an index without a log is finished, and is opened as a file that never changes;
/// - one with a log is opened together with it, with or without its writer;
/// - if the log's shared memory is missing, because only the files were copied, or damaged, because
///   the writer was killed while it changed it, private copies of both files are opened;
/// - if there is a journal instead, because the writer was killed in a commit on a network file
///   system, private copies are opened, in which SQLite undoes the commit.
///
/// Throws AccessFault if a host goes on writing the recording without a log.
std::unique_ptr<Database> open_index(const std::string& directory);

/// No table of the index has more rows than this, because its files have no room for them.
std::uint64_t row_count_limit(const std::string& name);

} // namespace logging2::core::detail
