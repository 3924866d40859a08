#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <string>

namespace logging2::core {

/// Returns "runId", the key with which a host labels stored data with its run.
///
/// Every call returns the same object, which is never destroyed and stays valid during process
/// shutdown. Any thread may call.
LOGGING2_EXPORT const std::string& datastore_run_id();

/// Returns "model", the key with which a host labels stored data with its model.
///
/// Every call returns the same object, which is never destroyed and stays valid during process
/// shutdown. Any thread may call.
LOGGING2_EXPORT const std::string& datastore_model_id();

/// Returns a new random UUID (version 4, variant 1; RFC 4122, section 4.4) as a path component. It
/// has 36 characters: lower-case hexadecimal digits in groups of 8-4-4-4-12.
///
/// The 122 random bits come from "/dev/urandom". The first call opens the device, which stays open
/// until the process ends.
///
/// Throws boost::uuids::entropy_error "open /dev/urandom" if the device cannot be opened; the next
/// call then tries again. Throws boost::uuids::entropy_error "read" if the device cannot be read.
/// Any thread may call.
LOGGING2_EXPORT fl::filesystem::basic_path<char, char16_t> get_unique_id();

} // namespace logging2::core
