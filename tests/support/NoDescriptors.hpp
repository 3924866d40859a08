#pragma once

#include <sys/resource.h>
#include <unistd.h>

namespace logging2::core::test {

/// Leaves the process without a free file descriptor while it lives.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &former);
        const int firstFree = dup(0);
        close(firstFree);
        rlimit none = former;
        none.rlim_cur = static_cast<rlim_t>(firstFree);
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &former); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit former{};
};

} // namespace logging2::core::test
