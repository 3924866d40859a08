#pragma once

#include <chrono>
#include <string>

#include <sys/types.h>

namespace logging2::core::detail {

/// What the names of all recordings' directories end with.
constexpr const char* recordingSuffix = ".recording";

/// The name of a recording's directory: NAME-YYYYMMDDTHHMMSSZ-XXXXXX.recording. The name of the
/// stream is cut off behind 64 characters, and characters other than letters, digits, `.`, `-` and
/// `_` become `_`; an empty one becomes "run". The last part is six characters of the mark.
std::string directory_name(const std::string& streamName,
                           std::chrono::system_clock::time_point start, const std::string& mark);

/// The absolute name, without a slash at its end. Throws RecordingError.
std::string absolute_name(const std::string& directory);

/// Throws RecordingError if there is a zero byte in the name, which the system would take for its
/// end.
void check_name(const std::string& name);

/// Throws RecordingError unless there is such a directory.
void require_directory(const std::string& directory);

/// Sets the permissions of the new directory, whatever the umask, or removes it and throws
/// RecordingError.
void set_mode(const std::string& directory, mode_t mode);

/// Makes a new directory for a recording below the parent, which is made if it is missing, and
/// returns its absolute path. Throws RecordingError.
std::string make_run_directory(const std::string& parent, const std::string& streamName,
                               std::chrono::system_clock::time_point start, mode_t mode);

/// The absolute name of the directory, or of its closest parent that exists.
std::string existing_part(const std::string& directory);

/// Waits until the disk has the entries of the directory's parents, up to the last one of them.
void synchronize_parents(const std::string& directory, const std::string& last);

} // namespace logging2::core::detail
