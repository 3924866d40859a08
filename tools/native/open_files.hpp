#pragma once

#include <tools/native/LeftOver.hpp>

#include <map>
#include <set>
#include <utility>

namespace logging2::tools {

/// The processes that have a file open, by its device and inode.
using OpenFiles = std::map<std::pair<dev_t, ino_t>, std::set<pid_t>>;

/// The files of the writer "native" that are open at this moment, in the processes that this user
/// may examine. A writer opens its files only while it appends, so most runs that go on are not
/// seen.
OpenFiles open_stream_files();

/// The processes that have a file of the left-over open.
std::set<pid_t> processes_of(const LeftOver& leftOver, const OpenFiles& openFiles);

} // namespace logging2::tools
