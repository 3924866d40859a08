// Stands for recording.cpp in builds without the back-end "recording".
#include <examples/simulate/logging/recording.hpp>

namespace simulate {

bool can_record() {
    return false;
}

void offer_recording(const std::filesystem::path& /*directory*/,
                     const std::map<std::string, std::string>& /*properties*/) {}

std::string recording_of(const boost::any& /*dataStore*/) {
    return {};
}

} // namespace simulate
