#pragma once

#include <logging2/columns/layout.hpp>

#include <cstddef>
#include <deque>
#include <vector>

namespace logging2::core::detail {

/// Turns rows into columns: appends the times to column 0 and the values of the j-th channel
/// (j = 1, 2, ...) to column j. There are as many columns as channels plus one afterwards,
/// or more.
///
/// The rows lie back to back, each a time followed by rowWidth values. The last one may be cut
/// short. A channel that reaches beyond its row contributes the values that the row has, and values
/// behind the last channel are left out: nothing is read past the end of a row. Many batches cost
/// time in proportion to their values, also where the columns are never emptied. Where memory runs
/// out, the columns hold what they held before.
void append_rows(const std::vector<double>& rows, std::size_t rowWidth, const ChannelWidths& widths,
                 std::deque<std::vector<double>>& columns);

} // namespace logging2::core::detail
