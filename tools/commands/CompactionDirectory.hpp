#pragma once

#include <tools/Descriptor.hpp>

#include <filesystem>

namespace logging2::tools {

/// A hidden directory beside a recording, in which its compact copy is made. While it lives, the
/// recording is locked, so that others wait that would compact it, too.
class CompactionDirectory {
public:
    /// Waits until nobody else compacts the recording, removes what processes that ended early have
    /// left beside it, and makes a new directory. Throws std::system_error if it cannot, and
    /// Interrupted.
    explicit CompactionDirectory(std::filesystem::path recordingPath);
    CompactionDirectory(const CompactionDirectory&) = delete;
    CompactionDirectory& operator=(const CompactionDirectory&) = delete;

    /// Removes the directory with all files in it.
    ~CompactionDirectory();

    const std::filesystem::path& path() const noexcept { return made; }

    /// Puts the copy, which is in this directory, into the place of the recording, and removes the
    /// former recording. Throws std::system_error if it cannot.
    void replaceRecording(const std::filesystem::path& copy) const;

private:
    std::filesystem::path recording;
    Descriptor lock; ///< none where directories cannot be locked
    std::filesystem::path made;
};

} // namespace logging2::tools
