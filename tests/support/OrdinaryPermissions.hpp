#pragma once

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace logging2::core::test {

/// Makes file permissions apply to the calling thread while the object lives, even to root: it
/// drops the privileges that bypass them and restores them at the end. Threads that are started
/// meanwhile inherit this.
class OrdinaryPermissions {
public:
    OrdinaryPermissions() {
        call(SYS_capget, former);
        Sets ordinary = former;
        ordinary[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        call(SYS_capset, ordinary);
    }
    ~OrdinaryPermissions() { restore(); }
    OrdinaryPermissions(const OrdinaryPermissions&) = delete;
    OrdinaryPermissions& operator=(const OrdinaryPermissions&) = delete;

private:
    using Sets = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

    static void call(long number, Sets& sets) {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        if (syscall(number, &header, sets.data()) != 0) {
            throw std::runtime_error("cannot change the privileges of the thread");
        }
    }

    void restore() noexcept {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        syscall(SYS_capset, &header, former.data());
    }

    Sets former{};
};

} // namespace logging2::core::test
