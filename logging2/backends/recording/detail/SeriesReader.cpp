#include <logging2/backends/recording/detail/SeriesReader.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/SegmentCodec.hpp>
#include <logging2/backends/recording/detail/read_columns.hpp>
#include <logging2/columns/storage.hpp>

#include <numeric>

namespace logging2::core::detail {
namespace {

/// So many parts are read together. Their chunks are open, which needs memory for wide groups.
constexpr std::size_t greatestPartCount = 2048;

} // namespace

std::size_t sample_count(const std::vector<SampleSpan>& spans) {
    return std::accumulate(
        spans.begin(), spans.end(), std::size_t{0},
        [](std::size_t count, const SampleSpan& span) { return count + span.count; });
}

SeriesReader::SeriesReader(const std::string& recordingLocation, const DataFile& dataFile,
                           OpenChunks& openChunks, SampleAccess sampleAccess)
    : location(recordingLocation),
      file(dataFile),
      chunks(openChunks),
      access(sampleAccess) {}

Series SeriesReader::read(std::size_t column, std::size_t width,
                          const std::vector<SampleSpan>& spans) {
    if (access == SampleAccess::mapped && spans.size() == 1) {
        const std::shared_ptr<const OpenChunk> chunk = chunks.open(*spans.front().chunk);
        if (!chunk->reader.isPacked(0) && !chunk->reader.isPacked(column)) {
            return view(column, width, spans.front(), chunk->reader);
        }
    }
    return copy(column, width, spans);
}

Series SeriesReader::copy(std::size_t column, std::size_t width,
                          const std::vector<SampleSpan>& spans) const {
    const std::size_t count = sample_count(spans);
    if (count / greatestPackedRatio > file.byteCount() / sizeof(double) / (1 + width)) {
        throw RecordingError(location, "the index is damaged: it names more samples than the data "
                                       "file holds");
    }
    const std::shared_ptr<double[]> owner = make_large_array(count * (1 + width));
    double* times = owner.get();
    double* values = times + count;
    std::vector<ColumnPart> parts;
    for (const SampleSpan& span : spans) {
        const std::shared_ptr<const OpenChunk> chunk = chunks.open(*span.chunk);
        parts.push_back({chunk, 0, span.first, span.count, times});
        parts.push_back({chunk, column, span.first, span.count, values});
        times += span.count;
        values += span.count * width;
        if (parts.size() >= greatestPartCount) {
            read_columns(parts);
            parts.clear();
        }
    }
    read_columns(parts);
    return {{owner.get(), count}, {owner.get() + count, count * width}, width, owner, false};
}

Series SeriesReader::view(std::size_t column, std::size_t width, const SampleSpan& span,
                          const ChunkReader& chunk) {
    const auto& bytes = mappingTo(span.chunk->offset + span.chunk->byteCount);
    const double* const times = chunk.verified(bytes.get(), 0, span.first, span.count);
    const double* const values = chunk.verified(bytes.get(), column, span.first, span.count);
    return {{times, span.count}, {values, span.count * width}, width, bytes, true};
}

/// The file in memory, at least up to the end.
const std::shared_ptr<const char>& SeriesReader::mappingTo(std::uint64_t end) {
    const std::uint64_t byteCount = file.byteCount();
    if (byteCount < end) {
        throw RecordingError(file.name(), "it ends too early: bytes are missing");
    }
    if (mappedByteCount < end) {
        mapping = file.map(byteCount);
        mappedByteCount = byteCount;
    }
    return mapping;
}

} // namespace logging2::core::detail
