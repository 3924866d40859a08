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

inline cppmicroservices::ServiceProperties named(const std::string& key, const std::string& name,
                                                 int ranking = 0) {
    cppmicroservices::ServiceProperties properties;
    properties[key] = name;
    properties[cppmicroservices::Constants::SERVICE_RANKING] = ranking;
    return properties;
}

/// Gives a back-end another name and ranking; its description is lost.
inline void rename(BackendRegistrations& registrations, const std::string& name, int ranking) {
    registrations.at(0).SetProperties(named(vtllogging_write_type_id(), name, ranking));
    registrations.at(1).SetProperties(named(vtllogging_read_type_id(), name, ranking));
}

} // namespace logging2::core::test
