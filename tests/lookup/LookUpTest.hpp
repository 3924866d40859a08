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

    /// The number of services of all interfaces.
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

/// Sets the ranking of both services of a back-end and keeps their other properties.
inline void setRanking(BackendRegistrations& registrations, const BackendInfo& info, int ranking) {
    const std::string nameKeys[] = {vtllogging_write_type_id(), vtllogging_read_type_id()};
    for (std::size_t i = 0; i < registrations.size(); ++i) {
        cppmicroservices::ServiceProperties properties;
        properties[nameKeys[i]] = info.name;
        properties["logging2.description"] = info.description;
        properties["logging2.supportsRollback"] = info.supportsRollback;
        properties["logging2.isPersistent"] = info.isPersistent;
        properties[cppmicroservices::Constants::SERVICE_RANKING] = ranking;
        registrations[i].SetProperties(properties);
    }
}

/// Removes all properties of a service and sets this one.
inline void setProperty(cppmicroservices::ServiceRegistrationU& registration,
                        const std::string& key, const cppmicroservices::Any& value) {
    cppmicroservices::ServiceProperties properties;
    properties[key] = value;
    registration.SetProperties(properties);
}

} // namespace logging2::core::test
