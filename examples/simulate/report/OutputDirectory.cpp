#include <examples/simulate/report/OutputDirectory.hpp>

#include <examples/simulate/HostError.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace simulate {
namespace {

namespace fs = std::filesystem;

std::string unusable(const fs::path& directory, const std::string& reason) {
    return "cannot write to the directory \"" + directory.string() + "\": " + reason;
}

/// The ancestors of the directory, and itself, that are not there yet; outermost first.
std::vector<fs::path> missing_directories(const fs::path& directory) {
    std::vector<fs::path> missing;
    std::error_code error;
    for (fs::path at = directory; !at.empty() && !fs::exists(fs::symlink_status(at, error));
         at = at.parent_path()) {
        missing.push_back(at);
    }
    std::reverse(missing.begin(), missing.end());
    return missing;
}

fs::path normalized(const fs::path& directory) {
    const fs::path normal = directory.lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

} // namespace

OutputDirectory::OutputDirectory(const fs::path& outputDirectory)
    : directory(normalized(outputDirectory)) {
    try {
        createDirectories();
        createStaging();
    } catch (...) {
        removeCreated();
        throw;
    }
}

OutputDirectory::~OutputDirectory() {
    std::error_code ignored;
    fs::remove_all(staging, ignored);
    removeCreated();
}

fs::path OutputDirectory::stagingPath(const std::string& fileName) const {
    return staging / fileName;
}

std::vector<fs::path> OutputDirectory::commit() {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(staging)) {
        files.push_back(directory / entry.path().filename());
        // Checked before any file moves: a rename over a directory would fail half-way.
        if (fs::is_directory(files.back())) {
            throw HostError(unusable(directory, "\"" + entry.path().filename().string() +
                                                    "\" in it is a directory"));
        }
    }
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
        fs::rename(staging / file.filename(), file);
    }
    created.clear();
    return files;
}

void OutputDirectory::createDirectories() {
    for (const fs::path& missing : missing_directories(directory)) {
        std::error_code error;
        if (fs::create_directory(missing, error)) {
            created.push_back(missing);
        } else if (error) {
            throw HostError(unusable(directory, error.message()));
        }
    }
    std::error_code error;
    if (!fs::is_directory(directory, error)) {
        throw HostError(unusable(directory, "it is not a directory"));
    }
}

void OutputDirectory::createStaging() {
    std::string name = (directory / ".simulate-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw HostError(unusable(directory, std::generic_category().message(errno)));
    }
    staging = name;
}

void OutputDirectory::removeCreated() noexcept {
    std::error_code ignored;
    for (; !created.empty(); created.pop_back()) {
        fs::remove(created.back(), ignored);
    }
}

} // namespace simulate
