#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkReader.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/Findings.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::detail {

/// Compares one chunk of a data file with its row in the index, with its hashes, and with what it
/// says about its samples.
class ChunkCheck {
public:
    /// All of them must outlive the object.
    ChunkCheck(const DataFile& dataFile, std::uint64_t fileByteCount, const RunId& runId,
               const DescribedGroup& describedGroup, const ChunkRow& chunkRow,
               Findings& foundFaults);

    /// Reads the chunk. The greatest time of the group's chunks before it is needed for what the
    /// row says about all of them.
    void check(double greatestTimeBefore);

private:
    bool hasPlace();
    bool isExpected();
    void checkDirectory();
    void checkColumns();
    void checkNode(std::size_t level, std::size_t index, const double* node);
    void checkLeaf(std::size_t index, const double* node);
    void checkChildren(std::size_t level, std::size_t index, const double* node);
    void compareRanges(const double* node, const std::vector<ElementRange>& actual,
                       const std::string& where);
    void checkTimes(double greatestTimeBefore);
    std::size_t stepCountOf(std::size_t level, std::size_t index) const;
    std::string place(std::size_t firstStep, std::size_t stepCount) const;
    void add(const std::string& fault);

    const DataFile& file;
    std::uint64_t fileEnd;
    const RunId& run;
    const DescribedGroup& group;
    const ChunkRow& row;
    Findings& findings;
    ChunkLayout layout;
    std::optional<ChunkReader> chunk; ///< without a check of the header, of which this tells more
    std::size_t column = 0;           ///< the one that is being checked
    ChunkRow times;                   ///< what the row ought to say about its times
    bool knowsTimes = true;
};

} // namespace logging2::core::detail
