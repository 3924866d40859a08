#include <logging2/backends/columnar/detail/GroupSteps.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

// What readers see of the steps of a group.

namespace logging2::core::detail {

/// How many rows of the span's piece readers may still see.
std::uint32_t GroupSteps::visibleRowCount(std::size_t span) const noexcept {
    const Piece& piece = *spans[span].rows.piece;
    while (span + 1 < spans.size() && spans[span + 1].rows.piece.get() == &piece) {
        ++span;
    }
    return piece.isOwnedBy(spans[span].numberInPiece) ? 0 : piece.shownRowCount;
}

void GroupSteps::mark() noexcept {
    marked = {spans.empty() ? 0 : spans.size() - 1, openEnd.load(std::memory_order_acquire)};
}

std::shared_ptr<const GroupView> GroupSteps::show() {
    return showUntil(
        {spans.empty() ? 0 : spans.size() - 1, openEnd.load(std::memory_order_acquire)});
}

std::shared_ptr<const GroupView> GroupSteps::showMarked() {
    return showUntil(marked);
}

std::shared_ptr<const GroupView> GroupSteps::showUntil(const Place& end) {
    std::vector<RowSpan> rows;
    rows.reserve(std::min(end.span + 1, spans.size()));
    std::size_t stepCount = 0;
    for (std::size_t span = 0; span < spans.size() && span <= end.span; ++span) {
        rows.push_back(spans[span].rows);
        if (span == end.span) {
            const std::uint32_t first = rows.back().firstRow;
            rows.back().rowCount = (std::max(end.row, first) - first) & RowSpan::greatestRowCount;
            rows.back().ascends = ascends(span) ? 1 : 0;
        }
        stepCount += rows.back().rowCount;
    }
    std::shared_ptr<const GroupView> view = shown.lock();
    if (view && view->stepCount() == stepCount) {
        return view;
    }
    view = std::make_shared<const GroupView>(layout, std::move(rows));
    shown = view;
    for (const RowSpan& span : view->spans()) {
        span.piece->shownRowCount =
            std::max(span.piece->shownRowCount, span.firstRow + span.rowCount);
    }
    return view;
}

} // namespace logging2::core::detail
