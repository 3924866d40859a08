#include <examples/simulate/logging/recording.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <logging2/logging2.hpp>

namespace simulate {

bool can_record() {
    return true;
}

void offer_recording(const std::filesystem::path& directory,
                     const std::map<std::string, std::string>& properties) {
    logging2::core::RecordingOptions options;
    options.directory = directory.string();
    options.properties = properties;
    logging2::core::register_recording_backend(foundation::get_global_bundle_context(), options);
}

std::string recording_of(const boost::any& dataStore) {
    const auto* store = boost::any_cast<logging2::core::RecordingDatastore>(&dataStore);
    return store == nullptr ? "" : store->location;
}

} // namespace simulate
