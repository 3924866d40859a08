#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace simulate {

/// Collects a run's files out of sight and puts them into their directory all together: files are
/// written below `stagingPath()`, and appear in the directory with `commit()` or not at all.
class OutputDirectory {
public:
    /// Creates the directory where it is missing. Throws HostError where it cannot be used.
    explicit OutputDirectory(const std::filesystem::path& outputDirectory);

    /// Removes what was not committed, and the directories that the constructor created for it.
    ~OutputDirectory();

    OutputDirectory(const OutputDirectory&) = delete;
    OutputDirectory& operator=(const OutputDirectory&) = delete;

    /// Where to write the file of that name for now.
    std::filesystem::path stagingPath(const std::string& fileName) const;

    /// Moves all files to their places, over former ones. Returns their paths, sorted.
    std::vector<std::filesystem::path> commit();

private:
    void createDirectories();
    void createStaging();
    void removeCreated() noexcept;

    std::filesystem::path directory;
    std::filesystem::path staging;
    std::vector<std::filesystem::path> created; // innermost last
};

} // namespace simulate
