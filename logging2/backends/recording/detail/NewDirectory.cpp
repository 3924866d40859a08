#include <logging2/backends/recording/detail/NewDirectory.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace logging2::core::detail {

namespace fs = std::filesystem;

NewDirectory::NewDirectory(const std::string& newName, mode_t mode) : name(absolute_name(newName)) {
    std::error_code error;
    if (fs::symlink_status(name, error).type() != fs::file_type::not_found) {
        throw RecordingError(name, "it exists already");
    }
    std::string pattern = name + ".XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
        throw RecordingError(name, "cannot make the directory: " + text_of_error(errno));
    }
    set_mode(pattern, mode);
    made = pattern;
}

NewDirectory::~NewDirectory() {
    if (!made.empty()) {
        std::error_code ignored;
        fs::remove_all(made, ignored);
    }
}

void NewDirectory::publish(Durability durability) {
    if (durability == Durability::power) {
        synchronize_directory(made);
    }
    if (std::rename(made.c_str(), name.c_str()) == -1) {
        throw RecordingError(name, "cannot give the directory its name: " + text_of_error(errno));
    }
    made = name;
    if (durability == Durability::power) {
        synchronize_directory(fs::path(name).parent_path().string());
    }
    made.clear();
}

} // namespace logging2::core::detail
