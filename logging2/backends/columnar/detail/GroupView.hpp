#pragma once

#include <logging2/backends/columnar/detail/Piece.hpp>
#include <logging2/backends/columnar/detail/RowLayout.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Consecutive rows of a piece, which are consecutive steps of a group.
struct RowSpan {
    static constexpr std::uint32_t greatestRowCount = (std::uint32_t{1} << 31) - 1;

    Piece::Owner piece;
    std::uint32_t firstRow;
    std::uint32_t rowCount : 31;
    std::uint32_t ascends : 1; ///< whether no time is NaN or earlier than one before it

    const double* times() const noexcept { return piece->times() + firstRow; }

    const double* values(const ColumnPlace& column) const noexcept {
        return piece->column(column.offset) + firstRow * column.width;
    }

    /// The part with the steps from `first` on, counted from the beginning of the span.
    RowSpan part(std::size_t first, std::size_t count) const {
        RowSpan result = *this;
        result.firstRow += static_cast<std::uint32_t>(first);
        result.rowCount = static_cast<std::uint32_t>(count) & greatestRowCount;
        return result;
    }
};

/// The steps of a group at one moment. It never changes, keeps its pieces alive, and may be read by
/// several threads.
class GroupView {
public:
    /// Leaves out empty spans.
    GroupView(std::shared_ptr<const RowLayout> rowLayout, std::vector<RowSpan> rowSpans);

    const RowLayout& layout() const noexcept { return *shape; }

    /// The spans in the order of the steps. None is empty.
    const std::vector<RowSpan>& spans() const noexcept { return parts; }

    std::size_t stepCount() const noexcept { return steps; }

    /// The spans of the steps first to first + count - 1, which must exist.
    std::vector<RowSpan> spansOf(std::size_t first, std::size_t count) const;

    /// The same group with only these steps.
    std::shared_ptr<const GroupView> part(std::size_t first, std::size_t count) const;

private:
    std::shared_ptr<const RowLayout> shape;
    std::vector<RowSpan> parts;
    std::size_t steps = 0;
};

/// Whether both show the same rows.
bool are_same_rows(const GroupView& left, const GroupView& right) noexcept;

/// Copies the times and the values of a column.
void append_times(const std::vector<RowSpan>& spans, std::vector<double>& times);
void append_values(const std::vector<RowSpan>& spans, const ColumnPlace& column,
                   std::vector<double>& values);

/// The parts of the spans whose samples have from <= time <= to, with the number of the first step
/// of each part.
struct FoundSpan {
    RowSpan span;
    std::size_t firstStep;
};
std::vector<FoundSpan> spans_between(const std::vector<RowSpan>& spans, double from, double to);

} // namespace logging2::core::detail
