#include <logging2/stream/StreamingAttributes.hpp>

#include <gtest/gtest.h>

#include <string_view>
#include <type_traits>

namespace logging2::core {
namespace {

TEST(StreamingAttributesTest, everyMemberHasADefault) {
    const StreamingAttributes attributes;
    EXPECT_FALSE(attributes.hostFlag);
    EXPECT_FALSE(attributes.rollbackOnTimeRegression);
    EXPECT_EQ(attributes.pointLimit, 0U);
    EXPECT_EQ(attributes.hostValue1, 0U);
    EXPECT_EQ(attributes.hostValue2, 0U);
    EXPECT_EQ(attributes.name.size(), 0U);
    EXPECT_FALSE(attributes.hostStrings.has_value());
}

TEST(StreamingAttributesTest, memberOrderIsFixed) {
    const auto [hostFlag, rollback, pointLimit, value1, value2, name, strings] =
        StreamingAttributes{true,
                            false,
                            3,
                            4,
                            5,
                            BasicTableString<char>(std::string_view("run")),
                            std::vector<std::string>{"a"}};
    EXPECT_TRUE(hostFlag);
    EXPECT_FALSE(rollback);
    EXPECT_EQ(pointLimit, 3U);
    EXPECT_EQ(value1, 4U);
    EXPECT_EQ(value2, 5U);
    EXPECT_STREQ(name.data(), "run");
    EXPECT_EQ(strings->front(), "a");
}

TEST(StreamingAttributesTest, isCopyableAndMovable) {
    EXPECT_TRUE(std::is_copy_constructible_v<StreamingAttributes>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<StreamingAttributes>);
    EXPECT_TRUE(std::is_copy_assignable_v<StreamingAttributes>);
}

} // namespace
} // namespace logging2::core
