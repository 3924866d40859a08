#pragma once

#include <logging2/host/filesystem/detail/filebuf.hpp>

#include <ostream>
#include <string>

namespace fl::filesystem {

/// A standard output stream that writes a file, opened with the same modes as std::ofstream. Its
/// descriptor is closed when the process executes another program. Everything is written to the
/// file at once, without a buffer.
class ofstream : public std::ostream {
public:
    /// Opens the file. The name is in the encoding of the platform's calls. If the file cannot be
    /// opened, the stream is in the failure state.
    ofstream(const std::string& name, std::ios::openmode mode)
        : std::ostream(nullptr),
          buffer(name, mode | std::ios::out) {
        rdbuf(&buffer);
        setstate(is_open() ? std::ios::goodbit : std::ios::failbit);
    }

    /// Whether the file was opened and has not been closed.
    bool is_open() const noexcept { return buffer.is_open(); }

    /// Closes the file. If that fails, the stream is in the failure state.
    void close() { setstate(buffer.close() ? std::ios::goodbit : std::ios::failbit); }

private:
    detail::filebuf buffer;
};

} // namespace fl::filesystem
