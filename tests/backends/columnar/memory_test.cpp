#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <algorithm>
#include <fstream>
#include <numeric>
#include <random>
#include <string>

#include <malloc.h>
#include <unistd.h>

// How much memory samples take. A sanitizer would change it, and so would memory that an earlier
// test has freed: each test needs its own process, as ctest gives it.

namespace logging2::core::test {
namespace {

std::size_t residentByteCount() {
    malloc_trim(0);
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// Groups of channels of the same width.
struct Shape {
    std::size_t groupCount;
    std::size_t channelCount;
    std::size_t width;
    std::size_t stepCount;

    std::size_t rowLength() const { return channelCount * width; }

    GroupSetup setup() const {
        std::vector<LoggedChannel> listed;
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            listed.push_back({CoreDataId(channel), width});
        }
        GroupSetup result;
        for (std::size_t group = 0; group < groupCount; ++group) {
            const ValuePath path("g" + std::to_string(group));
            result.insert(Group(group), LoggedPathsSetupData({{path, CoreDataId(0)}}, listed));
        }
        return result;
    }
};

std::ostream& operator<<(std::ostream& stream, const Shape& shape) {
    return stream << shape.groupCount << " groups of " << shape.channelCount
                  << " channels of width " << shape.width << ", " << shape.stepCount << " steps";
}

class ColumnarMemoryTest : public ::testing::TestWithParam<Shape> {
protected:
    void expectLittleMore(std::size_t stepCount) const {
        const Shape& shape = GetParam();
        const std::size_t byteCount =
            shape.groupCount * stepCount * (shape.rowLength() + 1) * sizeof(double);
        const std::size_t limit =
            byteCount / 50 * 51 + 4 * mebibyte + shape.groupCount * 4 * kibibyte;
        const std::size_t taken = residentByteCount() - before;
        EXPECT_LE(taken, limit) << "after " << stepCount << " steps";
        EXPECT_GE(taken, byteCount / 2);
        std::cout << "memory | " << shape << ", after " << stepCount << " | "
                  << byteCount / kibibyte << " KiB | taken " << taken / kibibyte << " KiB | limit "
                  << limit / kibibyte << " KiB" << std::endl;
    }

    const GroupSetup setup = GetParam().setup();
    const Doubles row = Doubles(GetParam().rowLength(), 1.0);
    const std::size_t before = residentByteCount();
};

TEST_P(ColumnarMemoryTest, samplesTakeLittleMoreThanTheirBytes) {
    ColumnarStreamWriter writer({}, setup);
    for (std::size_t step = 0; step < GetParam().stepCount; ++step) {
        for (std::size_t group = 0; group < GetParam().groupCount; ++group) {
            writer.write(group, static_cast<double>(step), row.data(), row.size());
        }
        if ((step & (step + 1)) == 0) {
            expectLittleMore(step + 1);
        }
    }
    expectLittleMore(GetParam().stepCount);
    writer.flush();
    expectLittleMore(GetParam().stepCount);
}

INSTANTIATE_TEST_SUITE_P(Scalars, ColumnarMemoryTest,
                         ::testing::Values(Shape{1, 8, 1, 100000}, Shape{1, 1000, 1, 3001},
                                           Shape{10, 8, 1, 100000}, Shape{1000, 8, 1, 1850},
                                           Shape{1000, 30, 1, 97}, Shape{100000, 8, 1, 15}));

INSTANTIATE_TEST_SUITE_P(Widths, ColumnarMemoryTest,
                         ::testing::Values(Shape{1, 1, 0, 5000000}, Shape{1, 1, 1, 5000000},
                                           Shape{1, 1, 3, 3000000}, Shape{1, 1, 100, 120000},
                                           Shape{1, 1, 8000, 1600}, Shape{1, 1, 12800, 1000},
                                           Shape{1, 1, 25000, 500}, Shape{1, 1, 60000, 210},
                                           Shape{1, 1, 190000, 70}, Shape{1, 1, 270000, 50},
                                           Shape{1, 1, 1000000, 20}));

INSTANTIATE_TEST_SUITE_P(Groups, ColumnarMemoryTest,
                         ::testing::Values(Shape{1000, 1, 0, 12000}, Shape{1000, 1, 1, 6000},
                                           Shape{1000, 1, 3, 3000}, Shape{1000, 1, 100, 150},
                                           Shape{1000, 1, 12800, 2}, Shape{30, 1, 1000000, 1},
                                           Shape{100000, 1, 0, 60}, Shape{100000, 1, 1, 40},
                                           Shape{100000, 1, 3, 30}, Shape{100000, 1, 100, 2}));

/// A setup with one channel per group, of these widths.
GroupSetup setupOfWidths(const std::vector<std::size_t>& widths) {
    GroupSetup setup;
    for (std::size_t group = 0; group < widths.size(); ++group) {
        const ValuePath path("g" + std::to_string(group));
        setup.insert(Group(group), LoggedPathsSetupData({{path, CoreDataId(0)}},
                                                        {{CoreDataId(0), widths[group]}}));
    }
    return setup;
}

/// Groups of different widths, whose rows come in a random order.
class ColumnarWidthsMemoryTest : public ::testing::TestWithParam<std::vector<std::size_t>> {};

TEST_P(ColumnarWidthsMemoryTest, samplesTakeLittleMoreThanTheirBytes) {
    const std::vector<std::size_t>& widths = GetParam();
    const GroupSetup setup = setupOfWidths(widths);
    const Doubles row(*std::max_element(widths.begin(), widths.end()), 1.0);
    std::mt19937 random(1);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setup);
    std::size_t byteCount = 0;
    for (std::size_t checked = 4 * mebibyte; byteCount < 350 * mebibyte;) {
        const std::size_t group = random() % widths.size();
        writer.write(group, static_cast<double>(byteCount), row.data(), widths[group]);
        byteCount += (widths[group] + 1) * sizeof(double);
        if (byteCount > checked) {
            checked += checked / 4;
            EXPECT_LE(residentByteCount() - before,
                      byteCount / 50 * 51 + 4 * mebibyte + widths.size() * 4 * kibibyte)
                << "after " << byteCount << " bytes";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, ColumnarWidthsMemoryTest,
    ::testing::Values(std::vector<std::size_t>{1, 10, 100, 1000, 10000},
                      std::vector<std::size_t>{17378, 21000, 26000, 35000, 51000, 60000, 74131},
                      std::vector<std::size_t>{33113, 150000, 891251},
                      std::vector<std::size_t>{51286, 150000, 450000, 1318260},
                      std::vector<std::size_t>{204174, 222000, 239883, 260000, 290000, 316228}));

TEST(ColumnarReusedMemoryTest, undoneStepsMakeRoomForOtherGroups) {
    constexpr std::size_t stepCount = 300000;
    const Doubles row(8, 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, Shape{2, 8, 1, 0}.setup());
    const auto writeStep = [&](std::size_t group, std::size_t step) {
        writer.write(group, static_cast<double>(step), row.data(), row.size());
    };
    for (std::size_t step = 0; step < stepCount; ++step) {
        writeStep(0, step);
        writeStep(1, step);
    }
    writer.rollback(0, -1.0);
    for (std::size_t step = stepCount; step < 2 * stepCount; ++step) {
        writeStep(1, step);
    }
    const std::size_t byteCount = 2 * stepCount * (row.size() + 1) * sizeof(double);
    EXPECT_LE(residentByteCount() - before, byteCount / 50 * 51 + 5 * mebibyte);
}

/// Writes ten times the limit, in phases, each of which uses some of the groups. Returns the most
/// memory that was taken.
std::size_t mostTakenBeyond(std::size_t byteLimit, const std::vector<std::size_t>& widths) {
    const GroupSetup setup = setupOfWidths(widths);
    ColumnarOptions options;
    options.byteLimit = byteLimit;
    options.beyondLimit = BeyondLimit::discardOldest;
    const Doubles row(*std::max_element(widths.begin(), widths.end()), 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setup, options);
    std::mt19937 random(1);
    std::size_t most = 0;
    double time = 0.0;
    for (int phase = 0; phase < 20; ++phase) {
        const std::size_t usedCount = 1 + random() % widths.size();
        for (std::size_t byteCount = 0; byteCount < byteLimit / 2; time += 1.0) {
            const std::size_t group =
                (static_cast<std::size_t>(phase) + random() % usedCount) % widths.size();
            writer.write(group, time, row.data(), widths[group]);
            byteCount += (widths[group] + 1) * sizeof(double);
        }
        most = std::max(most, residentByteCount() - before);
    }
    return most;
}

TEST(ColumnarReusedMemoryTest, limitHoldsForGroupsOfManyWidths) {
    std::vector<std::size_t> widths;
    for (std::size_t group = 0; group < 40; ++group) {
        widths.push_back(1 + group * group * 13 % 977);
    }
    EXPECT_LE(mostTakenBeyond(64 * mebibyte, widths), 80 * mebibyte);
}

TEST(ColumnarReusedMemoryTest, limitHoldsAfterFlushIntermediate) {
    constexpr std::size_t byteLimit = 64 * mebibyte;
    ColumnarOptions options;
    options.byteLimit = byteLimit;
    options.beyondLimit = BeyondLimit::discardOldest;
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setupOfWidths({8}), options);
    const Doubles row(8, 1.0);
    for (std::size_t step = 0; step < 5 * byteLimit / 72; ++step) {
        writer.write(0, static_cast<double>(step), row.data(), row.size());
        if (step == byteLimit / 72) {
            writer.flushIntermediate();
            EXPECT_FALSE(writer.dataStore(ValuePath("g0")).empty());
        }
    }
    EXPECT_LE(residentByteCount() - before, byteLimit + 8 * mebibyte);
}

TEST(ColumnarReusedMemoryTest, rollbacksOfWideRowsLeaveFewGaps) {
    const std::vector<std::size_t> widths(8, 7000);
    const GroupSetup setup = setupOfWidths(widths);
    const Doubles row(widths[0], 1.0);
    constexpr std::size_t rowByteCount = 7001 * sizeof(double);
    std::vector<std::size_t> counts(widths.size());
    std::mt19937 random(7);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setup);
    std::size_t most = 0;
    std::size_t mostTaken = 0;
    for (int phase = 0; phase < 60; ++phase) {
        const std::size_t group = random() % widths.size();
        const std::size_t added = random() % 600;
        for (std::size_t i = 0; i < added; ++i) {
            writer.write(group, static_cast<double>(counts[group]++), row.data(), row.size());
        }
        const std::size_t sum = std::accumulate(counts.begin(), counts.end(), std::size_t{0});
        most = std::max(most, sum * rowByteCount);
        mostTaken = std::max(mostTaken, residentByteCount() - before);
        const std::size_t undone = random() % widths.size();
        counts[undone] = random() % (counts[undone] + 1);
        writer.rollback(undone, static_cast<double>(counts[undone]) - 1.0);
    }
    // Free blocks lie between those that are kept, and each group may have a spare one.
    EXPECT_LE(mostTaken, most / 100 * 105 + 4 * mebibyte + widths.size() * 4 * kibibyte);
}

TEST(ColumnarReusedMemoryTest, undoneStepsThatWereShownAreReused) {
    constexpr std::size_t stepCount = 1000000;
    const Doubles row(8, 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setupOfWidths({8}));
    for (std::size_t step = 0; step < stepCount; ++step) {
        writer.write(0, static_cast<double>(step), row.data(), row.size());
        if (step % 4 == 0) {
            writer.write(0, static_cast<double>(step) + 0.5, row.data(), row.size());
            writer.flushIntermediate();
            EXPECT_EQ(writer.run()->groups()[0].lastTime, static_cast<double>(step) + 0.5);
            writer.rollback(0, static_cast<double>(step));
        }
    }
    const std::size_t byteCount = stepCount * (row.size() + 1) * sizeof(double);
    EXPECT_LE(residentByteCount() - before, byteCount / 50 * 51 + 4 * mebibyte);
}

TEST(ColumnarReusedMemoryTest, veryDifferentWidthsTakeBoundedFreeMemory) {
    const std::vector<std::size_t> widths{1, 10, 100, 1000, 10000, 50000};
    EXPECT_LE(mostTakenBeyond(64 * mebibyte, widths), (96 + 16) * mebibyte);
    EXPECT_LE(mostTakenBeyond(8 * mebibyte, widths), (12 + 16) * mebibyte);
}

} // namespace
} // namespace logging2::core::test
