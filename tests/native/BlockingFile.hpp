#pragma once

#include <tests/support/files.hpp>

#include <sys/stat.h>

#include <filesystem>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// A pipe in place of a file: the thread that appends to it stands still until it is read.
class BlockingFile {
public:
    explicit BlockingFile(std::filesystem::path pipePath) : path(std::move(pipePath)) {
        mkfifo(path.c_str(), 0600);
    }

    /// Lets the append go on and returns what was appended.
    std::vector<double> drain() const { return doublesOf(path); }

    std::filesystem::path path;
};

} // namespace logging2::core::test
