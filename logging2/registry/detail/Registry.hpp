#pragma once

#include "ServiceEntry.hpp"

#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/ListenerFunctors.h>
#include <cppmicroservices/ListenerToken.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cppmicroservices::detail {

class FrameworkCore;

/// The services and listeners of one run of a framework; closed for good when the run ends.
///
/// Nothing of the host (factories, listeners, destructors of services) runs under its mutex.
class Registry : public std::enable_shared_from_this<Registry> {
public:
    using Entries = std::vector<std::shared_ptr<ServiceEntry>>;

    explicit Registry(std::weak_ptr<FrameworkCore> owner);

    bool isOpen() const;
    void close();

    /// Null once the framework is gone.
    std::shared_ptr<FrameworkCore> framework() const;

    std::shared_ptr<ServiceEntry> add(ServiceSource source, const ServiceProperties& properties);
    void remove(const ServiceEntry& entry);

    /// The services in the order of preference; see `BundleContext::GetServiceReferences`.
    Entries find(const std::string& interfaceId, const std::string& filterText) const;

    ListenerToken addListener(const FrameworkListener& listener);
    void removeListener(const ListenerToken& token);
    void send(const FrameworkEvent& event) const;

private:
    Entries entriesOf(const std::string& interfaceId) const;

    const std::weak_ptr<FrameworkCore> core;

    mutable std::mutex mutex;
    bool open = true;                                       // guarded by mutex
    long lastServiceId = 0;                                 // guarded by mutex
    Entries entries;                                        // guarded by mutex
    ListenerTokenId lastListenerId = 0;                     // guarded by mutex
    std::map<ListenerTokenId, FrameworkListener> listeners; // guarded by mutex
};

} // namespace cppmicroservices::detail
