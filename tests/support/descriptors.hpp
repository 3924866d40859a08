#pragma once

#include <fcntl.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

namespace logging2::core::test {

/// One entry for each descriptor that the process has of the file: whether it is closed on exec.
inline std::vector<bool> closedOnExec(const std::filesystem::path& file) {
    std::vector<bool> result;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored) == file) {
            const int descriptor = std::stoi(entry.path().filename());
            result.push_back((fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0);
        }
    }
    return result;
}

/// The number of descriptors of the process, and another one.
inline std::size_t descriptor_count() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

} // namespace logging2::core::test
