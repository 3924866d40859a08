#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace integration {

/// A directory of a test's own, gone with everything in it at the end of the test.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return directory; }

    /// The names of what is in it, sorted; hidden files as well.
    std::vector<std::string> names() const;

private:
    std::filesystem::path directory;
};

/// The whole file; empty where there is none.
std::string contents_of(const std::filesystem::path& file);

/// Creates the file with the text.
void write_text(const std::filesystem::path& file, const std::string& text);

} // namespace integration
