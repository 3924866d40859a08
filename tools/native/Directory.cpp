#include <tools/native/Directory.hpp>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

namespace logging2::tools {
namespace {

constexpr int safely = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

[[noreturn]] void fail(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), path);
}

Descriptor opened(int directory, const std::string& name, int flags, const std::string& path) {
    Descriptor descriptor(openat(directory, name.c_str(), flags));
    if (descriptor.get() < 0) {
        fail(path);
    }
    return descriptor;
}

struct CloseDirectory {
    void operator()(DIR* stream) const noexcept { closedir(stream); }
};

} // namespace

Directory::Directory(const std::string& path)
    : location(path),
      descriptor(opened(AT_FDCWD, path, safely | O_DIRECTORY, path)) {}

Directory::Directory(const Directory& parent, const std::string& name)
    : location(parent.pathOf(name)),
      descriptor(opened(parent.descriptor.get(), name, safely | O_DIRECTORY, location)) {}

std::string Directory::pathOf(const std::string& name) const {
    return location + (location.back() == '/' ? "" : "/") + name;
}

void Directory::visit(const std::function<bool(const std::string& name)>& function) const {
    // Of its own, because closing the stream closes its descriptor.
    const int own = openat(descriptor.get(), ".", safely | O_DIRECTORY);
    const std::unique_ptr<DIR, CloseDirectory> stream(own < 0 ? nullptr : fdopendir(own));
    if (!stream) {
        fail(location);
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread has this stream.
    while (const dirent* const entry = readdir(stream.get())) {
        if (!function(entry->d_name)) {
            return;
        }
    }
}

std::optional<struct stat> Directory::status(const std::string& name) const {
    struct stat found {};
    if (fstatat(descriptor.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0) {
        return found;
    }
    if (errno == ENOENT) {
        return std::nullopt;
    }
    fail(pathOf(name));
}

Descriptor Directory::open(const std::string& name) const {
    return opened(descriptor.get(), name, safely, pathOf(name));
}

void Directory::remove(const std::string& name) const {
    if (unlinkat(descriptor.get(), name.c_str(), 0) != 0) {
        fail(pathOf(name));
    }
}

} // namespace logging2::tools
