#pragma once

#include <logging2/backends/recording/recording.hpp>

#include <filesystem>
#include <memory>
#include <string>

namespace logging2::tools {

/// A new recording that gets its place when it is complete. It is made under a name beside that
/// place; the destructor removes it if it was not published.
class PendingRecording {
public:
    /// Throws UsageError if something is at the location, and what the constructor of
    /// core::RecordingStreamWriter throws.
    PendingRecording(const std::string& location, const core::StreamingAttributes& attributes,
                     const core::SequenceMap<core::Group, core::LoggedPathsSetupData>& setup,
                     core::RecordingOptions options);
    ~PendingRecording();

    PendingRecording(const PendingRecording&) = delete;
    PendingRecording& operator=(const PendingRecording&) = delete;

    core::RecordingStreamWriter& writer() { return *recordingWriter; }

    /// Stores everything, and gives the recording its place. Its run is interrupted, not finished.
    void publish();

private:
    std::filesystem::path target;
    std::filesystem::path directory;
    std::unique_ptr<core::RecordingStreamWriter> recordingWriter;
};

} // namespace logging2::tools
