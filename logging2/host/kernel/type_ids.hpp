#pragma once

#include <logging2/export.hpp>

#include <string>

namespace logging2::core {

/// Returns the key of the service property that holds the back-end name of a StreamWriterService.
/// The property's value must be a std::string.
LOGGING2_EXPORT std::string vtllogging_write_type_id();

/// Returns the key of the service property that holds the back-end name of a StreamReaderService.
/// The property's value must be a std::string.
LOGGING2_EXPORT std::string vtllogging_read_type_id();

} // namespace logging2::core
