#pragma once

#include <logging2/host/filesystem/detail/filebuf.hpp>

#include <ostream>
#include <string>

namespace fl::filesystem {

/// A standard output stream on a file, which is opened as std::ofstream opens it. Its descriptor is
/// closed when the process executes another program. What is written goes to the file at once.
class ofstream : public std::ostream {
public:
    /// The name is in the encoding of the platform's calls. A file that cannot be opened leaves the
    /// stream in the failure state.
    ofstream(const std::string& name, std::ios::openmode mode)
        : std::ostream(nullptr),
          buffer(name, mode | std::ios::out) {
        rdbuf(&buffer);
        setstate(is_open() ? std::ios::goodbit : std::ios::failbit);
    }

    /// Whether the file could be opened and has not been closed.
    bool is_open() const noexcept { return buffer.is_open(); }

    /// Closes the file; an error leaves the stream in the failure state.
    void close() { setstate(buffer.close() ? std::ios::goodbit : std::ios::failbit); }

private:
    detail::filebuf buffer;
};

} // namespace fl::filesystem
