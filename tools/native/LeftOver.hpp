#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace logging2::tools {

/// A file of the writer "native" as it was found.
struct StreamFile {
    dev_t device = 0;
    ino_t inode = 0;
    std::uint64_t byteCount = 0;
    timespec change{};
};

/// Whether it is a file that the writer may have made: a regular one that cannot be executed.
bool is_stream_file(const struct stat& status);

StreamFile stream_file(const struct stat& status);

/// Whether it is the same file, which may have changed.
bool is_same_file(const StreamFile& a, const StreamFile& b);

/// Whether it is the same file, and unchanged.
bool is_unchanged(const StreamFile& a, const StreamFile& b);

/// The files of a group.
struct GroupFiles {
    std::optional<StreamFile> times;
    /// By channel number.
    std::map<std::size_t, StreamFile> channels;
};

/// What a writer has left in a directory. Files of different owners are different left-overs.
struct LeftOver {
    std::string directory;
    /// What the names of all its files begin with.
    std::string stem;
    uid_t owner = 0;
    std::map<std::size_t, GroupFiles> groups;
};

/// The directory and the stem.
std::string location_of(const LeftOver& leftOver);

/// Its files by their names.
std::map<std::string, StreamFile> files_of(const LeftOver& leftOver);

std::uint64_t byte_count_of(const LeftOver& leftOver);

/// When one of its files was changed last. Times that no clock shows are brought into range.
std::chrono::system_clock::time_point last_change(const LeftOver& leftOver);

/// How long ago that is; 0 if it is in the future.
std::chrono::system_clock::duration age_of(const LeftOver& leftOver);

/// The login name of a user, or the number if there is none.
std::string user_name(uid_t user);

} // namespace logging2::tools
