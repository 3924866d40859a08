#pragma once

#include <logging2/columns/append_tile.hpp>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// The widths of a group's channels in row order. The width of a channel is the number of doubles
/// that it contributes to a row.
using ChannelWidths = std::vector<std::size_t>;

/// Returns one slice per channel. The slices lie side by side in the row and begin at `offset`.
/// columnAt(k) returns a pointer to the column of channel k. A channel that reaches beyond the end
/// of the row is cut off there.
template <class ColumnAt>
std::vector<Slice> slices_of(const ChannelWidths& widths, std::size_t offset, std::size_t rowLength,
                             ColumnAt columnAt) {
    std::vector<Slice> slices;
    slices.reserve(widths.size());
    for (const std::size_t width : widths) {
        slices.push_back({offset, std::min(width, rowLength - offset), columnAt(slices.size())});
        offset += slices.back().width;
    }
    return slices;
}

} // namespace logging2::core::detail
