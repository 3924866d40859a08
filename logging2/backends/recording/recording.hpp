#pragma once

/// The whole public surface of recordings: runs on disk that outlive the process, survive a crash,
/// and can be read while they grow.

#include <logging2/backends/recording/RecordingDatastore.hpp>
#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/RecordingProgress.hpp>
#include <logging2/backends/recording/RecordingStreamReader.hpp>
#include <logging2/backends/recording/RecordingStreamWriter.hpp>
#include <logging2/backends/recording/check_recording.hpp>
#include <logging2/backends/recording/copy_recording.hpp>
#include <logging2/backends/recording/export.hpp>
#include <logging2/backends/recording/open_recording.hpp>
#include <logging2/backends/recording/rebuild_recording.hpp>
#include <logging2/backends/recording/register_recording_backend.hpp>
