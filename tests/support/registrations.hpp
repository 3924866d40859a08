#pragma once

#include <logging2/lookup/Backend.hpp>

namespace logging2::core::test {

/// Takes the services of back-ends back.
inline void unregister(BackendRegistrations registrations) {
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.Unregister();
    }
}

} // namespace logging2::core::test
