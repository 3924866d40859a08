#include <logging2/stream/detail/append_tile.hpp>

#include <algorithm>
#include <array>

namespace logging2::core::detail {
namespace {

/// Up to this width the elements of a tile are gathered before they go to the column, which costs
/// less than one insertion per row.
constexpr std::size_t gatheredWidth = 8;

} // namespace

void append_tile(const double* const* rows, std::size_t rowCount, std::size_t offset,
                 std::size_t width, std::vector<double>& column) {
    if (width > gatheredWidth) {
        for (std::size_t row = 0; row < rowCount; ++row) {
            const double* const first = rows[row] + offset;
            column.insert(column.end(), first, first + width);
        }
        return;
    }
    std::array<double, tileRowCount * gatheredWidth> gathered; // NOLINT(*-member-init)
    double* end = gathered.data();
    if (width == 1) {
        for (std::size_t row = 0; row < rowCount; ++row) {
            *end++ = rows[row][offset];
        }
    } else {
        for (std::size_t row = 0; row < rowCount; ++row) {
            end = std::copy_n(rows[row] + offset, width, end);
        }
    }
    column.insert(column.end(), gathered.data(), end);
}

} // namespace logging2::core::detail
