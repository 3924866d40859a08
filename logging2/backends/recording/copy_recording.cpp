#include <logging2/backends/recording/copy_recording.hpp>

#include <logging2/backends/recording/detail/NewDirectory.hpp>
#include <logging2/backends/recording/detail/RecordingRun.hpp>
#include <logging2/backends/recording/detail/RunWriter.hpp>
#include <logging2/backends/recording/detail/buffer_plan.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>

namespace logging2::core {

void copy_recording(const std::string& directory, const std::string& newDirectory,
                    const RecordingOptions& options, const RecordingProgress& progress) {
    detail::check_options(options);
    detail::require_directory(directory);
    const detail::RecordingRun run(directory, SampleAccess::mapped);
    const detail::RunContent content = run.content();
    detail::NewDirectory made(newDirectory, options.mode);
    detail::RunWriter(content, made.path(), options, progress).write();
    made.publish(options.durability);
}

} // namespace logging2::core
