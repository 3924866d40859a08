#pragma once

#include <sys/stat.h>
#include <sys/types.h>

namespace logging2::core::test {

/// Sets the process's file mode creation mask while the object lives.
class Umask {
public:
    explicit Umask(mode_t mask) : former(umask(mask)) {}
    ~Umask() { umask(former); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

private:
    mode_t former;
};

} // namespace logging2::core::test
