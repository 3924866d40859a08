#include <tools/native/duration.hpp>

#include <gtest/gtest.h>

namespace logging2::tools {
namespace {

TEST(DurationTest, numbersWithUnitsAreRead) {
    using std::chrono::hours;
    EXPECT_EQ(parse_duration("0s"), std::chrono::seconds(0));
    EXPECT_EQ(parse_duration("90s"), std::chrono::seconds(90));
    EXPECT_EQ(parse_duration("30m"), std::chrono::minutes(30));
    EXPECT_EQ(parse_duration("12h"), hours(12));
    EXPECT_EQ(parse_duration("7d"), hours(7 * 24));
    EXPECT_EQ(parse_duration("2w"), hours(14 * 24));
    EXPECT_EQ(parse_duration("36500d"), hours(36500 * 24));
}

TEST(DurationTest, otherTextsAreRefused) {
    for (const char* text : {"", "7", "d", "-1d", "+1d", "1.5d", "7D", "7 d", "7dd", "36501d",
                             "18446744073709551615w", "18446744073709551616s", " 7d"}) {
        EXPECT_FALSE(parse_duration(text)) << text;
    }
}

} // namespace
} // namespace logging2::tools
