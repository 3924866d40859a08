#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <filesystem>
#include <functional>
#include <string>

namespace fl::filesystem {

/// A directory was to be created where something exists already.
class LOGGING2_EXPORT FileExistsError : public std::filesystem::filesystem_error {
public:
    /// The path, in the encoding of the platform's calls, becomes `path1()`.
    explicit FileExistsError(const std::string& path);
    ~FileExistsError() override;
};

/// Whether there is anything of that name; false for the empty path and for a link that leads
/// nowhere. Throws std::filesystem::filesystem_error where that cannot be found out.
LOGGING2_EXPORT bool exists(const basic_path<char, char16_t>& path);

/// Removes the file, or the link itself; nothing happens where there is none. Throws
/// std::filesystem::filesystem_error where it cannot be removed, and for a directory.
LOGGING2_EXPORT void remove_file(const basic_path<char, char16_t>& path);

/// Creates the directory with all missing parents. The directory itself is for the calling user
/// alone from the beginning (mode 0700), whatever the process's umask; parents get the rights that
/// the umask leaves. Throws FileExistsError if something of that name exists, which is left as it
/// is, and std::filesystem::filesystem_error if the directory cannot be created.
LOGGING2_EXPORT void create_directories(const basic_path<char, char16_t>& path);

/// Whether the path names a directory, not a link to one, that belongs to the effective user and
/// that nobody else may write; others may be able to read it. False if there is nothing of that
/// name. It says nothing about the directories above. Throws std::filesystem::filesystem_error if
/// it cannot be found out.
LOGGING2_EXPORT bool is_private(const basic_path<char, char16_t>& path);

/// The system's temporary directory: the value of TMPDIR, or "/tmp" where that is not set.
LOGGING2_EXPORT std::u16string temp_directory_name();

/// Lets temp_directory_name() answer with the function's result (or its exception) from now on,
/// and returns the function that was there; an empty one restores the answer above. For tests and
/// for hosts with a temporary directory of their own. To be called while no other thread asks.
LOGGING2_EXPORT std::function<std::u16string()>
setTempDirectoryName(std::function<std::u16string()> name);

} // namespace fl::filesystem
