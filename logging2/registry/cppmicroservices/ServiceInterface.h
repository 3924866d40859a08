#pragma once

#include <cppmicroservices/ServiceException.h>
#include <logging2/registry/export.hpp>

#include <memory>
#include <string>
#include <typeinfo>
#include <unordered_map>

namespace cppmicroservices {
inline namespace logging2_registry {

/// The objects of one service by interface identifier.
using InterfaceMap = std::unordered_map<std::string, std::shared_ptr<void>>;
/// A shared map, as a factory returns it.
using InterfaceMapConstPtr = std::shared_ptr<const InterfaceMap>;

namespace detail {

/// Returns the name of a type as it is written in the source.
LOGGING2_REGISTRY_EXPORT std::string GetDemangledName(const std::type_info& typeInfo);

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices

inline namespace logging2_registry {

/// Returns the identifier under which services of interface `T` are registered. It is the qualified
/// name of `T`, unless another identifier is declared. Identifiers are compared as text, so they
/// are the same in every library.
template <class T>
const std::string& us_service_interface_iid() {
    static const std::string name = cppmicroservices::detail::GetDemangledName(typeid(T));
    return name;
}

/// Returns the empty identifier, because `void` is not an interface.
template <>
inline const std::string& us_service_interface_iid<void>() {
    static const std::string name;
    return name;
}

} // namespace logging2_registry

/// Declares the identifier of an interface. Use it outside any namespace.
#define CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(interfaceType, interfaceId)                     \
    /* In the namespace, because clang otherwise names the function without it. */                 \
    inline namespace logging2_registry {                                                           \
    template <>                                                                                    \
    inline const std::string& us_service_interface_iid<interfaceType>() {                          \
        static const std::string name(interfaceId);                                                \
        return name;                                                                               \
    }                                                                                              \
    }

namespace cppmicroservices {
inline namespace logging2_registry {

class ServiceFactory;

/// Builds the map of one object under several interfaces, as a `ServiceFactory` returns it.
template <class... Interfaces>
class MakeInterfaceMap {
public:
    /// Shares the object under the identifier of each interface. A null object gives null entries.
    template <class Impl>
    MakeInterfaceMap(const std::shared_ptr<Impl>& impl) : map(std::make_shared<InterfaceMap>()) {
        (map->emplace(us_service_interface_iid<Interfaces>(),
                      std::static_pointer_cast<Interfaces>(impl)),
         ...);
    }

    /// Returns the map. All copies share it.
    operator InterfaceMapConstPtr() const { return map; }

private:
    std::shared_ptr<InterfaceMap> map;
};

/// Returns the factory as the type that `BundleContext::RegisterService` takes.
template <class T>
std::shared_ptr<ServiceFactory> ToFactory(const std::shared_ptr<T>& factory) {
    return std::static_pointer_cast<ServiceFactory>(factory);
}

} // namespace logging2_registry
} // namespace cppmicroservices
