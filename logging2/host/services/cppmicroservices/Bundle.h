#pragma once

#include <logging2/export.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace cppmicroservices {

class BundleContext;

namespace detail {
class FrameworkCore;
class ServiceEntry;
} // namespace detail

/// A handle to the one bundle that there is: the framework itself.
///
/// Copies share the framework; when the last one goes, it stops. Every call but the tests throws
/// `std::invalid_argument` on an empty handle.
class LOGGING2_EXPORT Bundle {
public:
    enum State : std::uint32_t {
        STATE_UNINSTALLED = 0x00000001,
        STATE_INSTALLED = 0x00000002,
        STATE_RESOLVED = 0x00000004,
        STATE_STARTING = 0x00000008,
        STATE_STOPPING = 0x00000010,
        STATE_ACTIVE = 0x00000020
    };

    Bundle() = default;

    explicit operator bool() const;
    Bundle& operator=(std::nullptr_t);

    bool operator==(const Bundle& other) const;
    bool operator!=(const Bundle& other) const;

    State GetState() const;

    /// The context of the present run: invalid before the first one and after each.
    BundleContext GetBundleContext() const;

    /// Makes the framework active, initialising it first if need be.
    void Start();

    /// Ends the run: all services are gone, all contexts invalid, now and after a new start.
    /// Follow with `Framework::WaitForStop`.
    void Stop();

protected:
    LOGGING2_NO_EXPORT explicit Bundle(std::shared_ptr<detail::FrameworkCore> core);

    LOGGING2_NO_EXPORT detail::FrameworkCore& requireCore() const;

private:
    friend class detail::ServiceEntry;

    std::shared_ptr<detail::FrameworkCore> core;
};

} // namespace cppmicroservices
