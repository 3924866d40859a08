#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace logging2::core::test {

/// What the library asks of the operating system, by the work and not by the C function: `open` is
/// fopen as well as open, `write` is writev as well, `stat` lstat, `remove` unlink and rmdir.
enum class Call { open, close, read, write, seek, stat, makeDirectory, changeMode, remove };

std::ostream& operator<<(std::ostream& stream, Call call);

/// What becomes of one call.
struct Outcome {
    int error = 0; ///< the call fails with this errno, where it is not 0
    std::size_t byteLimit = std::numeric_limits<std::size_t>::max(); ///< of a read or a write
    std::function<void()> before; ///< done before the call, where there is one
};

/// The call does nothing and fails; a close still gives the descriptor back, as the system does.
inline Outcome fails(int error) {
    return {error, Outcome().byteLimit, {}};
}

/// A read or write that ends after so many bytes, without an error; 0 is the end of the file.
inline Outcome transfers(std::size_t byteCount) {
    return {0, byteCount, {}};
}

/// The call works, and somebody else did something just before.
inline Outcome works(std::function<void()> after = {}) {
    return {0, Outcome().byteLimit, std::move(after)};
}

/// Decides about the process's next calls of one kind while the object lives: the first call gets
/// the first outcome and so on; those that come behind the last outcome work as ever. Only calls
/// on files count whose name has the given end.
///
/// Linking its source file puts functions of the same names before those of the C library, as the
/// standard library and Boost see them; an executable of its own is best.
class FailingCalls {
public:
    FailingCalls(Call call, std::string nameEnd, std::vector<Outcome> outcomes);
    ~FailingCalls();
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    /// How many calls there were, also those behind the last outcome.
    std::size_t count() const;

    struct Plan;

private:
    std::shared_ptr<Plan> plan;
};

} // namespace logging2::core::test
