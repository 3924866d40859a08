#include <logging2/host/foundation/BasicTableString.hpp>

#include <gtest/gtest.h>

#include <string_view>

namespace {

using foundation::BasicTableString;

TEST(BasicTableStringTest, defaultIsEmpty) {
    const BasicTableString<char> text;
    EXPECT_EQ(text.size(), 0U);
    EXPECT_STREQ(text.data(), "");
}

TEST(BasicTableStringTest, holdsACopyOfTheText) {
    char source[] = "run 1";
    const BasicTableString<char> text{std::string_view(source)};
    source[0] = 'x';
    EXPECT_EQ(text.size(), 5U);
    EXPECT_STREQ(text.data(), "run 1");
}

TEST(BasicTableStringTest, copiesShareTheText) {
    const BasicTableString<char> text("shared");
    const BasicTableString<char> copy = text; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.data(), text.data());
}

} // namespace
