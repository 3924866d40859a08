#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/export.hpp>
#include <logging2/lookup/Backend.hpp>

#include <string>

namespace logging2::core {

/// Registers a back-end whose writers are RecordingStreamWriters with these options, and whose
/// readers are RecordingStreamReaders. Returns its two registrations.
///
/// Throws std::invalid_argument if an option has no meaning, and what register_backend() throws.
/// Any thread may call.
LOGGING2_RECORDING_EXPORT BackendRegistrations register_recording_backend(
    cppmicroservices::BundleContext context, const RecordingOptions& options = {},
    const std::string& name = "recording");

} // namespace logging2::core
