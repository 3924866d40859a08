#pragma once

#include "ServiceEntry.hpp"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {

class FrameworkCore;

/// The services of one run of a framework. The registry is closed for good when the run ends.
///
/// No code of the host, such as factories and destructors of services, runs while its mutex is
/// held.
class Registry : public std::enable_shared_from_this<Registry> {
public:
    using Entries = std::vector<std::shared_ptr<ServiceEntry>>;

    explicit Registry(std::weak_ptr<FrameworkCore> owner);

    bool isOpen() const;
    void close();

    /// Returns the framework, or null if it is gone.
    std::shared_ptr<FrameworkCore> framework() const;

    std::shared_ptr<ServiceEntry> add(ServiceSource source, const ServiceProperties& properties);
    void remove(const ServiceEntry& entry);

    /// Returns the matching services, sorted by preference. See
    /// `BundleContext::GetServiceReferences`.
    Entries find(const std::string& interfaceId, const std::string& filterText) const;

private:
    Entries entriesOf(const std::string& interfaceId) const;

    const std::weak_ptr<FrameworkCore> core;

    mutable std::mutex mutex;
    bool open = true;       // guarded by mutex
    long lastServiceId = 0; // guarded by mutex
    Entries entries;        // guarded by mutex
};

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
