#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>

namespace logging2::core::bench {

/// Owns a file descriptor.
class Descriptor {
public:
    Descriptor(const std::filesystem::path& path, int flags)
        : descriptor(open(path.c_str(), flags, 0600)) {
        require(descriptor >= 0);
    }
    ~Descriptor() { close(descriptor); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return descriptor; }

    /// Calls write(2) until all bytes are written.
    void writeAll(const void* data, std::size_t byteCount) const {
        const char* next = static_cast<const char*>(data);
        for (const char* const end = next + byteCount; next != end;) {
            const ssize_t count = write(descriptor, next, static_cast<std::size_t>(end - next));
            require(count >= 0);
            next += count;
        }
    }

    /// Calls read(2) until all bytes are read.
    void readAll(void* data, std::size_t byteCount) const {
        char* next = static_cast<char*>(data);
        for (const char* const end = next + byteCount; next != end;) {
            const ssize_t count = read(descriptor, next, static_cast<std::size_t>(end - next));
            require(count > 0);
            next += count;
        }
    }

private:
    static void require(bool good) {
        if (!good) {
            throw std::system_error(errno, std::generic_category());
        }
    }

    int descriptor;
};

} // namespace logging2::core::bench
