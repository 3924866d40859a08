#pragma once

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <string>
#include <vector>

namespace logging2::core {

/// The names under which register_builtin_backends() registers, in the order of registration:
/// "memory", "memory-restricted" and "native".
const std::vector<std::string>& builtin_backend_names();

/// Registers a StreamWriterService and a StreamReaderService for each built-in back-end, so that
/// get_stream_writer() and get_stream_reader() find them by name.
///
/// Returns the registrations, two per name, for a host that wants to unregister them; dropping
/// the handles leaves the services registered. Calling it twice registers twice, and the first
/// registration is the one that is found. Throws cppmicroservices::IllegalStateException where
/// the context is invalid; where memory runs out half-way, what was registered stays. Any thread
/// may call.
std::vector<cppmicroservices::ServiceRegistrationU>
register_builtin_backends(cppmicroservices::BundleContext context);

} // namespace logging2::core
