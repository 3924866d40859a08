#include <logging2/host/filesystem/detail/filebuf.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace fl::filesystem::detail {
namespace {

/// The rights of a new file before the umask is applied, as for any file.
constexpr mode_t ordinaryRights = 0666;

int flags_of(std::ios::openmode mode) {
    if ((mode & std::ios::out) == 0) {
        return O_RDONLY;
    }
    return O_WRONLY | O_CREAT | ((mode & std::ios::app) != 0 ? O_APPEND : O_TRUNC);
}

int origin_of(std::ios::seekdir origin) {
    if (origin == std::ios::beg) {
        return SEEK_SET;
    }
    return origin == std::ios::cur ? SEEK_CUR : SEEK_END;
}

/// Calls transfer(done) until all bytes are transferred, no byte is left, or an error other than an
/// interruption occurs. Returns the number of transferred bytes.
template <class Transfer>
std::streamsize transfer_all(std::streamsize byteCount, Transfer transfer) {
    std::streamsize done = 0;
    while (done < byteCount) {
        const ssize_t count = transfer(done);
        if (count > 0) {
            done += count;
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

std::streamsize read_all(int descriptor, char* bytes, std::streamsize byteCount) {
    return transfer_all(byteCount, [=](std::streamsize done) {
        return ::read(descriptor, bytes + done, static_cast<std::size_t>(byteCount - done));
    });
}

} // namespace

filebuf::filebuf(const std::string& name, std::ios::openmode mode)
    : descriptor(::open(name.c_str(), flags_of(mode) | O_CLOEXEC, ordinaryRights)) {}

filebuf::~filebuf() {
    close();
}

bool filebuf::close() noexcept {
    setg(nullptr, nullptr, nullptr);
    return is_open() && ::close(std::exchange(descriptor, -1)) == 0;
}

filebuf::int_type filebuf::underflow() {
    if (read_all(descriptor, &seen, 1) != 1) {
        return traits_type::eof();
    }
    setg(&seen, &seen, &seen + 1);
    return traits_type::to_int_type(seen);
}

filebuf::int_type filebuf::overflow(int_type byte) {
    const char written = traits_type::to_char_type(byte);
    return xsputn(&written, 1) == 1 ? byte : traits_type::eof();
}

std::streamsize filebuf::xsgetn(char* bytes, std::streamsize count) {
    if (count <= 0) {
        return 0;
    }
    std::streamsize done = 0;
    if (gptr() != egptr()) {
        bytes[done++] = seen;
    }
    setg(nullptr, nullptr, nullptr);
    return done + read_all(descriptor, bytes + done, count - done);
}

std::streamsize filebuf::xsputn(const char* bytes, std::streamsize count) {
    return transfer_all(count, [=](std::streamsize done) {
        return ::write(descriptor, bytes + done, static_cast<std::size_t>(count - done));
    });
}

filebuf::pos_type filebuf::seekoff(off_type offset, std::ios::seekdir origin, std::ios::openmode) {
    if (origin == std::ios::cur) {
        offset -= egptr() - gptr(); // the file position is ahead by the peeked byte
    }
    const off_type position = ::lseek(descriptor, offset, origin_of(origin));
    if (position >= 0) {
        setg(nullptr, nullptr, nullptr);
    }
    return position;
}

filebuf::pos_type filebuf::seekpos(pos_type position, std::ios::openmode mode) {
    return seekoff(position, std::ios::beg, mode);
}

} // namespace fl::filesystem::detail
