#pragma once

#include <logging2/lookup/Backend.hpp>

#include <vector>

namespace logging2::core {

/// Returns the built-in back-ends "memory", "memory-restricted" and "native", in the order in which
/// register_builtin_backends() registers them. Every call returns the same object, which is never
/// destroyed. Any thread may call.
const std::vector<Backend>& builtin_backends();

/// Registers every built-in back-end, so that get_stream_writer() and get_stream_reader() find them
/// by name. Returns the registrations, two per back-end.
///
/// If it is called twice, look-ups find the first registrations. Throws
/// cppmicroservices::IllegalStateException if the context is invalid. Nothing stays registered
/// after an error. Any thread may call.
BackendRegistrations register_builtin_backends(cppmicroservices::BundleContext context);

} // namespace logging2::core
