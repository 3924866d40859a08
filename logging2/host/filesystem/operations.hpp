#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <filesystem>
#include <functional>
#include <string>

namespace fl::filesystem {

/// Thrown by create_directories() if something of that name exists already.
class LOGGING2_EXPORT FileExistsError : public std::filesystem::filesystem_error {
public:
    /// Makes an error whose `path1()` is the path, which is in the encoding of the platform's
    /// calls.
    explicit FileExistsError(const std::string& path);
    ~FileExistsError() override;
};

/// Returns whether anything of that name exists. Returns false for the empty path and for a link
/// that leads nowhere. Throws std::filesystem::filesystem_error if that cannot be determined.
LOGGING2_EXPORT bool exists(const basic_path<char, char16_t>& path);

/// Removes the file. A link is removed itself, and its target stays. Does nothing if there is no
/// such file. Throws std::filesystem::filesystem_error if the file cannot be removed or if it is a
/// directory.
LOGGING2_EXPORT void remove_file(const basic_path<char, char16_t>& path);

/// Creates the directory and all missing parents.
///
/// The directory itself is accessible to the calling user alone from the beginning (mode 0700),
/// whatever the umask is. Parents get the rights that the umask leaves.
///
/// Throws FileExistsError if something of that name exists, which then stays as it is. Throws
/// std::filesystem::filesystem_error if the directory cannot be created.
LOGGING2_EXPORT void create_directories(const basic_path<char, char16_t>& path);

/// Returns whether the path names a directory that belongs to the effective user and that nobody
/// else may write.
///
/// Returns false for a link to a directory and if nothing of that name exists. Others may be able
/// to read the directory. The directories above are not examined. Throws
/// std::filesystem::filesystem_error if the directory cannot be examined.
LOGGING2_EXPORT bool is_private(const basic_path<char, char16_t>& path);

/// Returns the host's temporary directory: the value of TMPDIR, or "/tmp" if TMPDIR is not set.
/// setTempDirectoryName() replaces this answer.
LOGGING2_EXPORT std::u16string temp_directory_name();

/// Makes temp_directory_name() return the function's result, or throw its exception, from now on.
/// Returns the previous function. An empty function restores the default.
///
/// This is for tests and for hosts with a temporary directory of their own. No other thread may
/// call temp_directory_name() at the same time.
LOGGING2_EXPORT std::function<std::u16string()>
setTempDirectoryName(std::function<std::u16string()> name);

} // namespace fl::filesystem
