#pragma once

#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <cstdint>

namespace logging2::core::detail {

/// The first record of a data file.
struct DescriptionRecord {
    Description description;
    RunId run{};
    std::uint64_t byteCount = 0; ///< with the header
};

/// Reads and checks it. Throws RecordingError if it is damaged or missing.
DescriptionRecord read_description(const DataFile& file);

} // namespace logging2::core::detail
