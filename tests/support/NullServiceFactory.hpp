#pragma once

#include <cppmicroservices/ServiceFactory.h>

namespace logging2::core::test {

/// A service factory that yields no service object.
class NullServiceFactory final : public cppmicroservices::ServiceFactory {
public:
    cppmicroservices::InterfaceMapConstPtr
    GetService(const cppmicroservices::Bundle&,
               const cppmicroservices::ServiceRegistrationBase&) override {
        return nullptr;
    }
    void UngetService(const cppmicroservices::Bundle&,
                      const cppmicroservices::ServiceRegistrationBase&,
                      const cppmicroservices::InterfaceMapConstPtr&) override {}
};

} // namespace logging2::core::test
