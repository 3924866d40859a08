#pragma once

#include <tests/support/files.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <tuple>

#include <sys/stat.h>

namespace logging2::core::test {

/// The names, times of change and bytes of the files in a directory.
class DirectoryState {
public:
    explicit DirectoryState(const std::filesystem::path& directory) {
        files["."] = {changed(directory), ""};
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            files[entry.path().filename().string()] = {changed(entry.path()),
                                                       bytesOf(entry.path())};
        }
    }

    friend bool operator==(const DirectoryState& a, const DirectoryState& b) {
        return a.files == b.files;
    }

    /// The names alone: gtest prints a state where two differ.
    friend std::ostream& operator<<(std::ostream& stream, const DirectoryState& state) {
        for (const auto& [name, file] : state.files) {
            stream << name << ' ' << file.first << ' ' << file.second.size() << " bytes\n";
        }
        return stream;
    }

private:
    /// In nanoseconds.
    static std::int64_t changed(const std::filesystem::path& file) {
        struct stat status {};
        stat(file.c_str(), &status);
        return std::int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
    }

    std::map<std::string, std::pair<std::int64_t, std::string>> files;
};

} // namespace logging2::core::test
