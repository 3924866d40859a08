#include <tools/native/PendingRecording.hpp>

#include <tools/UsageError.hpp>

#include <fcntl.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& path) {
    throw std::system_error(errno, std::generic_category(), path.string());
}

/// Without a separator at the end.
fs::path target_of(const std::string& location) {
    const fs::path path = fs::absolute(location).lexically_normal();
    fs::path target = path.has_filename() ? path : path.parent_path();
    if (fs::symlink_status(target).type() != fs::file_type::not_found) {
        throw UsageError(location + ": exists already");
    }
    return target;
}

fs::path new_directory_beside(const fs::path& target) {
    std::string name =
        (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) {
        fail(name);
    }
    return name;
}

} // namespace

PendingRecording::PendingRecording(
    const std::string& location, const core::StreamingAttributes& attributes,
    const core::SequenceMap<core::Group, core::LoggedPathsSetupData>& setup,
    core::RecordingOptions options)
    : target(target_of(location)),
      directory(new_directory_beside(target)) {
    options.directory = directory.string();
    try {
        recordingWriter = std::make_unique<core::RecordingStreamWriter>(attributes, setup, options);
    } catch (...) {
        fs::remove_all(directory);
        throw;
    }
}

PendingRecording::~PendingRecording() {
    recordingWriter.reset();
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

void PendingRecording::publish() {
    const std::string made = recordingWriter->location();
    recordingWriter->flushIntermediate();
    recordingWriter.reset();
    if (renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0) {
        fail(target);
    }
}

} // namespace logging2::tools
