#include <logging2/host/filesystem/operations.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <cstdlib>
#include <system_error>
#include <utility>

namespace fl::filesystem {
namespace {

std::filesystem::path native(const basic_path<char, char16_t>& path) {
    return detail::make_native_access_form_i18n(path);
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
    std::filesystem::remove(native(path));
}

void create_directories(const basic_path<char, char16_t>& path) {
    const std::filesystem::path directory = native(path);
    std::error_code error;
    if (std::filesystem::create_directories(directory, error)) {
        return;
    }
    std::error_code ignored;
    if (std::filesystem::exists(std::filesystem::symlink_status(directory, ignored))) {
        throw FileExistsError(directory.string());
    }
    throw std::filesystem::filesystem_error("create_directories", directory, error);
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
