#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <fstream>
#include <string>

#include <malloc.h>
#include <unistd.h>

// How much memory samples take. A sanitizer would change it.

namespace logging2::core::test {
namespace {

std::size_t residentByteCount() {
    malloc_trim(0);
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

GroupSetup groupsOfScalars(std::size_t groupCount, std::size_t channelCount) {
    std::vector<LoggedChannel> listed;
    for (std::size_t channel = 0; channel < channelCount; ++channel) {
        listed.push_back({CoreDataId(channel), 1});
    }
    GroupSetup setup;
    for (std::size_t group = 0; group < groupCount; ++group) {
        setup.insert(Group(group),
                     LoggedPathsSetupData({{ValuePath("g" + std::to_string(group)), CoreDataId(0)}},
                                          listed));
    }
    return setup;
}

struct Shape {
    std::size_t groupCount;
    std::size_t channelCount;
    std::size_t stepCount;
};

class ColumnarMemoryTest : public ::testing::TestWithParam<Shape> {};

TEST_P(ColumnarMemoryTest, samplesTakeLittleMoreThanTheirBytes) {
    const auto [groupCount, channelCount, stepCount] = GetParam();
    const GroupSetup setup = groupsOfScalars(groupCount, channelCount);
    const Doubles row(channelCount, 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setup);
    for (std::size_t step = 0; step < stepCount; ++step) {
        for (std::size_t group = 0; group < groupCount; ++group) {
            writer.write(group, static_cast<double>(step), row.data(), row.size());
        }
    }
    const std::size_t written = residentByteCount() - before;
    writer.flush();
    const std::size_t flushed = residentByteCount() - before;
    const std::size_t byteCount = groupCount * stepCount * (channelCount + 1) * sizeof(double);
    const std::size_t limit = byteCount / 50 * 51 + 4 * mebibyte + groupCount * 4 * kibibyte;
    EXPECT_LE(written, limit);
    EXPECT_LE(flushed, limit);
    EXPECT_GE(written, byteCount / 2);
    RecordProperty("bytes", static_cast<int>(byteCount / kibibyte));
    std::cout << "memory | " << groupCount << " groups of " << channelCount << ", " << stepCount
              << " steps | " << byteCount / kibibyte << " KiB | " << written / kibibyte
              << " KiB | flushed " << flushed / kibibyte << " KiB | limit " << limit / kibibyte
              << " KiB" << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Shapes, ColumnarMemoryTest,
                         ::testing::Values(Shape{1, 8, 1}, Shape{1, 8, 100000},
                                           Shape{1, 1000, 3001}, Shape{1, 1, 5000000},
                                           Shape{10, 8, 100000}, Shape{1000, 8, 1850},
                                           Shape{1000, 30, 97}, Shape{100000, 8, 1},
                                           Shape{100000, 8, 15}));

class ColumnarWideRowMemoryTest : public ::testing::TestWithParam<std::size_t> {};

TEST_P(ColumnarWideRowMemoryTest, samplesTakeLittleMoreThanTheirBytes) {
    const std::size_t width = GetParam();
    const Doubles row(width, 1.0);
    const std::size_t rowByteCount = (width + 1) * sizeof(double);
    const std::size_t stepCount = 100 * mebibyte / rowByteCount;
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, wideSetup(width));
    for (std::size_t step = 0; step < stepCount; ++step) {
        writer.write(0, static_cast<double>(step), row.data(), row.size());
    }
    EXPECT_LE(residentByteCount() - before, stepCount * rowByteCount / 50 * 51 + 4 * mebibyte);
}

INSTANTIATE_TEST_SUITE_P(Widths, ColumnarWideRowMemoryTest,
                         ::testing::Values(25000, 60000, 190000, 270000));

TEST(ColumnarReusedMemoryTest, undoneStepsMakeRoomForOtherGroups) {
    constexpr std::size_t stepCount = 300000;
    const Doubles row(8, 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, groupsOfScalars(2, row.size()));
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

TEST(ColumnarReusedMemoryTest, limitHoldsForGroupsOfManyWidths) {
    constexpr std::size_t groupCount = 40;
    const auto widthOf = [](std::size_t group) { return 1 + group * group * 13 % 977; };
    GroupSetup setup;
    for (std::size_t group = 0; group < groupCount; ++group) {
        setup.insert(Group(group),
                     LoggedPathsSetupData({{ValuePath("g" + std::to_string(group)), CoreDataId(0)}},
                                          {{CoreDataId(0), widthOf(group)}}));
    }
    ColumnarOptions options;
    options.byteLimit = 64 * mebibyte;
    options.beyondLimit = BeyondLimit::discardOldest;
    const Doubles row(1000, 1.0);
    const std::size_t before = residentByteCount();
    ColumnarStreamWriter writer({}, setup, options);
    for (std::size_t step = 0; step < 400000; ++step) {
        // Other groups are used as time goes on.
        const std::size_t group = step * 7919 % (1 + step / 20000 % 20) * 2;
        writer.write(group, static_cast<double>(step), row.data(), widthOf(group));
        if (step % 20000 == 0) {
            EXPECT_LE(residentByteCount() - before, options.byteLimit / 4 * 5);
        }
    }
}

} // namespace
} // namespace logging2::core::test
