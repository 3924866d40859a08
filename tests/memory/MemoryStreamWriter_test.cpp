#include <tests/memory/memory_writers.hpp>

// Rules of the unrestricted writer that differ from those of the restricted one.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

TEST(MemoryStreamWriterTest, keepsEverySample) {
    MemoryStreamWriter writer(StreamingAttributes{}, scalarSetup());
    for (int i = 0; i < 100000; ++i) {
        write(writer, 0, i, {2.0 * i});
    }
    writer.flush();
    const MemoryDatastore store = memoryStore(writer, "x");
    ASSERT_EQ(store.times->size(), 100000U);
    for (std::size_t s = 0; s < 100000; ++s) {
        ASSERT_EQ((*store.times)[s], static_cast<double>(s));
        ASSERT_EQ((*store.values)[s], 2.0 * static_cast<double>(s));
    }
}

TEST(MemoryStreamWriterTest, flushRemovesTheTimesOfEveryGroup) {
    MemoryStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 0}}), channels({{0, 1}}))},
                   {Group(1), LoggedPathsSetupData({}, {})}});
    write(writer, 0, 1.0, {1.0});
    write(writer, 1, 1.0, {});
    writer.flush();
    EXPECT_EQ(writer.numSteps(0), 0U);
    EXPECT_EQ(writer.numSteps(1), 0U);
    EXPECT_EQ(writer.data(1).size(), 1U);
}

TEST(MemoryStreamWriterTest, flushMovesTheTimes) {
    MemoryStreamWriter writer(StreamingAttributes{}, scalarSetup());
    write(writer, 0, 1.0, {1.0});
    const double* const storage = writer.times(0).data();
    writer.flush();
    EXPECT_EQ(memoryStore(writer, "x").times->data(), storage);
}

TEST(MemoryStreamWriterTest, secondFlushReplacesNoStore) {
    MemoryStreamWriter writer(StreamingAttributes{}, scalarSetup());
    write(writer, 0, 1.0, {1.0});
    writer.flush();
    write(writer, 0, 2.0, {2.0});
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "x").times, ElementsAre(1.0));
    EXPECT_THAT(*memoryStore(writer, "x").values, ElementsAre(1.0));
    EXPECT_EQ(writer.numSteps(0), 0U);
    EXPECT_TRUE(writer.data(0).empty());
}

// The second writer's setup has a path that the first flush has not stored.
TEST(MemoryStreamWriterTest, secondFlushAddsStoresForNewPaths) {
    MemoryStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writer.flush();
    MemoryStreamWriter other(StreamingAttributes{}, mixedWidthSetup());
    write(other, 0, 1.0, {1.0, 2.0, 3.0});
    writer = std::move(other);
    writer.flush();
    EXPECT_THAT(*memoryStore(writer, "b").values, ElementsAre(2.0, 3.0));
    EXPECT_TRUE(memoryStore(writer, "x").values->empty());
}

TEST(MemoryStreamWriterTest, ignoresThePointLimit) {
    StreamingAttributes attributes;
    attributes.pointLimit = 1;
    MemoryStreamWriter writer(attributes, scalarSetup());
    write(writer, 0, 1.0, {1.0});
    write(writer, 0, 2.0, {2.0});
    EXPECT_EQ(writer.numSteps(0), 2U);
}

} // namespace
} // namespace logging2::core::test
