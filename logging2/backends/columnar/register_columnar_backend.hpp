#pragma once

#include <logging2/backends/columnar/ColumnarOptions.hpp>
#include <logging2/backends/columnar/export.hpp>
#include <logging2/lookup/Backend.hpp>

#include <string>

namespace logging2::core {

/// Registers a back-end whose writers are ColumnarStreamWriters with these options, and whose
/// readers are ColumnarStreamReaders. Returns its two registrations.
///
/// Throws what register_backend() throws. Any thread may call.
LOGGING2_COLUMNAR_EXPORT BackendRegistrations register_columnar_backend(
    cppmicroservices::BundleContext context, const ColumnarOptions& options = {},
    const std::string& name = "columnar");

} // namespace logging2::core
