#include <logging2/host/foundation/BasicTableString.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

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

TEST(BasicTableStringTest, isConvertedFromAStringLiteral) {
    BasicTableString<char> text;
    text = "run 1";
    EXPECT_EQ(text.size(), 5U);
    EXPECT_STREQ(text.data(), "run 1");
    const BasicTableString<char16_t> wide = u"r\u00fcn";
    EXPECT_EQ(std::u16string(wide.data(), wide.size()), u"r\u00fcn");
}

TEST(BasicTableStringTest, literalEndsAtItsFirstZero) {
    const BasicTableString<char> text("run\0 1");
    EXPECT_EQ(text.size(), 3U);
    EXPECT_STREQ(text.data(), "run");
}

TEST(BasicTableStringTest, arrayIsCopiedUpToItsFirstZero) {
    char buffer[16] = "run 1";
    const BasicTableString<char> text(buffer);
    buffer[0] = 'x';
    EXPECT_EQ(text.size(), 5U);
    EXPECT_STREQ(text.data(), "run 1");
}

TEST(BasicTableStringTest, isConvertedFromViewsButNotFromPointers) {
    EXPECT_TRUE((std::is_convertible_v<std::string_view, BasicTableString<char>>));
    EXPECT_FALSE((std::is_convertible_v<const char*, BasicTableString<char>>));
    EXPECT_FALSE((std::is_convertible_v<std::nullptr_t, BasicTableString<char>>));
    EXPECT_FALSE((std::is_convertible_v<const char16_t(&)[4], BasicTableString<char>>));
}

/// Converts to both types that a text is made from.
struct Both {
    operator const char*() const { return "pointer"; }
    operator std::string_view() const { return "view"; }
};

TEST(BasicTableStringTest, constructionFromOtherTextsIsNotAmbiguous) {
    const char* const pointer = "pointer";
    EXPECT_STREQ(BasicTableString<char>(pointer).data(), "pointer");
    EXPECT_STREQ(BasicTableString<char>(std::string("string")).data(), "string");
    EXPECT_STREQ(BasicTableString<char>(Both()).data(), "view");
    EXPECT_STREQ(BasicTableString<char>{"braces"}.data(), "braces");
}

} // namespace
