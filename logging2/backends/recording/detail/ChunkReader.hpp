#pragma once

#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/ChunkRow.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace logging2::core::detail {

/// Reads one column of one chunk. Everything is compared with its hash before it is given out:
/// the root with the directory's hash, nodes with the node above them, samples with their leaf.
/// What does not fit is thrown as RecordingError.
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

    /// The samples of a leaf.
    std::vector<double> samples(std::size_t column, std::size_t leafIndex,
                                const double* leaf) const;

    /// Copies the samples [firstStep, firstStep + count) of a column.
    void read(std::size_t column, std::size_t firstStep, std::size_t count, double* to) const;

    /// Compares the samples [firstStep, firstStep + count) with their hashes, where they lie in a
    /// mapping of the file, and returns where the first of them is.
    const double* verified(const char* mapping, std::size_t column, std::size_t firstStep,
                           std::size_t count) const;

private:
    void verifyHead(const RunId& run) const;
    std::vector<double> leaves(std::size_t column) const;
    void verifyLeaves(std::size_t column, const std::vector<double>& nodes, std::size_t firstLeaf,
                      std::size_t endLeaf, const double* samplesOfFirst) const;
    void readPart(std::size_t column, std::size_t leaf, const double* node, std::size_t firstStep,
                  std::size_t count, double* to) const;
    std::size_t leafStepCountAt(std::size_t leaf) const;
    std::uint64_t payload() const;
    [[noreturn]] void fail(const char* what) const;

    const DataFile& file;
    const ChunkRow& row;
    const ChunkLayout& layout;
};

} // namespace logging2::core::detail
