#pragma once

#include <logging2/export.hpp>

#include <ios>
#include <streambuf>
#include <string>

namespace fl::filesystem::detail {

/// Reads and writes the bytes of a file, for the streams of this folder. Unlike a standard stream's
/// descriptor, the file's descriptor is closed when the process executes another program.
///
/// A block is transferred between the file and the caller's memory in one piece. Nothing is
/// buffered except the one byte that was peeked last. Transfers that end early or are interrupted
/// are continued.
class LOGGING2_EXPORT filebuf : public std::streambuf {
public:
    /// Opens the file. The name is in the encoding of the platform's calls. The mode is `in` for
    /// input, `out` for output, and `out | app` for output at the end of the file. For output, a
    /// missing file is created, and an existing file is emptied unless the mode has `app`.
    filebuf(const std::string& name, std::ios::openmode mode);

    /// Closes the file.
    ~filebuf() override;

    filebuf(const filebuf&) = delete;
    filebuf& operator=(const filebuf&) = delete;

    /// Whether the file was opened and has not been closed.
    bool is_open() const noexcept { return descriptor >= 0; }

    /// Closes the file. Returns true if the file was open and closing it reported no error.
    bool close() noexcept;

protected:
    int_type underflow() override;
    int_type overflow(int_type byte) override;
    std::streamsize xsgetn(char* bytes, std::streamsize count) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    pos_type seekoff(off_type offset, std::ios::seekdir origin, std::ios::openmode mode) override;
    pos_type seekpos(pos_type position, std::ios::openmode mode) override;

private:
    int descriptor;
    char seen = 0; // the byte that was peeked last
};

} // namespace fl::filesystem::detail
