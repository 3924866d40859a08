#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace logging2::tools {

/// A file, or a directory, while it is made, and the name that it gets when it is complete.
struct NewFile {
    std::filesystem::path temporary;
    std::filesystem::path target;
};

/// New files, or a new directory, that appear under their names only when they are complete.
class NewFiles {
public:
    /// All targets are in the same directory. Throws UsageError if one of them exists, except for a
    /// regular file that may be replaced, and if nothing can be made in the directory.
    NewFiles(const std::vector<std::string>& targets, bool mayReplace);

    /// Removes what was not published.
    ~NewFiles();

    NewFiles(const NewFiles&) = delete;
    NewFiles& operator=(const NewFiles&) = delete;

    /// In the order of the targets. Nothing exists under the temporary names at first.
    const std::vector<NewFile>& files() const noexcept { return made; }

    /// Gives all files their names. Throws UsageError, and leaves none of them, if that fails.
    void publish();

private:
    void checkTargets() const;

    bool replaces;
    std::vector<NewFile> made;
    std::filesystem::path directory; ///< of the temporary files
};

} // namespace logging2::tools
