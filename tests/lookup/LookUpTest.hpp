#pragma once

#include <logging2/logging2.hpp>

#include <tests/support/registrations.hpp>
#include <tests/support/setups.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <gmock/gmock.h>

#include <string>

namespace logging2::core::test {

/// Starts the process's service framework for a test and stops it afterwards.
class LookUpTest : public ::testing::Test {
protected:
    LookUpTest() { foundation::install_and_start_vantrel_core(); }
    ~LookUpTest() override { foundation::stop_vantrel_core(); }

    static cppmicroservices::BundleContext context() {
        return foundation::get_global_bundle_context();
    }

    /// The services of every interface.
    static std::size_t serviceCount() { return context().GetServiceReferences("").size(); }
};

/// A back-end that keeps every step in memory.
inline Backend memoryBackend(const std::string& name) {
    return make_backend<MemoryStreamWriter, MemoryStreamReader>(
        {name, "description of " + name, true, false});
}

inline auto writerNamed(const std::string& name) {
    return get_stream_writer(name, StreamingAttributes{}, scalarSetup());
}

inline auto readerNamed(const std::string& name) {
    return get_stream_reader(name, boost::any());
}

/// Changes one property of a service and keeps the others.
inline void setProperty(cppmicroservices::ServiceRegistrationU& registration,
                        const std::string& key, const cppmicroservices::Any& value) {
    const cppmicroservices::ServiceReferenceBase service = registration.GetReference();
    cppmicroservices::ServiceProperties properties;
    for (const std::string& former : service.GetPropertyKeys()) {
        properties[former] = service.GetProperty(former);
    }
    properties[key] = value;
    registration.SetProperties(properties);
}

inline void setRanking(BackendRegistrations& registrations, int ranking) {
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        setProperty(registration, cppmicroservices::Constants::SERVICE_RANKING, ranking);
    }
}

} // namespace logging2::core::test
