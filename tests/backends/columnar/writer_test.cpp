#include <tests/backends/columnar/columnar_writers.hpp>

#include <cstdint>
#include <stdexcept>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

TEST(ColumnarStreamWriterTest, columnsAreSampleMajor) {
    ColumnarStreamWriter writer({}, mixedWidthSetup());
    write(writer, 0, 1.0, {10.0, 11.0, 12.0});
    write(writer, 0, 2.0, {20.0, 21.0, 22.0});
    writer.flush();
    EXPECT_EQ(stored(writer, "a"), std::pair(Doubles({1.0, 2.0}), Doubles({10.0, 20.0})));
    EXPECT_EQ(stored(writer, "b"),
              std::pair(Doubles({1.0, 2.0}), Doubles({11.0, 12.0, 21.0, 22.0})));
}

TEST(ColumnarStreamWriterTest, groupIdsMayHaveAnyValue) {
    const LoggedPathsSetupData first(paths({{"x", 0}}), channels({{0, 1}}));
    const LoggedPathsSetupData second(paths({{"y", 0}}), channels({{0, 1}}));
    const LoggedPathsSetupData third(paths({{"z", 0}}), channels({{0, 1}}));
    ColumnarStreamWriter writer(
        {}, GroupSetup{{Group(SIZE_MAX), first}, {Group(70000), second}, {Group(3), third}});
    write(writer, SIZE_MAX, 1.0, {10.0});
    write(writer, 70000, 2.0, {20.0});
    write(writer, 3, 3.0, {30.0});
    writer.flush();
    EXPECT_THAT(stored(writer, "x").second, ElementsAre(10.0));
    EXPECT_THAT(stored(writer, "y").second, ElementsAre(20.0));
    EXPECT_THAT(stored(writer, "z").second, ElementsAre(30.0));
}

TEST(ColumnarStreamWriterTest, unknownGroupIsRefused) {
    ColumnarStreamWriter writer({}, GroupSetup{{Group(2), LoggedPathsSetupData({}, {})}});
    for (const std::size_t group : {std::size_t{0}, std::size_t{3}, std::size_t{SIZE_MAX}}) {
        EXPECT_THAT([&] { write(writer, group, 1.0, {}); },
                    ThrowsMessage<std::out_of_range>(HasSubstr("there is no group")));
        EXPECT_THROW(writer.rollback(group, 1.0), std::out_of_range);
    }
}

TEST(ColumnarStreamWriterTest, rowOfAnotherLengthIsRefused) {
    ColumnarStreamWriter writer({}, mixedWidthSetup());
    EXPECT_THAT(
        [&] {
            write(writer, 0, 1.0, {1.0, 2.0});
        },
        ThrowsMessage<std::invalid_argument>("group 0 has 3 values per step, but write got 2"));
    writer.flush();
    EXPECT_THAT(stored(writer, "a").first, IsEmpty());
}

TEST(ColumnarStreamWriterTest, widthsMayBeZeroOrHuge) {
    constexpr std::size_t huge = SIZE_MAX / 2;
    const GroupSetup setup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}, {"none", 1}}),
                                                           channels({{0, 1}, {1, 0}}))},
                           {Group(1), LoggedPathsSetupData(paths({{"huge", 0}, {"next", 1}}),
                                                           channels({{0, huge}, {1, huge}}))}};
    ColumnarStreamWriter writer({}, setup);
    write(writer, 0, 1.0, {10.0});
    EXPECT_THROW(write(writer, 1, 1.0, {1.0}), std::invalid_argument);
    writer.flush();
    EXPECT_EQ(stored(writer, "x"), std::pair(Doubles({1.0}), Doubles({10.0})));
    EXPECT_EQ(stored(writer, "none"), std::pair(Doubles({1.0}), Doubles()));
    EXPECT_EQ(stored(writer, "huge"), std::pair(Doubles(), Doubles()));
}

TEST(ColumnarStreamWriterTest, rowsMayBeWiderThanAPiece) {
    constexpr std::size_t width = 700000;
    ColumnarStreamWriter writer({}, wideSetup(width));
    writeTimes(writer, {1.0, 2.0, 3.0}, width);
    writer.rollback(0, 2.0);
    writer.flush();
    const auto [times, values] = stored(writer);
    EXPECT_THAT(times, ElementsAre(1.0, 2.0));
    ASSERT_EQ(values.size(), 2 * width);
    EXPECT_EQ(values[width - 1], 10.0);
    EXPECT_EQ(values[2 * width - 1], 20.0);
}

TEST(ColumnarStreamWriterTest, aliasesAndGroupsShareTheirStores) {
    const LoggedPathsSetupData data(paths({{"x", 0}, {"same", 0}, {"y", 1}}),
                                    channels({{0, 1}, {1, 1}}));
    ColumnarStreamWriter writer({}, GroupSetup{{Group(0), data}});
    write(writer, 0, 1.0, {10.0, 20.0});
    writer.flush();
    const auto storeOf = [&writer](const char* path) {
        return boost::any_cast<ColumnarDatastore>(writer.dataStore(ValuePath(path)));
    };
    EXPECT_EQ(storeOf("x").group, storeOf("y").group);
    EXPECT_EQ(storeOf("x").channel, storeOf("same").channel);
    EXPECT_EQ(stored(writer, "same").second, Doubles({10.0}));
}

TEST(ColumnarStreamWriterTest, rollbackKeepsSamplesAtItsTime) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 2.0, 2.0, 3.0});
    writer.rollback(0, 2.0);
    EXPECT_THAT(storedTimes(writer), ElementsAre(1.0, 2.0, 2.0));
}

TEST(ColumnarStreamWriterTest, rollbackDiscardsEarlierTimesBehindALaterOne) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, 3.0, 2.0});
    writer.rollback(0, 2.0);
    EXPECT_THAT(storedTimes(writer), ElementsAre(1.0));
}

TEST(ColumnarStreamWriterTest, nanIsNotLaterThanAnyTime) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0, nan, 2.0});
    writer.rollback(0, 1.0);
    writer.rollback(0, nan);
    EXPECT_THAT(storedTimes(writer), ElementsAre(1.0, ::testing::IsNan()));
}

TEST(ColumnarStreamWriterTest, rollbackReachesThroughManyPieces) {
    ColumnarStreamWriter writer({}, scalarSetup());
    for (const std::size_t kept : {70000U, 69999U, 100U, 0U}) {
        const Doubles times = countedTimes(kept);
        writeTimes(writer, countedTimes(100000));
        writer.rollback(0, static_cast<double>(kept) - 1.0);
        writer.flushIntermediate();
        EXPECT_EQ(stored(writer).first, times);
        writer.rollback(0, -1.0);
    }
}

TEST(ColumnarStreamWriterTest, regressionReplacesSamplesFromItsTimeOn) {
    ColumnarStreamWriter writer(regressing(), scalarSetup());
    writeTimes(writer, {0.0, 1.0, 2.0, 1.0});
    EXPECT_THAT(storedTimes(writer), ElementsAre(0.0, 1.0));
    ColumnarStreamWriter repeating(regressing(), scalarSetup());
    write(repeating, 0, 3.0, {1.0});
    write(repeating, 0, 3.0, {2.0});
    repeating.flush();
    EXPECT_EQ(stored(repeating), std::pair(Doubles({3.0}), Doubles({2.0})));
}

TEST(ColumnarStreamWriterTest, regressionBeforeAllTimesEmptiesTheGroup) {
    ColumnarStreamWriter writer(regressing(), wideSetup(100));
    writeTimes(writer, countedTimes(1000), 100);
    writeTimes(writer, {-1.0}, 100);
    EXPECT_THAT(storedTimes(writer), ElementsAre(-1.0));
}

TEST(ColumnarStreamWriterTest, dataStoreNeedsAFlushAndAKnownPath) {
    ColumnarStreamWriter writer({}, scalarSetup());
    EXPECT_THAT([&] { writer.dataStore(ValuePath("x")); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\"x\": flush was not called")));
    writer.flush();
    EXPECT_THAT([&] { writer.dataStore(ValuePath("y")); },
                ThrowsMessage<std::out_of_range>("there is no signal \"y\""));
    EXPECT_FALSE(writer.dataStoreInfo());
}

TEST(ColumnarStreamWriterTest, samplesWrittenAfterFlushReachNoStore) {
    ColumnarStreamWriter writer({}, scalarSetup());
    writeTimes(writer, {1.0});
    writer.close();
    writeTimes(writer, {2.0});
    writer.flushIntermediate();
    writer.flush();
    EXPECT_THAT(stored(writer).first, ElementsAre(1.0));
}

TEST(ColumnarStreamWriterTest, moveTakesOverSamplesAndStores) {
    ColumnarStreamWriter source({}, scalarSetup());
    writeTimes(source, {1.0});
    source.flushIntermediate();
    ColumnarStreamWriter writer(std::move(source));
    EXPECT_THAT(stored(writer).first, ElementsAre(1.0));
    writeTimes(writer, {2.0});
    ColumnarStreamWriter target({}, scalarSetup());
    writeTimes(target, {7.0});
    target = std::move(writer);
    EXPECT_THAT(storedTimes(target), ElementsAre(1.0, 2.0));
}

TEST(ColumnarStreamReaderTest, readsAfterWriterAndOtherReadersAreGone) {
    auto writer = std::make_unique<ColumnarStreamWriter>(StreamingAttributes(), scalarSetup());
    writeTimes(*writer, countedTimes(5000));
    writer->flush();
    auto reader = std::make_unique<ColumnarStreamReader>(writer->dataStore(ValuePath("x")));
    writer.reset();
    const std::unique_ptr<StreamReader> clone = reader->clone();
    EXPECT_EQ(reader->times(), countedTimes(5000));
    reader.reset();
    EXPECT_EQ(clone->times(), countedTimes(5000));
    EXPECT_EQ(clone->timeseries().first, countedTimes(5000));
}

TEST(ColumnarStreamReaderTest, emptyStoreHasNoSamples) {
    const ColumnarStreamReader reader{boost::any()};
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.clone()->timeseries().second, IsEmpty());
}

TEST(ColumnarStreamReaderTest, otherStoresAreRefused) {
    EXPECT_THROW(ColumnarStreamReader{boost::any(1)}, boost::bad_any_cast);
}

} // namespace
} // namespace logging2::core::test
