#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/RecordingProgress.hpp>
#include <logging2/backends/recording/export.hpp>

#include <string>

namespace logging2::core {

/// Copies what a reader of the recording sees at this moment to a new recording, also while it is
/// written. newDirectory is the directory of the copy itself; it must not exist, and its parent
/// must. Bytes that do not belong to the run any more are left out.
///
/// The copy has the same id, description, start, end and revision. A run that is running is
/// interrupted in the copy; otherwise the state is the same. Of the options, `mode`,
/// `chunkByteCount`, `compression` and `durability` are obeyed; with Durability::power the disk has
/// the copy when the function returns.
///
/// Everything is compared with its hash. Throws RecordingError if the recording is damaged or the
/// copy cannot be written, std::invalid_argument if an option has no meaning, std::bad_alloc, and
/// what the progress throws. Then there is nothing at newDirectory. The copy is made under a name
/// of its own beside newDirectory, where it stays if the process is killed.
///
/// Reads and writes all samples once. Memory: the rows of the index, one chunk as rows and as
/// columns, and 256 steps of one signal. Any thread may call.
LOGGING2_RECORDING_EXPORT void copy_recording(const std::string& directory,
                                              const std::string& newDirectory,
                                              const RecordingOptions& options = {},
                                              const RecordingProgress& progress = {});

} // namespace logging2::core
