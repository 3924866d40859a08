#pragma once

#include <logging2/backends/columnar/detail/GroupView.hpp>
#include <logging2/backends/columnar/detail/Piece.hpp>
#include <logging2/backends/columnar/detail/RowLayout.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// The steps of a group while they are written.
///
/// They lie in spans of rows. The last span is open: appending a step publishes its new end by an
/// atomic store, so that show() finds complete rows on any thread. Everything else that show()
/// reads changes only under the mutex of the Samples.
///
/// Only the thread that writes may use an object, except for show(). The operations that say so
/// must be called with the mutex.
class GroupSteps {
public:
    /// The place behind the last step that is kept.
    struct Cut {
        std::size_t span;
        std::uint32_t row;
        double greatestBefore; ///< of the times that are kept
    };

    GroupSteps() = default;
    GroupSteps(const GroupSteps&) = delete;
    GroupSteps& operator=(const GroupSteps&) = delete;

    std::size_t id = 0;
    std::shared_ptr<const RowLayout> layout;

    /// A piece for later use, or null.
    Piece::Owner spare;

    bool hasRoom() const noexcept { return openEnd.load(std::memory_order_relaxed) < capacity; }

    /// Appends a step. There must be room.
    void append(double time, const double* values) noexcept {
        const std::uint32_t row = openEnd.load(std::memory_order_relaxed);
        openTimes[row] = time;
        layout->scatter(values, openTimes, capacity, row);
        if (time >= greatestTime) {
            greatestTime = time;
        } else {
            openAscends.store(false, std::memory_order_relaxed);
        }
        lastTime = time;
        openEnd.store(row + 1, std::memory_order_release);
    }

    /// Whether the last time is the same as this one or later. False if there is no step, unless
    /// goOnAfter() has given a time since.
    bool isRegression(double time) const noexcept { return lastTime >= time; }

    /// Makes a step at this time or before it a regression, although there is no step.
    void goOnAfter(double time) noexcept { lastTime = time; }

    /// Discards the first step that is later than the time and all after it; if `alsoAtTime`, also
    /// a step at the time before them. Returns false and does nothing if that takes more than going
    /// back in the open span: if its times do not ascend, no step of it would stay, or a step was
    /// shown. Locks the mutex.
    bool undoInOpenSpan(double time, bool alsoAtTime, std::mutex& mutex) noexcept;

    /// The cut before the first step that is strictly later than the time; nothing if there is
    /// none. Costs what the cut discards if times ascend, and otherwise at most one piece more.
    std::optional<Cut> cutAfter(double time) const noexcept;

    /// The cut that a regression to the time makes: it also discards a last step at the time
    /// itself.
    Cut cutAtRegression(double time) const noexcept;

    /// Whether the cut discards steps that were shown. Call with the mutex.
    bool discardsShown(const Cut& cut) const noexcept;

    /// Whether there is room for a step after the cut. Call with the mutex.
    bool hasRoomAfter(const Cut& cut) const noexcept;

    /// Frees the spare piece if it is larger than all others. Call with the mutex.
    void dropLargeSpare() noexcept {
        if (spare && spare->byteCount() > byteCount) {
            spare.reset();
        }
    }

    /// Discards all steps behind the cut. Rows that a reader may see are not written again. Keeps
    /// at most one piece that becomes free, as the spare one. Call with the mutex. Throws
    /// std::bad_alloc and changes nothing then.
    void discardFrom(const Cut& cut);

    /// Goes on in this piece. Call with the mutex. Throws std::bad_alloc and changes nothing then.
    void open(Piece::Owner piece, std::uint64_t serial);

    /// All present steps. Call with the mutex, on any thread.
    std::shared_ptr<const GroupView> show();

    /// Lets showMarked() show the present steps. Call with the mutex, on any thread.
    void mark() noexcept;

    /// The steps that were present at the last mark() and still are. Call with the mutex, on any
    /// thread.
    std::shared_ptr<const GroupView> showMarked();

    /// Discards all steps. Call with the mutex.
    void clear() noexcept;

    /// The number of bytes of all pieces, with the spare one.
    std::size_t heldByteCount() const noexcept {
        return byteCount + (spare ? spare->byteCount() : 0);
    }

    /// The number of bytes of the open span's piece and of the spare one.
    std::size_t leastByteCount() const noexcept {
        return (spans.empty() ? 0 : spans.back().rows.piece->byteCount()) +
               (spare ? spare->byteCount() : 0);
    }

    /// Whether there is a span that is not the open one.
    bool hasClosedSpan() const noexcept { return spans.size() > 1; }

    /// Whether there is no step.
    bool isEmpty() const noexcept {
        return spans.empty() || (spans.size() == 1 && endOf(0) == spans[0].rows.firstRow);
    }

    const RowSpan& oldestSpan() const noexcept { return spans.front().rows; }

    /// Pieces have increasing serial numbers.
    std::uint64_t oldestSerial() const noexcept { return spans.front().serial; }

    /// Discards the oldest span, which must not be the open one. Call with the mutex.
    void discardOldestSpan() noexcept;

private:
    struct Span {
        RowSpan rows; // the open span's rowCount and ascends are not up to date
        double greatestBefore;
        std::uint64_t serial;
        std::uint32_t numberInPiece = 1; ///< among the spans of its piece
        double greatest = 0.0;           ///< of its own times; the open span's is not up to date
    };

    /// The place behind a step.
    struct Place {
        std::size_t span = 0;
        std::uint32_t row = 0;
    };

    std::uint32_t endOf(std::size_t span) const noexcept;
    bool ascends(std::size_t span) const noexcept;
    Cut cutBefore(std::size_t span, std::uint32_t row) const noexcept;
    double greatestUntil(std::size_t span, std::uint32_t row) const noexcept;
    Cut firstLater(std::size_t span, double time) const noexcept;
    double timeBefore(const Cut& cut) const noexcept;
    std::uint32_t visibleRowCount(std::size_t span) const noexcept;
    std::shared_ptr<const GroupView> showUntil(const Place& end);
    void closeSpan();
    void dropEmptySpan() noexcept;
    void dropLastSpan() noexcept;
    void updateGreatestTimes() noexcept;
    void goOnAt(const Cut& cut, std::uint32_t row, bool stillAscends) noexcept;

    // Where the next step goes.
    double* openTimes = nullptr;
    std::uint32_t capacity = 0;
    std::atomic<std::uint32_t> openEnd{0}; // a row of the open span's piece
    std::atomic<bool> openAscends{true};   // as RowSpan::ascends, for the open span
    double lastTime = std::numeric_limits<double>::quiet_NaN();
    double greatestTime = -std::numeric_limits<double>::infinity();

    std::vector<Span> spans; // only the last one may be empty
    std::size_t byteCount = 0;
    Place marked;
    std::weak_ptr<const GroupView> shown; // null if shown steps were discarded since
};

} // namespace logging2::core::detail
