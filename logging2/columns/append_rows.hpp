#pragma once

#include <logging2/columns/layout.hpp>

#include <cstddef>
#include <deque>
#include <vector>

namespace logging2::core::detail {

/// Turns rows into columns: appends the times to column 0 and the values of the j-th channel (j =
/// 1, 2, ...) to column j. Missing columns are added, so that there is at least one more column
/// than channels.
///
/// The rows lie back to back. Each row is a time followed by rowWidth values; the last row may be
/// incomplete. Nothing is read past the end of a row: a channel that reaches beyond the end
/// contributes the values that the row has. Values after the last channel are ignored.
///
/// The time is proportional to the number of appended values, even if many batches are appended to
/// columns that are never emptied. If memory runs out, the allocation error is thrown and the
/// columns hold the values that they held before.
void append_rows(const std::vector<double>& rows, std::size_t rowWidth, const ChannelWidths& widths,
                 std::deque<std::vector<double>>& columns);

} // namespace logging2::core::detail
