#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace logging2::core::detail {

/// A chunk that is being read.
struct OpenChunk {
    std::shared_ptr<const ChunkLayout> layout;
    ChunkReader reader;
};

/// Opens the chunks of a run. Header and directory of a chunk are checked the first time. The
/// chunks that were opened last are kept, so that opening them again costs little.
class OpenChunks {
public:
    /// All must outlive the object. The run's id is not needed before the first chunk is opened.
    OpenChunks(const std::string& recordingLocation, const DataFile& dataFile, const RunId& runId,
               const Description& runDescription);

    std::shared_ptr<OpenChunk> open(const ChunkRow& row);

    /// Is called if the rows may have changed.
    void forget() noexcept { kept.clear(); }

private:
    std::shared_ptr<const ChunkLayout> layoutOf(const ChunkRow& row);

    const std::string& location;
    const DataFile& file;
    const RunId& run;
    const Description& description;
    std::set<RecordKey> trusted; ///< those that were checked
    std::map<RecordKey, std::shared_ptr<OpenChunk>> kept;
    std::map<std::pair<std::size_t, std::size_t>, std::shared_ptr<const ChunkLayout>> layouts;
};

} // namespace logging2::core::detail
