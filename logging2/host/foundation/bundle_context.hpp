#pragma once

#include <logging2/export.hpp>

#include <cppmicroservices/BundleContext.h>

namespace foundation {

/// Starts the host's service framework, once per process: every further call does nothing, also
/// after stop_vantrel_core(), so a stopped framework stays stopped. Any thread may call.
LOGGING2_EXPORT void install_and_start_vantrel_core();

/// The process-wide context through which services are registered and found. It is invalid (its
/// `operator bool` is false) before install_and_start_vantrel_core() and after
/// stop_vantrel_core(). Any thread may call.
LOGGING2_EXPORT cppmicroservices::BundleContext get_global_bundle_context();

/// Stops the framework and waits until it has stopped; services are gone afterwards and contexts
/// invalid, service objects that are still held stay usable. Does nothing where the framework was
/// not started. To be called before the process leaves main(); any thread may call.
LOGGING2_EXPORT void stop_vantrel_core();

} // namespace foundation
