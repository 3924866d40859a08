#include <logging2/memory/detail/RowStorage.hpp>

#include <tests/support/AllocationCounter.hpp>

#include <gmock/gmock.h>

#include <new>
#include <optional>
#include <thread>

namespace logging2::core::detail {
namespace {

using test::AllocationCounter;
using test::AllocationFailure;
using test::live_allocation_count;

constexpr std::size_t blockRowCount = 63;

std::vector<RowHandle> make_rows(RowStorage& storage, std::size_t count) {
    std::vector<RowHandle> rows;
    rows.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(i);
        rows.push_back(storage.makeRow(&value, 1));
    }
    return rows;
}

TEST(RowStorageTest, everyRowHoldsACopyOfItsValues) {
    RowStorage storage;
    std::vector<RowHandle> rows;
    for (std::size_t n = 0; n < 3 * blockRowCount; ++n) {
        std::vector<double> values(n, static_cast<double>(n) + 0.5);
        rows.push_back(storage.makeRow(values.data(), n));
        values.assign(n, -1.0);
    }
    for (std::size_t n = 0; n < rows.size(); ++n) {
        EXPECT_EQ(*rows[n], std::vector<double>(n, static_cast<double>(n) + 0.5));
    }
}

TEST(RowStorageTest, aRowTakesOneAllocationAndEvery63rdOneMore) {
    RowStorage storage;
    std::vector<RowHandle> rows(4 * blockRowCount);
    const AllocationCounter counter;
    for (RowHandle& row : rows) {
        const double value = 1.0;
        row = storage.makeRow(&value, 1);
    }
    EXPECT_EQ(counter.count(), rows.size() + 4);
}

TEST(RowStorageTest, slotsOfReleasedRowsAreTakenAgain) {
    RowStorage storage;
    const double value = 1.0;
    const RowHandle kept = storage.makeRow(&value, 1);
    const AllocationCounter counter;
    for (std::size_t i = 0; i < 10 * blockRowCount; ++i) {
        storage.makeRow(&value, 1);
    }
    EXPECT_EQ(counter.count(), 10 * blockRowCount);
    EXPECT_EQ(*kept, std::vector<double>{1.0});
}

TEST(RowStorageTest, rowsOutliveTheirStorage) {
    std::optional<RowStorage> storage(std::in_place);
    const std::vector<RowHandle> rows = make_rows(*storage, 2 * blockRowCount + 5);
    storage.reset();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(*rows[i], std::vector<double>{static_cast<double>(i)});
    }
}

TEST(RowStorageTest, aBlockGoesWithItsLastRow) {
    RowStorage storage;
    const std::size_t before = live_allocation_count();
    {
        std::vector<RowHandle> rows = make_rows(storage, 3 * blockRowCount);
        RowHandle second = std::move(rows[blockRowCount]);
        rows = std::vector<RowHandle>();
        EXPECT_EQ(live_allocation_count(), before + 3); // a row, its block, the one being filled
    }
    EXPECT_EQ(live_allocation_count(), before + 1);
}

TEST(RowStorageTest, nothingStaysOfAStorageWithoutRows) {
    const std::size_t before = live_allocation_count();
    { make_rows(*std::make_unique<RowStorage>(), blockRowCount + 1); }
    EXPECT_EQ(live_allocation_count(), before);
}

TEST(RowStorageTest, aRowThatCannotBeMadeTakesNoSlot) {
    RowStorage storage;
    const double value = 1.0;
    const RowHandle kept = storage.makeRow(&value, 1);
    for (std::size_t i = 0; i < 2 * blockRowCount; ++i) {
        const AllocationFailure failure(0);
        EXPECT_THROW(storage.makeRow(&value, 1), std::bad_alloc);
    }
    const AllocationCounter counter;
    const std::vector<RowHandle> rows = make_rows(storage, blockRowCount - 1);
    EXPECT_EQ(counter.count(), rows.size() + 1); // the vector of handles is the one more
}

TEST(RowStorageTest, aBlockThatCannotBeHadLeavesTheRowsAlone) {
    RowStorage storage;
    const std::vector<RowHandle> rows = make_rows(storage, blockRowCount);
    const double value = 2.0;
    {
        const AllocationFailure failure(0);
        EXPECT_THROW(storage.makeRow(&value, 1), std::bad_alloc);
    }
    EXPECT_EQ(*storage.makeRow(&value, 1), std::vector<double>{2.0});
    EXPECT_EQ(*rows.back(), std::vector<double>{static_cast<double>(blockRowCount - 1)});
}

TEST(RowStorageTest, rowsMayBeReleasedOnOtherThreadsWhileMoreAreMade) {
    RowStorage storage;
    for (int round = 0; round < 20; ++round) {
        std::vector<RowHandle> rows = make_rows(storage, 5 * blockRowCount / 2);
        std::thread release([taken = std::move(rows)]() mutable { taken.clear(); });
        const std::vector<RowHandle> more = make_rows(storage, 5 * blockRowCount / 2);
        release.join();
        for (std::size_t i = 0; i < more.size(); ++i) {
            ASSERT_EQ(*more[i], std::vector<double>{static_cast<double>(i)});
        }
    }
}

} // namespace
} // namespace logging2::core::detail
