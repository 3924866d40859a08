#pragma once

#include <logging2/host/kernel/LoggedPathsSetupData.hpp>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// A channel's place in a row.
struct ColumnPlace {
    std::size_t offset;
    std::size_t width;
};

/// How the rows of a group are divided into columns.
class RowLayout {
public:
    explicit RowLayout(const std::vector<LoggedChannel>& channels);

    /// The number of values in a row. It is greatestRowLength if the widths add up to more; such a
    /// row cannot exist.
    std::size_t rowLength() const noexcept { return length; }

    /// The number of bytes of a row and its time.
    std::size_t rowByteCount() const noexcept { return (length + 1) * sizeof(double); }

    /// The places of the channels, in the order of the row.
    const std::vector<ColumnPlace>& columns() const noexcept { return places; }

    /// Copies the values of a row to their columns. `times` is the column of times of a piece with
    /// room for `capacity` rows.
    void scatter(const double* values, double* times, std::size_t capacity,
                 std::size_t row) const noexcept {
        for (const Part& part : parts) {
            double* const column = times + capacity * (1 + part.offset);
            const double* const first = values + part.offset;
            if (part.width == 1) {
                for (std::size_t k = 0; k < part.count; ++k) {
                    column[k * capacity + row] = first[k];
                }
            } else {
                std::copy_n(first, part.width, column + row * part.width);
            }
        }
    }

    static constexpr std::size_t greatestRowLength = std::size_t{1} << 48;

private:
    /// Adjacent scalars, or one wider channel.
    struct Part {
        std::size_t offset;
        std::size_t count;
        std::size_t width;
    };

    void add(std::size_t width);

    std::size_t length = 0;
    std::vector<ColumnPlace> places;
    std::vector<Part> parts;
};

} // namespace logging2::core::detail
