#pragma once

#include <logging2/backends/recording/RecordingProgress.hpp>
#include <logging2/backends/recording/export.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace logging2::core {

/// What check_recording() has found.
struct RecordingCheck {
    /// The faults, one line each: the file, the place in it, what was expected and what was found.
    /// Only the first 1,000 of them.
    std::vector<std::string> findings;

    /// The number of all faults. The recording is whole if it is 0.
    std::size_t findingCount = 0;

    /// How many chunks the index names.
    std::size_t chunkCount = 0;

    /// How many steps of all groups together they hold for the run.
    std::size_t stepCount = 0;

    /// How many bytes of the data file they take.
    std::uint64_t byteCount = 0;
};

/// Compares everything in a recording with its hashes, the index with the data file, and what both
/// say about the samples with the samples. It goes on after a fault as far as it can, whatever the
/// files hold.
///
/// The recording may still be written: the state at this moment is checked. Nothing in the
/// directory is changed, and no write permission is needed. Bytes that do not belong to the run,
/// such as discarded steps, are not checked.
///
/// Reads all samples once. Memory: the rows of the index, and 256 steps of one signal. If the index
/// is damaged, its rows may take 100 times as many bytes as its file. Any thread may call. Throws
/// RecordingError if there is no such directory, if the process lacks permission to read it, file
/// descriptors or a directory for temporary files, or if a host is writing the recording on a
/// network file system; and std::bad_alloc. Everything else is a finding.
LOGGING2_RECORDING_EXPORT RecordingCheck check_recording(const std::string& directory,
                                                         const RecordingProgress& progress = {});

} // namespace logging2::core
