#pragma once

#include <tests/support/files.hpp>

#include <sys/stat.h>

#include <filesystem>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// A pipe in place of a file. A thread that appends to it blocks until the pipe is read.
class BlockingFile {
public:
    explicit BlockingFile(std::filesystem::path pipePath) : path(std::move(pipePath)) {
        mkfifo(path.c_str(), 0600);
    }

    /// Unblocks the append and returns what was appended.
    std::vector<double> drain() const { return doublesOf(path); }

    std::filesystem::path path;
};

} // namespace logging2::core::test
