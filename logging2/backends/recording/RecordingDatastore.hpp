#pragma once

#include <logging2/host/lang/ValuePath.hpp>

#include <string>

namespace logging2::core {

/// The stored data of one path of a recording: what RecordingStreamWriter::dataStore() gives out,
/// inside a boost::any.
struct RecordingDatastore {
    /// The directory of the recording.
    std::string location;

    /// The path.
    lang::core::ValuePath path;
};

} // namespace logging2::core
