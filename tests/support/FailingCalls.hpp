#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The operations that the library asks of the operating system. One operation covers several C
/// functions: `open` is fopen and open, `read` is read, pread and preadv, `write` is write, writev
/// and pwrite, `stat` is stat and lstat, `changeMode` is chmod, fchmod and fchmodat, `remove` is
/// remove, unlink and rmdir, `synchronize` is fsync and fdatasync, `lock` is flock, `lockRange` is
/// fcntl with a command that locks, `map` is mmap of a file, `statOpen` is fstat, `reserve` is
/// fallocate. The variants for large files count as the same.
enum class Call {
    open,
    close,
    read,
    write,
    seek,
    stat,
    makeDirectory,
    changeMode,
    remove,
    synchronize,
    lock,
    truncate,
    map,
    statOpen,
    lockRange,
    reserve
};

std::ostream& operator<<(std::ostream& stream, Call call);

/// The outcome of one call.
struct Outcome {
    int error = 0; ///< if not 0, the call fails with this errno
    std::size_t byteLimit = std::numeric_limits<std::size_t>::max(); ///< of a read or a write
    std::function<void()> before; ///< if set, called before the call
};

/// The call fails and does nothing, except that a close still closes the descriptor, as the system
/// does.
inline Outcome fails(int error) {
    return {error, Outcome().byteLimit, {}};
}

/// The read or write ends after that many bytes without an error; 0 means the end of the file.
inline Outcome transfers(std::size_t byteCount) {
    return {0, byteCount, {}};
}

/// The call works. If `before` is set, it runs first.
inline Outcome works(std::function<void()> before = {}) {
    return {0, Outcome().byteLimit, std::move(before)};
}

/// Determines the outcomes of the process's next calls of one kind while the object lives: the
/// first call gets the first outcome and so on; calls after the last outcome work normally. Only
/// calls on files whose names end in `nameEnd` count.
///
/// Linking its source file puts functions of the same names before those of the C library, so that
/// the standard library and Boost use them. Use it in a separate executable.
class FailingCalls {
public:
    FailingCalls(Call call, std::string nameEnd, std::vector<Outcome> outcomes);
    ~FailingCalls();
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    /// The number of calls, including those after the last outcome.
    std::size_t count() const;

    struct Plan;

private:
    std::shared_ptr<Plan> plan;
};

} // namespace logging2::core::test
