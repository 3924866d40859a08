#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <string>

namespace logging2::core {

/// The key "runId" under which a host labels stored data with its run. Always the same object,
/// valid also during process shutdown. Any thread may call.
LOGGING2_EXPORT const std::string& datastore_run_id();

/// The key "model" under which a host labels stored data with its model, likewise.
LOGGING2_EXPORT const std::string& datastore_model_id();

/// A new random UUID (version 4, variant 1; RFC 4122, section 4.4) as a path component: 36
/// characters, lower-case hexadecimal digits in groups of 8-4-4-4-12.
///
/// Its 122 random bits come from "/dev/urandom", which is opened on the first call and stays open
/// until the process ends. Throws boost::uuids::entropy_error where the device cannot be opened
/// ("open /dev/urandom"; the next call tries again) or read ("read"). Any thread may call.
LOGGING2_EXPORT fl::filesystem::basic_path<char, char16_t> get_unique_id();

} // namespace logging2::core
