#include <logging2/backends/recording/register_recording_backend.hpp>

#include <logging2/backends/recording/RecordingStreamReader.hpp>
#include <logging2/backends/recording/RecordingStreamWriter.hpp>
#include <logging2/backends/recording/detail/buffer_plan.hpp>

#include <memory>
#include <utility>

namespace logging2::core {

BackendRegistrations register_recording_backend(cppmicroservices::BundleContext context,
                                                const RecordingOptions& options,
                                                const std::string& name) {
    detail::check_options(options);
    Backend backend{{name, "keeps every step on disk, in a directory per run", true, true}, {}, {}};
    backend.createWriter = [options](const StreamingAttributes& attributes,
                                     const SequenceMap<Group, LoggedPathsSetupData>& setup) {
        return std::make_unique<RecordingStreamWriter>(attributes, setup, options);
    };
    backend.createReader = [](const boost::any& dataStore) {
        return std::make_unique<RecordingStreamReader>(dataStore);
    };
    return register_backend(std::move(context), backend);
}

} // namespace logging2::core
