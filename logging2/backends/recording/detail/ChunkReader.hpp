#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/SegmentReader.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// Whether the index says that the chunk is packed, which makes it smaller.
bool is_packed(const ChunkRow& row, const ChunkLayout& layout) noexcept;

/// Reads one column of one chunk, packed or not. Everything is compared with its hash before it is
/// given out: the root with the directory's hash, nodes with the node above them, samples with
/// their leaf. What does not fit is thrown as RecordingError. Threads: several may call functions
/// that are const at a time.
class ChunkReader {
public:
    /// The file and the layout must outlive the object. The header and the directory are checked
    /// if isTrusted is false; that costs as much as reading the directory.
    ChunkReader(const DataFile& dataFile, const RunId& run, const ChunkRow& chunkRow,
                const ChunkLayout& chunkLayout, bool isTrusted);

    /// The root of the column's tree.
    std::vector<double> root(std::size_t column) const;

    /// The nodes that a node of the column describes: those of the level, from `fanOut` times
    /// the parent's index on.
    std::vector<double> children(std::size_t column, std::size_t level, std::size_t parentIndex,
                                 const double* parent) const;

    /// The samples of a leaf. Of a packed column, neighbouring leaves are unpacked together once.
    std::vector<double> samples(std::size_t column, std::size_t leafIndex, const double* leaf);

    /// Copies the samples [firstStep, firstStep + count) of a column; count > 0.
    void read(std::size_t column, std::size_t firstStep, std::size_t count, double* to) const;

    /// Whether the values of the column are packed, and so cannot be mapped.
    bool isPacked(std::size_t column) const;

    /// How many bytes the values of the column take in the file.
    std::uint64_t valueByteCount(std::size_t column) const;

    /// Of a column that is not packed: compares the samples [firstStep, firstStep + count) with
    /// their hashes, where they lie in a mapping of the file, and returns where the first of them
    /// is.
    const double* verified(const char* mapping, std::size_t column, std::size_t firstStep,
                           std::size_t count) const;

private:
    /// Nodes of one level of a column's tree, which follow each other.
    struct Nodes {
        std::size_t first = 0;
        std::vector<double> numbers;
    };

    void verifyHead(const RunId& run) const;
    std::uint64_t payloadByteCount() const noexcept;
    std::uint64_t directoryByteCount() const;
    std::uint64_t valuesAt(std::size_t column) const;
    std::uint64_t nodesAt(std::size_t column, std::size_t level) const;
    Nodes childrenOf(std::size_t column, std::size_t level, std::size_t firstParent,
                     std::size_t endParent, const double* parents) const;
    Nodes leavesOf(std::size_t column, std::size_t firstStep, std::size_t endStep) const;
    std::size_t leavesPerPiece(std::size_t column) const;
    void readLeaves(std::size_t column, const Nodes& leaves, std::size_t firstStep,
                    std::size_t endStep, double* to) const;
    void verify(std::size_t column, const Nodes& leaves, std::size_t firstStep, std::size_t endStep,
                const double* samples) const;
    void verifyLeaf(const double* samples, std::size_t count, const double* leaf) const;
    std::size_t endOfLeaf(std::size_t step) const;
    std::uint64_t payload() const;
    [[noreturn]] void fail(const char* what) const;

    const DataFile& file;
    const ChunkRow row;
    const ChunkLayout& layout;
    std::optional<SegmentReader> packed; ///< if the chunk is packed
};

} // namespace logging2::core::detail
