#pragma once

#include <logging2/lookup/Backend.hpp>

#include <vector>

namespace logging2::core {

/// The built-in back-ends, in the order in which register_builtin_backends() registers them:
/// "memory", "memory-restricted" and "native".
const std::vector<Backend>& builtin_backends();

/// Registers every built-in back-end, so that get_stream_writer() and get_stream_reader() find them
/// by name. Returns the registrations, two per back-end.
///
/// If it is called twice, the first registrations are the ones that are found. Throws
/// cppmicroservices::IllegalStateException if the context is invalid. Nothing stays registered
/// after an error. Any thread may call.
BackendRegistrations register_builtin_backends(cppmicroservices::BundleContext context);

} // namespace logging2::core
