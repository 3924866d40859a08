#include <logging2/backends/recording/detail/OpenChunks.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <stdexcept>

namespace logging2::core::detail {
namespace {

/// So many chunks and layouts are kept; the layouts of whole chunks are used again and again.
constexpr std::size_t keptCount = 64;

} // namespace

OpenChunks::OpenChunks(const std::string& recordingLocation, const DataFile& dataFile,
                       const RunId& runId, const Description& runDescription)
    : location(recordingLocation),
      file(dataFile),
      run(runId),
      description(runDescription) {}

std::shared_ptr<OpenChunk> OpenChunks::open(const ChunkRow& row) {
    const RecordKey record = record_of(row);
    const auto found = kept.find(record);
    if (found != kept.end()) {
        return found->second;
    }
    const std::shared_ptr<const ChunkLayout> layout = layoutOf(row);
    // A packed chunk is smaller.
    if (row.byteCount > sizeof(RecordHeader) + layout->byteCount) {
        throw RecordingError(location, "the index is damaged: a chunk has another size");
    }
    const bool isTrusted = trusted.count(record) != 0;
    auto chunk = std::make_shared<OpenChunk>(
        OpenChunk{layout, ChunkReader(file, run, row, *layout, isTrusted)});
    trusted.insert(record);
    if (kept.size() >= keptCount) {
        kept.clear();
    }
    kept[record] = chunk;
    return chunk;
}

std::shared_ptr<const ChunkLayout> OpenChunks::layoutOf(const ChunkRow& row) {
    const auto key = std::make_pair(row.group, row.storedStepCount);
    const auto found = layouts.find(key);
    if (found != layouts.end()) {
        return found->second;
    }
    if (layouts.size() >= keptCount) {
        layouts.clear();
    }
    try {
        return layouts[key] = std::make_shared<const ChunkLayout>(
                   layout_of(widths_of(description.groups[row.group]), row.storedStepCount));
    } catch (const std::length_error& error) {
        throw RecordingError(location, std::string("the index is damaged: ") + error.what());
    }
}

} // namespace logging2::core::detail
