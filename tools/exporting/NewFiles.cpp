#include <tools/exporting/NewFiles.hpp>

#include <tools/UsageError.hpp>
#include <tools/selection/recording_directory.hpp>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

fs::path absolute_name(const std::string& name) {
    const fs::path normal = fs::absolute(name).lexically_normal();
    return normal.has_filename() ? normal : normal.parent_path();
}

/// A new directory beside the target, which nobody else can look into.
fs::path directory_beside(const fs::path& target) {
    std::string pattern =
        (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw UsageError(target.string() +
                         ": cannot be made: " + std::generic_category().message(errno));
    }
    return pattern;
}

void check_target(const fs::path& target, bool mayReplace) {
    check_outside_recordings(target.string());
    const fs::file_status status = fs::symlink_status(target);
    if (fs::exists(status) && !(mayReplace && fs::is_regular_file(status))) {
        throw UsageError(target.string() + (fs::is_regular_file(status)
                                                ? ": it exists; --force replaces it"
                                                : ": it exists, and it is not a file"));
    }
}

} // namespace

NewFiles::NewFiles(const std::vector<std::string>& targets, bool mayReplace)
    : replaces(mayReplace) {
    for (const std::string& target : targets) {
        made.push_back({{}, absolute_name(target)});
    }
    checkTargets();
    directory = directory_beside(made.front().target);
    for (NewFile& file : made) {
        file.temporary = directory / file.target.filename();
    }
}

NewFiles::~NewFiles() {
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

void NewFiles::checkTargets() const {
    for (const NewFile& file : made) {
        check_target(file.target, replaces);
    }
}

void NewFiles::publish() {
    checkTargets();
    for (std::size_t index = 0; index < made.size(); ++index) {
        std::error_code error;
        fs::rename(made[index].temporary, made[index].target, error);
        if (error) {
            for (std::size_t former = 0; former < index; ++former) {
                std::error_code ignored;
                fs::remove_all(made[former].target, ignored);
            }
            throw UsageError(made[index].target.string() +
                             ": cannot get its name: " + error.message());
        }
    }
}

} // namespace logging2::tools
