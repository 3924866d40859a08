#include <logging2/host/lang/ValuePath.hpp>

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

using lang::core::ValuePath;

TEST(ValuePathTest, comparesLexicographically) {
    EXPECT_LT(compare(ValuePath("a.b"), ValuePath("a.c")), 0);
    EXPECT_EQ(compare(ValuePath("a.b"), ValuePath("a.b")), 0);
    EXPECT_GT(compare(ValuePath("b"), ValuePath("a.b")), 0);
    EXPECT_LT(compare(ValuePath("a"), ValuePath("a.b")), 0);
    EXPECT_GT(compare(ValuePath("\x80"), ValuePath("a")), 0) << "bytes are unsigned";
    EXPECT_NE(compare(ValuePath(std::string("a\0b", 3)), ValuePath(std::string("a\0c", 3))), 0);
}

TEST(ValuePathTest, functionsAreFoundByTheirQualifiedNames) {
    EXPECT_EQ(lang::core::compare(ValuePath("a"), ValuePath("a")), 0);
    EXPECT_EQ(lang::core::hash_value(ValuePath("a")), boost::hash<ValuePath>()(ValuePath("a")));
    EXPECT_TRUE(lang::core::operator==(ValuePath("a"), ValuePath("a")));
}

TEST(ValuePathTest, equalPathsHaveEqualHashes) {
    EXPECT_TRUE(ValuePath("a") == ValuePath("a"));
    EXPECT_TRUE(ValuePath("a") != ValuePath("b"));
    EXPECT_EQ(hash_value(ValuePath("a")), hash_value(ValuePath("a")));
    EXPECT_NE(hash_value(ValuePath("a")), hash_value(ValuePath("b")));
}

TEST(ValuePathTest, ordersContainersByCompare) {
    const std::set<ValuePath> paths{ValuePath("b"), ValuePath("a"), ValuePath("b")};
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(*paths.begin(), ValuePath("a"));
}

TEST(ValuePathTest, printsItsText) {
    std::ostringstream stream;
    stream << ValuePath("ball.height");
    EXPECT_EQ(stream.str(), "ball.height");
}

TEST(ValuePathTest, returnsItsText) {
    const std::string text("a\0b", 3);
    EXPECT_EQ(ValuePath(text).text(), text);
}

TEST(ValuePathTest, conversionFromTextIsExplicit) {
    EXPECT_FALSE((std::is_convertible_v<std::string, ValuePath>));
}

} // namespace
