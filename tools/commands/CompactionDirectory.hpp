#pragma once

#include <filesystem>

namespace logging2::tools {

/// A hidden directory beside a recording, in which its compact copy is made. A lock shows that the
/// process that made it still lives.
class CompactionDirectory {
public:
    /// Removes what processes that ended early have left beside the recording, and makes a new
    /// directory. Throws std::system_error if it cannot.
    explicit CompactionDirectory(const std::filesystem::path& recording);
    CompactionDirectory(const CompactionDirectory&) = delete;
    CompactionDirectory& operator=(const CompactionDirectory&) = delete;

    /// Removes the directory if remove() has not.
    ~CompactionDirectory();

    const std::filesystem::path& path() const noexcept { return made; }

    /// Removes the directory with all files in it. Throws std::filesystem::filesystem_error if it
    /// cannot.
    void remove() const;

private:
    std::filesystem::path made;
    int lock; ///< a descriptor
};

} // namespace logging2::tools
