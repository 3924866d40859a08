#include <logging2/backends/columnar/detail/GroupSteps.hpp>

#include <algorithm>
#include <tuple>
#include <utility>

namespace logging2::core::detail {

std::uint32_t GroupSteps::endOf(std::size_t span) const noexcept {
    const RowSpan& rows = spans[span].rows;
    return span + 1 == spans.size() ? openEnd.load(std::memory_order_relaxed)
                                    : rows.firstRow + rows.rowCount;
}

bool GroupSteps::ascends(std::size_t span) const noexcept {
    return span + 1 == spans.size() ? openAscends.load(std::memory_order_relaxed)
                                    : spans[span].rows.ascends != 0;
}

/// The cut before the row.
GroupSteps::Cut GroupSteps::cutBefore(std::size_t span, std::uint32_t row) const noexcept {
    return {span, row, std::max(spans[span].greatestBefore, greatestUntil(span, row))};
}

/// The greatest time of the span's steps before the row.
double GroupSteps::greatestUntil(std::size_t span, std::uint32_t row) const noexcept {
    const RowSpan& rows = spans[span].rows;
    const double* const times = rows.piece->times();
    double greatest = -std::numeric_limits<double>::infinity();
    for (std::uint32_t each = ascends(span) && row > rows.firstRow ? row - 1 : rows.firstRow;
         each < row; ++each) {
        greatest = times[each] > greatest ? times[each] : greatest;
    }
    return greatest;
}

/// The cut before the first step of the span that is later than the time, or at its end.
GroupSteps::Cut GroupSteps::firstLater(std::size_t span, double time) const noexcept {
    const double* const times = spans[span].rows.piece->times();
    const std::uint32_t first = spans[span].rows.firstRow;
    const std::uint32_t end = endOf(span);
    std::uint32_t row = end;
    if (ascends(span)) {
        while (row > first && times[row - 1] > time) {
            --row;
        }
    } else {
        row = first;
        while (row < end && !(times[row] > time)) {
            ++row;
        }
    }
    return cutBefore(span, row);
}

bool GroupSteps::undoInOpenSpan(double time, bool alsoAtTime, std::mutex& mutex) noexcept {
    if (spans.empty() || !openAscends.load(std::memory_order_relaxed)) {
        return false;
    }
    const RowSpan& rows = spans.back().rows;
    const std::uint32_t end = openEnd.load(std::memory_order_relaxed);
    std::uint32_t row = end;
    while (row > rows.firstRow && openTimes[row - 1] > time) {
        --row;
    }
    row -= alsoAtTime && row > rows.firstRow && openTimes[row - 1] == time ? 1 : 0;
    if (row == rows.firstRow) {
        return false;
    }
    // No time of an earlier span is later, because those of the open span ascend from them on.
    if (row < end) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (row < rows.piece->shownRowCount) {
            return false;
        }
        if (marked.span + 1 == spans.size()) {
            marked.row = std::min(marked.row, row);
        }
        openEnd.store(row, std::memory_order_release);
    }
    lastTime = openTimes[row - 1];
    greatestTime = std::max(spans.back().greatestBefore, lastTime);
    return true;
}

std::optional<GroupSteps::Cut> GroupSteps::cutAfter(double time) const noexcept {
    if (!(greatestTime > time) || spans.empty()) {
        return std::nullopt;
    }
    std::size_t span = spans.size() - 1;
    while (span > 0 && spans[span].greatestBefore > time) {
        --span;
    }
    return firstLater(span, time);
}

double GroupSteps::timeBefore(const Cut& cut) const noexcept {
    if (cut.row > spans[cut.span].rows.firstRow) {
        return spans[cut.span].rows.piece->times()[cut.row - 1];
    }
    return cut.span == 0 ? std::numeric_limits<double>::quiet_NaN()
                         : spans[cut.span - 1].rows.piece->times()[endOf(cut.span - 1) - 1];
}

GroupSteps::Cut GroupSteps::cutAtRegression(double time) const noexcept {
    const std::size_t open = spans.size() - 1;
    const Cut cut = cutAfter(time).value_or(Cut{open, endOf(open), greatestTime});
    if (timeBefore(cut) != time) {
        return cut;
    }
    return cut.row > spans[cut.span].rows.firstRow
               ? cutBefore(cut.span, cut.row - 1)
               : cutBefore(cut.span - 1, endOf(cut.span - 1) - 1);
}

bool GroupSteps::discardsShown(const Cut& cut) const noexcept {
    return spans[cut.span].rows.piece->shownRowCount > cut.row;
}

bool GroupSteps::hasRoomAfter(const Cut& cut) const noexcept {
    return std::max(visibleRowCount(cut.span), cut.row) < spans[cut.span].rows.piece->rowCapacity();
}

void GroupSteps::discardFrom(const Cut& cut) {
    const std::uint32_t shownCount = visibleRowCount(cut.span);
    Piece& piece = *spans[cut.span].rows.piece;
    piece.shownRowCount = std::max(shownCount, std::min(piece.shownRowCount, cut.row));
    const bool splits = shownCount > cut.row && cut.row > spans[cut.span].rows.firstRow;
    if (splits) {
        if (spans.capacity() < cut.span + 2) {
            spans.reserve(cut.span + cut.span / 4 + 2);
        }
        spans[cut.span].greatest = greatestUntil(cut.span, cut.row);
    }
    if (std::tie(cut.span, cut.row) < std::tie(marked.span, marked.row)) {
        marked = {cut.span, cut.row};
    }
    bool stillAscends = ascends(cut.span);
    while (spans.size() > cut.span + 1) {
        dropLastSpan();
    }
    if (splits) {
        RowSpan& rows = spans.back().rows;
        rows.rowCount = (cut.row - rows.firstRow) & RowSpan::greatestRowCount;
        rows.ascends = stillAscends ? 1 : 0;
        const RowSpan rest{rows.piece, shownCount, 0, 1};
        spans.push_back(
            {rest, cut.greatestBefore, spans.back().serial, spans.back().numberInPiece + 1});
        stillAscends = true;
    }
    goOnAt(cut, std::max(shownCount, cut.row), stillAscends);
}

/// Appends further steps to the last span, from this row on.
void GroupSteps::goOnAt(const Cut& cut, std::uint32_t row, bool stillAscends) noexcept {
    lastTime = timeBefore(cut);
    greatestTime = cut.greatestBefore;
    RowSpan& rows = spans.back().rows;
    if (cut.row == rows.firstRow) {
        rows.firstRow = row;
        stillAscends = true;
    }
    openTimes = rows.piece->times();
    capacity = static_cast<std::uint32_t>(rows.piece->rowCapacity());
    openAscends.store(stillAscends, std::memory_order_relaxed);
    openEnd.store(row, std::memory_order_release);
    shown.reset();
}

void GroupSteps::dropLastSpan() noexcept {
    Piece::Owner piece = std::move(spans.back().rows.piece);
    spans.pop_back();
    if (piece != spans.back().rows.piece) {
        byteCount -= piece->byteCount();
        if (piece->isOwnedBy(1)) {
            piece->shownRowCount = 0;
            spare = std::move(piece);
        }
    }
}

void GroupSteps::open(Piece::Owner piece, std::uint64_t serial) {
    if (!spans.empty() && endOf(spans.size() - 1) == spans.back().rows.firstRow) {
        dropEmptySpan();
    } else {
        closeSpan();
    }
    openTimes = piece->times();
    capacity = static_cast<std::uint32_t>(piece->rowCapacity());
    byteCount += piece->byteCount();
    spans.push_back({{std::move(piece), 0, 0, 1}, greatestTime, serial});
    openAscends.store(true, std::memory_order_relaxed);
    openEnd.store(0, std::memory_order_release);
}

/// Brings the open span up to date and makes room for another one.
void GroupSteps::closeSpan() {
    if (spans.size() == spans.capacity()) {
        // By less than doubling, because many groups may have few spans each.
        spans.reserve(spans.size() + spans.size() / 4 + 1);
    }
    if (!spans.empty()) {
        RowSpan& rows = spans.back().rows;
        rows.rowCount = (endOf(spans.size() - 1) - rows.firstRow) & RowSpan::greatestRowCount;
        rows.ascends = ascends(spans.size() - 1) ? 1 : 0;
        spans.back().greatest = greatestUntil(spans.size() - 1, endOf(spans.size() - 1));
    }
}

void GroupSteps::dropEmptySpan() noexcept {
    const Piece::Owner piece = std::move(spans.back().rows.piece);
    spans.pop_back();
    if (spans.empty() || spans.back().rows.piece != piece) {
        byteCount -= piece->byteCount();
    }
    if (marked.span == spans.size()) {
        marked.row = 0; // of the piece that comes in its place
    }
}

void GroupSteps::clear() noexcept {
    spans.clear();
    spare.reset();
    shown.reset();
    marked = {};
    byteCount = 0;
    capacity = 0;
    openEnd.store(0, std::memory_order_release);
    lastTime = std::numeric_limits<double>::quiet_NaN();
    greatestTime = -std::numeric_limits<double>::infinity();
}

void GroupSteps::discardOldestSpan() noexcept {
    if (spans[0].rows.piece != spans[1].rows.piece) {
        byteCount -= spans[0].rows.piece->byteCount();
    }
    const Piece::Owner piece = spans.front().rows.piece;
    spans.erase(spans.begin());
    for (auto each = spans.begin(); each != spans.end() && each->rows.piece == piece; ++each) {
        --each->numberInPiece;
    }
    marked = marked.span == 0 ? Place{} : Place{marked.span - 1, marked.row};
    shown.reset();
    updateGreatestTimes();
}

/// Lets the greatest times count the present steps only.
void GroupSteps::updateGreatestTimes() noexcept {
    double greatest = -std::numeric_limits<double>::infinity();
    for (std::size_t span = 0; span < spans.size(); ++span) {
        if (spans[span].greatestBefore == greatest) {
            return; // The greatest times of the further spans do not change.
        }
        spans[span].greatestBefore = greatest;
        const bool isOpen = span + 1 == spans.size();
        greatest =
            std::max(greatest, isOpen ? greatestUntil(span, endOf(span)) : spans[span].greatest);
    }
    greatestTime = greatest;
}

} // namespace logging2::core::detail
