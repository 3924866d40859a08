#pragma once

#include <logging2/registry/export.hpp>

#include <memory>

namespace cppmicroservices {
inline namespace logging2_registry {

class BundleContext;

namespace detail {
class FrameworkCore;
class ServiceEntry;
} // namespace detail

/// A handle to the one bundle that there is: the framework itself.
///
/// Copies share the framework; when the last one goes, it stops. Every call throws
/// `std::invalid_argument` on an empty handle.
class LOGGING2_REGISTRY_EXPORT Bundle {
public:
    Bundle() = default;

    /// The context of the present run: invalid before the first one and after each.
    BundleContext GetBundleContext() const;

    /// Begins a run: the context is valid, and services can be registered and found.
    void Start();

    /// Ends the run: all services are gone, all contexts invalid, now and after a new start.
    /// Follow with `Framework::WaitForStop`.
    void Stop();

protected:
    /// A handle to the framework.
    LOGGING2_REGISTRY_NO_EXPORT explicit Bundle(std::shared_ptr<detail::FrameworkCore> core);

    /// The framework behind the handle.
    LOGGING2_REGISTRY_NO_EXPORT detail::FrameworkCore& requireCore() const;

private:
    friend class detail::ServiceEntry;

    std::shared_ptr<detail::FrameworkCore> core;
};

} // namespace logging2_registry
} // namespace cppmicroservices
