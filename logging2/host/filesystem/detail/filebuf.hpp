#pragma once

#include <logging2/export.hpp>

#include <ios>
#include <streambuf>
#include <string>

namespace fl::filesystem::detail {

/// The bytes of a file, for the streams of this folder. The file's descriptor is closed when the
/// process executes another program, as that of a standard stream is not.
///
/// A block is moved between the file and the caller's memory in one piece; nothing is kept but the
/// one byte that was looked at last. Transfers that end early or are interrupted are continued.
class LOGGING2_EXPORT filebuf : public std::streambuf {
public:
    /// Opens the file of that name, which is in the encoding of the platform's calls: for input
    /// with `in`, for output with `out`, at the end with `app`. A missing file is created for
    /// output; what is in the file already is dropped unless the output is appended.
    filebuf(const std::string& name, std::ios::openmode mode);

    /// Closes the file.
    ~filebuf() override;

    filebuf(const filebuf&) = delete;
    filebuf& operator=(const filebuf&) = delete;

    /// Whether the file could be opened and has not been closed.
    bool is_open() const noexcept { return descriptor >= 0; }

    /// Closes the file. Returns whether it was open and closing it reported no error.
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
    char seen = 0; // the byte that was looked at last
};

} // namespace fl::filesystem::detail
