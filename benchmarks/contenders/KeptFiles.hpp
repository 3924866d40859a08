#pragma once

#include <filesystem>

namespace logging2::core::bench {

/// Keeps the files that a contender has made, as empty files. On ext4, making a file takes up to
/// forty times as long for some minutes after many files of the same directories were removed,
/// because the file system does not use their inodes again and looks at each of them. The next
/// contender would pay for the files of the one before.
class KeptFiles {
public:
    /// The files are kept in a new directory in `parentDirectory`, which must be on the same file
    /// system. Nothing is kept if `parentDirectory` is empty.
    explicit KeptFiles(std::filesystem::path parentDirectory);

    /// Empties the files that are kept.
    ~KeptFiles();

    KeptFiles(const KeptFiles&) = delete;
    KeptFiles& operator=(const KeptFiles&) = delete;

    /// Keeps all files below the directory, even if somebody removes them there. Called once at
    /// most.
    void keep(const std::filesystem::path& directory);

private:
    std::filesystem::path parent;
    std::filesystem::path kept; // empty until something is kept
};

} // namespace logging2::core::bench
