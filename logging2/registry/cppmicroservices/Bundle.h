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

/// A handle to the only bundle, which is the framework itself.
///
/// Copies share the framework, which stops when the last handle is destroyed. Every call on a
/// default-constructed handle throws `std::invalid_argument`.
class LOGGING2_REGISTRY_EXPORT Bundle {
public:
    Bundle() = default;

    /// Returns the context of the current run. The context is invalid before the first run and
    /// after the end of each run.
    BundleContext GetBundleContext() const;

    /// Starts a run, so that the context is valid and services can be registered and found. Does
    /// nothing during a run.
    void Start();

    /// Ends the run. All its services are gone, and all its contexts are invalid for good, even
    /// after a new start. Call `Framework::WaitForStop` afterwards.
    void Stop();

protected:
    /// Makes a handle to the framework.
    LOGGING2_REGISTRY_NO_EXPORT explicit Bundle(std::shared_ptr<detail::FrameworkCore> core);

    /// Returns the framework behind the handle.
    LOGGING2_REGISTRY_NO_EXPORT detail::FrameworkCore& requireCore() const;

private:
    friend class detail::ServiceEntry;

    std::shared_ptr<detail::FrameworkCore> core;
};

} // namespace logging2_registry
} // namespace cppmicroservices
