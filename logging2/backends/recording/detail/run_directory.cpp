#include <logging2/backends/recording/detail/run_directory.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace logging2::core::detail {
namespace {

constexpr std::size_t greatestNameLength = 64;

constexpr std::string_view plainCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";

bool is_plain(char character) {
    return plainCharacters.find(character) != std::string_view::npos;
}

std::string plain_name(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char character) { return !is_plain(character); }, '_');
    // A leading dot would hide the directory.
    if (!name.empty() && name.front() == '.') {
        name.front() = '_';
    }
    if (name.empty()) {
        name = "run";
    }
    return name.substr(0, greatestNameLength);
}

[[noreturn]] void fail_to_make(const std::string& directory, const std::error_code& error) {
    throw RecordingError(directory, "cannot make the directory: " + error.message());
}

std::filesystem::path made_parent(const std::string& parent) {
    std::error_code error;
    std::filesystem::create_directories(parent, error);
    if (error) {
        fail_to_make(parent, error);
    }
    return absolute_name(parent);
}

} // namespace

void check_name(const std::string& name) {
    if (const std::size_t end = name.find('\0'); end != std::string::npos) {
        throw RecordingError(name.substr(0, end), "a zero byte follows, which no name can have");
    }
}

void require_directory(const std::string& directory) {
    check_name(directory);
    std::error_code error;
    const auto type = std::filesystem::status(directory, error).type();
    if (type == std::filesystem::file_type::none) {
        throw RecordingError(directory, "cannot open it: " + error.message());
    }
    if (type != std::filesystem::file_type::directory) {
        throw RecordingError(directory, "it is not a directory, and so not a recording");
    }
}

void set_mode(const std::string& directory, mode_t mode) {
    if (chmod(directory.c_str(), mode) == -1) {
        const std::string reason = text_of_error(errno);
        rmdir(directory.c_str());
        throw RecordingError(directory, "cannot set its permissions: " + reason);
    }
}

std::string directory_name(const std::string& streamName,
                           std::chrono::system_clock::time_point start, const std::string& mark) {
    const std::time_t second = std::chrono::system_clock::to_time_t(start);
    std::tm parts{};
    gmtime_r(&second, &parts);
    std::array<char, 32> time{};
    std::strftime(time.data(), time.size(), "%Y%m%dT%H%M%SZ", &parts);
    return plain_name(streamName) + '-' + time.data() + '-' + mark.substr(0, 6) + recordingSuffix;
}

std::string make_run_directory(const std::string& parent, const std::string& streamName,
                               std::chrono::system_clock::time_point start, mode_t mode) {
    const std::filesystem::path directory = made_parent(parent);
    for (;;) {
        const std::string mark = new_uuid();
        std::string made = (directory / directory_name(streamName, start, mark)).string();
        if (mkdir(made.c_str(), mode) == 0) {
            set_mode(made, mode);
            return made;
        }
        // Another writer that drew the same mark in the same second has made it.
        if (errno != EEXIST) {
            throw RecordingError(made, "cannot make the directory: " + text_of_error(errno));
        }
    }
}

std::string absolute_name(const std::string& directory) {
    check_name(directory);
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(directory, error);
    if (error) {
        fail_to_make(directory, error);
    }
    std::filesystem::path normal = absolute.lexically_normal();
    if (!normal.has_filename()) {
        normal = normal.parent_path();
    }
    return normal.string();
}

std::string existing_part(const std::string& directory) {
    std::filesystem::path part = absolute_name(directory);
    std::error_code error;
    while (!std::filesystem::exists(part, error) && part.has_relative_path()) {
        part = part.parent_path();
    }
    return part.string();
}

void synchronize_parents(const std::string& directory, const std::string& last) {
    const std::filesystem::path end = last;
    std::filesystem::path parent = directory;
    bool isEnd = false;
    while (!isEnd) {
        parent = parent.parent_path();
        synchronize_directory(parent.string());
        const bool isRoot = !parent.has_relative_path();
        isEnd = isRoot || parent == end;
    }
}

} // namespace logging2::core::detail
