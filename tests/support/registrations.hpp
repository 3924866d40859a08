#pragma once

#include <logging2/lookup/Backend.hpp>

namespace logging2::core::test {

/// Unregisters the services of back-ends.
inline void unregister(BackendRegistrations registrations) {
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.Unregister();
    }
}

} // namespace logging2::core::test
