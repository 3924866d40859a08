#pragma once

#include <boost/any.hpp>

#include <filesystem>
#include <map>
#include <string>

namespace simulate {

/// Whether this build has the back-end "recording".
bool can_record();

/// Registers the back-end "recording", if this build has it. It makes its recordings in the
/// directory, and stores the properties with each of them.
void offer_recording(const std::filesystem::path& directory,
                     const std::map<std::string, std::string>& properties);

/// The directory of the recording that holds the data store; empty if no recording holds it.
std::string recording_of(const boost::any& dataStore);

} // namespace simulate
