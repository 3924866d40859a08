#include <tools/selection/recording_directory.hpp>

#include <tools/UsageError.hpp>

#include <filesystem>

namespace logging2::tools {

namespace fs = std::filesystem;

bool is_recording(const std::string& location) {
    std::error_code ignored;
    return fs::exists(location + "/samples.bin", ignored) ||
           fs::exists(location + "/index.sqlite", ignored);
}

void check_outside_recordings(const std::string& place) {
    std::error_code ignored; // Whoever makes something there reports what is wrong.
    fs::path directory = fs::weakly_canonical(fs::absolute(place, ignored).parent_path(), ignored);
    for (; directory.has_relative_path(); directory = directory.parent_path()) {
        if (is_recording(directory.string())) {
            throw UsageError(place + ": this place is in a recording, which stays as it is");
        }
    }
}

} // namespace logging2::tools
