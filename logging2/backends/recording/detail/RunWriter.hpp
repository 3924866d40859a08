#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/RecordingProgress.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/Recorder.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// A run that is to be written once more, and where its samples are. What it refers to must outlive
/// it.
struct RunContent {
    const DataFile& data;
    const Description& description;
    std::uint64_t revision;
    RunEnd end;
    std::vector<std::vector<SampleSpan>> groups; ///< the samples of each, in their order
};

/// Writes a run to a new recording. Holds one chunk of rows, the same chunk in columns, and a leaf
/// of one column that it reads.
class RunWriter {
public:
    /// Makes the files in the directory. Content and progress must outlive the object.
    RunWriter(const RunContent& runContent, const std::string& directory,
              const RecordingOptions& options, const RecordingProgress& progressSink);

    /// Writes all samples, compared with their hashes, and ends the run.
    void write();

private:
    void writeGroup(std::size_t group);
    void addRows(const SampleSpan& span);
    void store();

    const RunContent& content;
    const RecordingProgress& progress;
    std::size_t chunkByteCount;
    RunId run;
    Recorder recorder;
    std::uint64_t readByteCount = 0;
    std::uint64_t totalByteCount = 0;

    // Of the group that is being written.
    Piece piece{};
    std::size_t rowLength = 0;
    std::size_t capacity = 0; ///< in rows
    std::vector<double> rows;
};

} // namespace logging2::core::detail
