#pragma once

#include <logging2/export.hpp>

#include <cppmicroservices/BundleContext.h>

namespace foundation {

/// Starts the host's service framework, once per process. Every further call does nothing. A
/// framework that was stopped by stop_vantrel_core() stays stopped. Any thread may call.
LOGGING2_EXPORT void install_and_start_vantrel_core();

/// Returns the process-wide context through which services are registered and found. The context is
/// invalid (its `operator bool` returns false) before install_and_start_vantrel_core() and after
/// stop_vantrel_core(). Any thread may call.
LOGGING2_EXPORT cppmicroservices::BundleContext get_global_bundle_context();

/// Stops the framework and waits until it has stopped. Afterwards all services are unregistered and
/// all contexts are invalid. Service objects that are still held stay usable. Does nothing if the
/// framework was never started.
///
/// Call it before the process leaves main(). Any thread may call.
LOGGING2_EXPORT void stop_vantrel_core();

} // namespace foundation
