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
    /// Where a framework stands: INSTALLED before its first run, STARTING from the initialisation
    /// on, ACTIVE once started, STOPPING while it stops, RESOLVED after a run.
    enum State : std::uint32_t {
        STATE_UNINSTALLED = 0x00000001,
        STATE_INSTALLED = 0x00000002,
        STATE_RESOLVED = 0x00000004,
        STATE_STARTING = 0x00000008,
        STATE_STOPPING = 0x00000010,
        STATE_ACTIVE = 0x00000020
    };

    Bundle() = default;

    /// Whether the handle has a framework.
    explicit operator bool() const;
    /// Lets go of the framework.
    Bundle& operator=(std::nullptr_t);

    /// Whether both are handles of one framework, or both empty.
    bool operator==(const Bundle& other) const;
    /// The opposite.
    bool operator!=(const Bundle& other) const;

    /// Where the framework stands now.
    State GetState() const;

    /// The context of the present run: invalid before the first one and after each.
    BundleContext GetBundleContext() const;

    /// Makes the framework active, initialising it first if need be.
    void Start();

    /// Ends the run: all services are gone, all contexts invalid, now and after a new start.
    /// Follow with `Framework::WaitForStop`.
    void Stop();

protected:
    /// A handle to the framework.
    LOGGING2_NO_EXPORT explicit Bundle(std::shared_ptr<detail::FrameworkCore> core);

    /// The framework behind the handle.
    LOGGING2_NO_EXPORT detail::FrameworkCore& requireCore() const;

private:
    friend class detail::ServiceEntry;

    std::shared_ptr<detail::FrameworkCore> core;
};

} // namespace cppmicroservices
