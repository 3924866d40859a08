#pragma once

#include <logging2/backends/recording/export.hpp>
#include <logging2/runs/Run.hpp>

#include <memory>
#include <string>
#include <vector>

namespace logging2::core {

/// How the samples of a recording get into memory.
enum class SampleAccess {
    /// A Series is the mapped file itself where possible, which is fastest.
    mapped,
    /// A Series is always a copy. Nothing that happens to the file can harm the reader.
    copied
};

/// Opens a recording, given its directory, whether it is finished, was interrupted, or is still
/// being written by this or another process. The run shows the state at this moment, see
/// Run::refresh(). Nothing in the directory is changed, and no write permission is needed.
///
/// Throws RecordingError, here and from the run's operations, if something is missing, is no
/// recording, was written by a newer version, or is damaged, and here also if a host is writing it
/// on a network file system. Whatever is read is compared with its hash first. Readers never make
/// the writer wait.
LOGGING2_RECORDING_EXPORT std::unique_ptr<Run> open_recording(const std::string& directory);

/// The same with a choice of how samples are read.
LOGGING2_RECORDING_EXPORT std::unique_ptr<Run> open_recording(const std::string& directory,
                                                              SampleAccess access);

/// A recording in a directory of recordings.
struct RecordingEntry {
    /// The directory of the recording.
    std::string location;

    /// What is known about the run. If it cannot be opened: its id, name, properties and start as
    /// far as one of its files tells them, and otherwise the defaults.
    RunInfo info;

    /// Why the recording cannot be opened; empty if it can.
    std::string fault;
};

/// The recordings in a directory: its subdirectories whose names end with ".recording". The newest
/// come first, by the start of the run; those that cannot be opened come last, by name. Throws
/// RecordingError if the directory cannot be read.
LOGGING2_RECORDING_EXPORT std::vector<RecordingEntry> list_recordings(const std::string& directory);

} // namespace logging2::core
