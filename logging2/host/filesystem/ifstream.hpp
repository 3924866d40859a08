#pragma once

#include <logging2/host/filesystem/basic_path.hpp>
#include <logging2/host/filesystem/detail/filebuf.hpp>

#include <istream>

namespace fl::filesystem {

/// A standard input stream that reads a file in binary mode. Its descriptor is closed when the
/// process executes another program.
class ifstream : public std::istream {
public:
    /// Opens the file. If that fails, the stream is in the failure state.
    explicit ifstream(const basic_path<char, char16_t>& path)
        : std::istream(nullptr),
          buffer(detail::make_native_access_form_i18n(path), std::ios::in | std::ios::binary) {
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
