#include <logging2/backends/recording/detail/ChunkEncoder.hpp>

#include <logging2/backends/recording/detail/ColumnTree.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/doubles_at.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <utility>

namespace logging2::core::detail {
namespace {

/// So many scalars are taken from a row at once: a cache line of it.
constexpr std::size_t sideBySide = 8;

/// One column per scalar, ColumnCount of them.
template <std::size_t ColumnCount>
void copy_scalars(const double* from, std::size_t rowLength, std::size_t rowCount,
                  const std::array<double*, sideBySide>& columns) {
    for (std::size_t row = 0; row < rowCount; ++row, from += rowLength) {
        for (std::size_t k = 0; k < ColumnCount; ++k) {
            columns[k][row] = from[k];
        }
    }
}

using CopyScalars = void (*)(const double*, std::size_t, std::size_t,
                             const std::array<double*, sideBySide>&);

constexpr std::array<CopyScalars, sideBySide + 1> copyScalars{
    nullptr,         copy_scalars<1>, copy_scalars<2>, copy_scalars<3>, copy_scalars<4>,
    copy_scalars<5>, copy_scalars<6>, copy_scalars<7>, copy_scalars<8>};

/// The width is known to the compiler, because a call that copies a few bytes costs more than they.
template <std::size_t Width>
void copy_vectors(const double* from, std::size_t rowLength, std::size_t rowCount, double* column) {
    for (std::size_t row = 0; row < rowCount; ++row, from += rowLength) {
        column = std::copy_n(from, Width, column);
    }
}

void copy_wide(const double* from, std::size_t rowLength, std::size_t rowCount, std::size_t width,
               double* column) {
    switch (width) {
    case 2:
        return copy_vectors<2>(from, rowLength, rowCount, column);
    case 3:
        return copy_vectors<3>(from, rowLength, rowCount, column);
    case 4:
        return copy_vectors<4>(from, rowLength, rowCount, column);
    case 6:
        return copy_vectors<6>(from, rowLength, rowCount, column);
    case 9:
        return copy_vectors<9>(from, rowLength, rowCount, column);
    default:
        for (std::size_t row = 0; row < rowCount; ++row, from += rowLength) {
            column = std::copy_n(from, width, column);
        }
    }
}

/// Fetches the doubles in the order of their addresses, which is faster than that of the columns.
void prefetch(const double* first, std::size_t count) {
    constexpr std::size_t lineLength = 8;
    for (std::size_t k = 0; k < count; k += lineLength) {
        __builtin_prefetch(first + k);
    }
}

/// Where the leaf goes: among the lowest level, or into the directory if it is the only node.
double* leaf_of(const ColumnLayout& column, std::size_t leaf, char* payload) {
    const std::uint64_t first = column.levels.empty() ? column.root : column.levels.front();
    return doubles_at(payload, first) + leaf * node_double_count(column.width);
}

} // namespace

ChunkEncoder::ChunkEncoder(std::vector<std::size_t> channelWidths)
    : widths(std::move(channelWidths)),
      length(std::accumulate(widths.begin(), widths.end(), std::size_t{1})) {
    strips.push_back({0, 1, 0});
    std::size_t offset = 1;
    for (std::size_t k = 0; k < widths.size(); ++k) {
        Strip& last = strips.back();
        const bool lastIsScalar = last.firstColumn == 0 || widths[last.firstColumn - 1] == 1;
        if (widths[k] == 1 && lastIsScalar && last.columnCount < sideBySide) {
            ++last.columnCount;
        } else {
            strips.push_back({k + 1, 1, offset});
        }
        offset += widths[k];
    }
}

std::shared_ptr<const ChunkLayout> ChunkEncoder::layout(std::size_t stepCount) {
    if (!current || current->stepCount != stepCount) {
        current = std::make_shared<const ChunkLayout>(layout_of(widths, stepCount));
    }
    return current;
}

void ChunkEncoder::encode(const ChunkLayout& chunk, const double* rows, char* payload) const {
    const std::size_t rowCount = chunk.stepCount;
    // So that no gap holds what the memory held before.
    std::memset(payload, 0, chunk.directoryByteCount);
    for (std::size_t first = 0; first < rowCount; first += leafStepCount) {
        const std::size_t next = std::min(first + leafStepCount, rowCount);
        prefetch(rows + next * length, std::min(leafStepCount, rowCount - next) * length);
        encodeLeaf(chunk, rows + first * length, first, next - first, payload);
    }
    for (const ColumnLayout& column : chunk.columns) {
        writeInnerNodes(column, payload);
        std::memset(payload + column.end, 0, aligned(column.end) - column.end);
    }
}

void ChunkEncoder::encodeLeaf(const ChunkLayout& chunk, const double* rows, std::size_t firstStep,
                              std::size_t count, char* payload) const {
    for (const auto& [firstColumn, columnCount, offset] : strips) {
        std::array<double*, sideBySide> columns{};
        for (std::size_t k = 0; k < columnCount; ++k) {
            const ColumnLayout& column = chunk.columns[firstColumn + k];
            columns[k] = doubles_at(payload, column.values) + firstStep * column.width;
        }
        const std::size_t width = chunk.columns[firstColumn].width;
        if (width == 1) {
            copyScalars[columnCount](rows + offset, length, count, columns);
        } else {
            copy_wide(rows + offset, length, count, width, columns.front());
        }
        for (std::size_t k = 0; k < columnCount; ++k) {
            write_leaf(columns[k], count, width,
                       leaf_of(chunk.columns[firstColumn + k], firstStep / leafStepCount, payload));
        }
    }
}

void ChunkEncoder::writeInnerNodes(const ColumnLayout& column, char* payload) {
    const std::size_t stride = node_double_count(column.width);
    for (std::size_t level = 0; level < column.levels.size(); ++level) {
        const double* const nodes = doubles_at(payload, column.levels[level]);
        const bool isTop = level + 1 == column.levels.size();
        double* above = doubles_at(payload, isTop ? column.root : column.levels[level + 1]);
        for (std::size_t first = 0; first < column.nodeCounts[level]; first += fanOut) {
            const std::size_t count = std::min(fanOut, column.nodeCounts[level] - first);
            write_node(nodes + first * stride, count, column.width, above);
            above += stride;
        }
    }
}

} // namespace logging2::core::detail
