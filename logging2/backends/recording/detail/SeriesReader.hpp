#pragma once

#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/OpenChunks.hpp>
#include <logging2/backends/recording/open_recording.hpp>
#include <logging2/runs/Series.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// Makes the series of a run's signals: a view of the mapped file if that is allowed, and if the
/// samples lie in one chunk and are not packed; otherwise a copy.
class SeriesReader {
public:
    /// All must outlive the object.
    SeriesReader(const std::string& recordingLocation, const DataFile& dataFile,
                 OpenChunks& openChunks, SampleAccess sampleAccess);

    /// The samples of a column of that width.
    Series read(std::size_t column, std::size_t width, const std::vector<SampleSpan>& spans);

private:
    Series copy(std::size_t column, std::size_t width, const std::vector<SampleSpan>& spans) const;
    Series view(std::size_t column, std::size_t width, const SampleSpan& span,
                const ChunkReader& chunk);
    const std::shared_ptr<const char>& mappingTo(std::uint64_t end);

    const std::string& location;
    const DataFile& file;
    OpenChunks& chunks;
    SampleAccess access;
    std::shared_ptr<const char> mapping; ///< of the file's first mappedByteCount bytes
    std::uint64_t mappedByteCount = 0;
};

/// The number of samples of all spans.
std::size_t sample_count(const std::vector<SampleSpan>& spans);

} // namespace logging2::core::detail
