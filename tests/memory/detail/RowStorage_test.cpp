#include <logging2/memory/detail/RowStorage.hpp>

#include <tests/support/AllocationCounter.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <new>
#include <optional>
#include <thread>

namespace logging2::core::detail {
namespace {

using test::AllocationCounter;
using test::AllocationFailure;
using test::live_allocation_count;

constexpr std::size_t blockRowCount = 63;
constexpr std::size_t keptBlockCount = 16;

RowHandle make_row(RowStorage& storage, double value) {
    storage.makeRoom();
    return storage.makeRow({value});
}

/// Makes rows whose values are their indices.
std::vector<RowHandle> make_rows(RowStorage& storage, std::size_t count) {
    std::vector<RowHandle> rows;
    rows.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        rows.push_back(make_row(storage, static_cast<double>(i)));
    }
    return rows;
}

void expect_indices(const std::vector<RowHandle>& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(*rows[i], std::vector<double>{static_cast<double>(i)});
    }
}

TEST(RowStorageTest, everyRowHoldsItsValues) {
    RowStorage storage;
    std::vector<RowHandle> rows;
    for (std::size_t n = 0; n < 3 * blockRowCount; ++n) {
        storage.makeRoom();
        rows.push_back(storage.makeRow(std::vector<double>(n, static_cast<double>(n) + 0.5)));
    }
    for (std::size_t n = 0; n < rows.size(); ++n) {
        EXPECT_EQ(*rows[n], std::vector<double>(n, static_cast<double>(n) + 0.5));
    }
}

TEST(RowStorageTest, rowNeedsOneAllocationPlusOnePerBlock) {
    RowStorage storage;
    const std::size_t rowCount = (keptBlockCount + 4) * blockRowCount;
    std::vector<RowHandle> rows(rowCount);
    const AllocationCounter counter;
    for (RowHandle& row : rows) {
        row = make_row(storage, 1.0);
    }
    EXPECT_EQ(counter.count(), rowCount + keptBlockCount + 4);
}

TEST(RowStorageTest, slotsOfReleasedRowsAreReused) {
    RowStorage storage;
    const RowHandle kept = make_row(storage, 1.0);
    const AllocationCounter counter;
    for (std::size_t i = 0; i < 10 * blockRowCount; ++i) {
        make_row(storage, 2.0);
    }
    EXPECT_EQ(counter.count(), 10 * blockRowCount);
    EXPECT_EQ(*kept, std::vector<double>{1.0});
}

TEST(RowStorageTest, rowsReleasedInOrderNeedNoFurtherBlock) {
    RowStorage storage;
    std::vector<RowHandle> ring = make_rows(storage, 2 * blockRowCount);
    make_row(storage, 0.0);
    const AllocationCounter counter;
    for (std::size_t i = 0; i < 20 * blockRowCount; ++i) {
        ring[i % ring.size()] = make_row(storage, 1.0);
    }
    EXPECT_EQ(counter.count(), 20 * blockRowCount);
}

TEST(RowStorageTest, rowsOutliveTheirStorage) {
    std::optional<RowStorage> storage(std::in_place);
    const std::vector<RowHandle> rows = make_rows(*storage, 2 * blockRowCount + 5);
    storage.reset();
    expect_indices(rows);
}

TEST(RowStorageTest, clearedStorageKeepsNoBlockAndStaysUsable) {
    RowStorage storage;
    const std::size_t before = live_allocation_count();
    make_rows(storage, 3 * blockRowCount);
    EXPECT_EQ(live_allocation_count(), before + 3);
    storage.clear();
    EXPECT_EQ(live_allocation_count(), before);
    EXPECT_EQ(*make_row(storage, 3.0), std::vector<double>{3.0});
}

TEST(RowStorageTest, surplusBlockIsFreedWithItsLastRow) {
    RowStorage storage;
    const std::size_t before = live_allocation_count();
    {
        std::vector<RowHandle> rows = make_rows(storage, (keptBlockCount + 3) * blockRowCount);
        RowHandle second = std::move(rows[blockRowCount]);
        rows = std::vector<RowHandle>();
        EXPECT_EQ(live_allocation_count(), before + 2 + keptBlockCount); // a row and its block
    }
    EXPECT_EQ(live_allocation_count(), before + keptBlockCount);
}

TEST(RowStorageTest, storageWithoutRowsFreesEverything) {
    const std::size_t before = live_allocation_count();
    { make_rows(*std::make_unique<RowStorage>(), blockRowCount + 1); }
    EXPECT_EQ(live_allocation_count(), before);
}

TEST(RowStorageTest, rowsAfterATakeBackFillTheEarlierBlocks) {
    RowStorage storage;
    constexpr std::size_t rowCount = 2 * blockRowCount;
    std::vector<RowHandle> accepted;
    accepted.reserve(rowCount);
    const std::size_t before = live_allocation_count();
    for (std::size_t i = 0; i < rowCount; ++i) {
        make_rows(storage, 5 * blockRowCount);
        storage.takeBack();
        accepted.push_back(make_row(storage, static_cast<double>(i)));
    }
    EXPECT_EQ(live_allocation_count(), before + rowCount + 2);
    expect_indices(accepted);
}

TEST(RowStorageTest, takeBackLeavesAFreeSlotAndTheHeldRows) {
    RowStorage storage;
    std::vector<RowHandle> rows = make_rows(storage, 3 * blockRowCount - 1);
    const RowHandle late = rows.back();
    rows.resize(blockRowCount);
    storage.takeBack();
    const RowHandle next = storage.makeRow({-1.0});
    expect_indices(rows);
    EXPECT_EQ(*late, std::vector<double>{3.0 * blockRowCount - 2.0});
    EXPECT_EQ(*next, std::vector<double>{-1.0});
}

TEST(RowStorageTest, failedBlockAllocationLeavesTheRowsUnchanged) {
    RowStorage storage;
    const std::vector<RowHandle> rows = make_rows(storage, blockRowCount);
    {
        const AllocationFailure failure(0);
        EXPECT_THROW(storage.makeRoom(), std::bad_alloc);
    }
    EXPECT_EQ(*make_row(storage, 2.0), std::vector<double>{2.0});
    expect_indices(rows);
}

// The storage reuses slots while they are being released, and gives up blocks whose last rows the
// other thread releases.
TEST(RowStorageTest, anotherThreadMayReleaseRowsWhileMoreAreMade) {
    constexpr std::size_t rowCount = 20000;
    const std::size_t before = live_allocation_count();
    {
        std::vector<RowHandle> rows(rowCount);
        std::atomic<std::size_t> madeCount{0};
        std::thread release([&] {
            for (std::size_t i = 0; i < rowCount; ++i) {
                while (madeCount.load(std::memory_order_acquire) <= i) {
                    std::this_thread::yield();
                }
                EXPECT_EQ(*rows[i], std::vector<double>{static_cast<double>(i)});
                rows[i].reset();
            }
        });
        RowStorage storage;
        for (std::size_t i = 0; i < rowCount; ++i) {
            rows[i] = make_row(storage, static_cast<double>(i));
            madeCount.store(i + 1, std::memory_order_release);
        }
        storage.clear();
        release.join();
    }
    EXPECT_EQ(live_allocation_count(), before);
}

} // namespace
} // namespace logging2::core::detail
