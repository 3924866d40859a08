#include <logging2/native/StreamMetadata.hpp>

#include <gtest/gtest.h>

#include <sstream>
#include <utility>

namespace logging2::core {
namespace {

using lang::core::ValuePath;
using ChannelMap = std::map<ValuePath, ChannelProperties>;
using Layouts = SequenceMap<std::size_t, RowLayout>;
using Counts = std::map<std::size_t, std::size_t>;

std::string printed(const StreamMetadata& metadata) {
    std::ostringstream stream;
    stream << metadata;
    return stream.str();
}

TEST(StreamMetadataTest, printsEmptyMetadataAsBraces) {
    EXPECT_EQ(printed(StreamMetadata({}, {}, {})), "{ { {}");
}

TEST(StreamMetadataTest, printsOneGroupWithTwoChannels) {
    const StreamMetadata metadata(
        {{ValuePath("b"), ChannelProperties(0, 9)}, {ValuePath("a"), ChannelProperties(0, 7)}},
        Layouts{{0, {{7, 1}, {9, 3}}}}, {{0, 2}});
    EXPECT_EQ(printed(metadata), "{ {Group: 0, 2};  { {a, 0, 7}; {b, 0, 9}; {0, 7->1:9->3:}; }");
}

TEST(StreamMetadataTest, printsGroupsAscendingAndLayoutsAsInserted) {
    const StreamMetadata metadata({{ValuePath("x"), ChannelProperties(5, 2)}},
                                  Layouts{{5, {{2, 1}}}, {3, {}}}, {{5, 1}, {3, 0}});
    EXPECT_EQ(printed(metadata),
              "{ {Group: 3, 0};  {Group: 5, 1};  { {x, 5, 2}; {5, 2->1:}; 3, }; }");
}

TEST(StreamMetadataTest, numbersUseTheFormatOfTheStream) {
    std::ostringstream stream;
    stream << std::hex << StreamMetadata({}, Layouts{{255, {{16, 10}}}}, {});
    EXPECT_EQ(stream.str(), "{ { {ff, 10->a:}; }");
}

TEST(StreamMetadataTest, copiesTheMapsAndSharesTheLayouts) {
    ChannelMap channels{{ValuePath("a"), ChannelProperties(1, 2)}};
    Layouts layouts{{1, {{2, 1}}}};
    Counts counts{{1, 1}};
    const StreamMetadata metadata(channels, layouts, counts);
    EXPECT_EQ(metadata.logBufferData().begin(), layouts.begin());
    channels.clear();
    layouts.insert(2, {});
    counts[1] = 7;
    EXPECT_EQ(metadata.channelMetadata().at(ValuePath("a")).channelKey(), 2U);
    EXPECT_EQ(metadata.logBufferData().size(), 1U);
    EXPECT_EQ(metadata.groupChannels().at(1), 1U);
}

TEST(StreamMetadataTest, accessorsReturnTheSameObjectsOnEveryCall) {
    const StreamMetadata metadata({}, {}, {});
    EXPECT_EQ(&metadata.channelMetadata(), &metadata.channelMetadata());
    EXPECT_EQ(&metadata.logBufferData(), &metadata.logBufferData());
    EXPECT_EQ(&metadata.groupChannels(), &metadata.groupChannels());
}

TEST(StreamMetadataTest, moveLeavesTheSourceEmpty) {
    StreamMetadata metadata({}, {}, {{1, 1}});
    const Counts* const counts = &metadata.groupChannels();
    const StreamMetadata moved = std::move(metadata);
    EXPECT_EQ(&moved.groupChannels(), counts);
    EXPECT_EQ(printed(metadata), "{ { {}"); // NOLINT(bugprone-use-after-move)
}

} // namespace
} // namespace logging2::core
