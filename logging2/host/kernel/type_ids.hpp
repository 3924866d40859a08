#pragma once

#include <logging2/export.hpp>

#include <string>

namespace logging2::core {

/// The key of the service property under which a StreamWriterService publishes its back-end name.
/// The property's value must be a std::string.
LOGGING2_EXPORT std::string vtllogging_write_type_id();

/// The same for a StreamReaderService.
LOGGING2_EXPORT std::string vtllogging_read_type_id();

} // namespace logging2::core
