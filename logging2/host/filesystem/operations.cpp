#include <logging2/host/filesystem/operations.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace fl::filesystem {
namespace {

std::filesystem::path native(const basic_path<char, char16_t>& path) {
    return detail::make_native_access_form_i18n(path);
}

std::error_code last_error() {
    return {errno, std::generic_category()};
}

/// Returns the path without a separator at its end. With the separator, a link would be followed,
/// and the directory would count as its own parent.
std::filesystem::path without_separator(const std::filesystem::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

/// Gives the owner of a new directory all rights, including those that the umask has removed.
std::error_code complete_rights(const std::filesystem::path& directory) {
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0) {
        return last_error();
    }
    const bool isComplete = (status.st_mode & S_IRWXU) == S_IRWXU;
    // A link is not followed, because somebody may have put one in the directory's place.
    if (!isComplete && fchmodat(AT_FDCWD, directory.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW) != 0) {
        return last_error();
    }
    return {};
}

/// Creates a directory to which nobody but its owner ever has rights. If the owner cannot be given
/// all rights, the directory is removed again.
std::error_code make_private_directory(const std::filesystem::path& directory) {
    if (mkdir(directory.c_str(), S_IRWXU) != 0) {
        return last_error();
    }
    const std::error_code error = complete_rights(directory);
    if (error) {
        rmdir(directory.c_str());
    }
    return error;
}

std::function<std::u16string()>& temp_directory_function() {
    static auto* const function = new std::function<std::u16string()>;
    return *function;
}

} // namespace

FileExistsError::FileExistsError(const std::string& path)
    : std::filesystem::filesystem_error("create_directories", path,
                                        std::make_error_code(std::errc::file_exists)) {}

FileExistsError::~FileExistsError() = default;

bool exists(const basic_path<char, char16_t>& path) {
    return std::filesystem::exists(native(path));
}

void remove_file(const basic_path<char, char16_t>& path) {
    const std::filesystem::path file = native(path);
    if (unlink(file.c_str()) != 0 && errno != ENOENT) {
        throw std::filesystem::filesystem_error("remove_file", file, last_error());
    }
}

void create_directories(const basic_path<char, char16_t>& path) {
    const std::filesystem::path directory = without_separator(native(path));
    std::error_code error;
    if (directory.has_parent_path()) {
        std::filesystem::create_directories(directory.parent_path(), error);
    }
    if (!error) {
        error = make_private_directory(directory);
        if (error == std::errc::file_exists) {
            throw FileExistsError(directory.string());
        }
    }
    if (error) {
        throw std::filesystem::filesystem_error("create_directories", directory, error);
    }
}

bool is_private(const basic_path<char, char16_t>& path) {
    const std::filesystem::path directory = without_separator(native(path));
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return false;
        }
        throw std::filesystem::filesystem_error("is_private", directory, last_error());
    }
    return S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

std::u16string temp_directory_name() {
    if (const auto& function = temp_directory_function()) {
        return function();
    }
    const char* const directory = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    return foundation::local_encoded_string_to_ustring(directory != nullptr ? directory : "/tmp");
}

std::function<std::u16string()> setTempDirectoryName(std::function<std::u16string()> name) {
    return std::exchange(temp_directory_function(), std::move(name));
}

} // namespace fl::filesystem
