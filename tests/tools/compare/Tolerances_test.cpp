#include <tools/UsageError.hpp>
#include <tools/compare/Tolerances.hpp>

#include <gtest/gtest.h>

#include <sstream>

namespace logging2::tools {
namespace {

Tolerances tolerances(const std::string& text) {
    Tolerances result(Tolerance{1, 2, 3});
    std::istringstream file(text);
    result.read(file, "file");
    return result;
}

std::string message_of(const std::string& text) {
    try {
        tolerances(text);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no error";
}

TEST(TolerancesTest, lineChangesWhatItSays) {
    const Tolerance result = tolerances("pump.* relative=1e-2").of("pump.p");
    EXPECT_EQ(result.absolute, 1);
    EXPECT_EQ(result.relative, 0.01);
    EXPECT_EQ(result.time, 3);
}

TEST(TolerancesTest, lastMatchingLineWins) {
    const Tolerances both = tolerances("a* absolute=5 time=6\nab absolute=7\n");
    EXPECT_EQ(both.of("ac").absolute, 5);
    EXPECT_EQ(both.of("ab").absolute, 7);
    EXPECT_EQ(both.of("ab").time, 3);
    EXPECT_EQ(both.of("b").absolute, 1);
}

TEST(TolerancesTest, commentsAndEmptyLinesSayNothing) {
    const Tolerances result = tolerances("# first\n\n  \t\nx absolute=4 # absolute=5\n#x time=1");
    EXPECT_EQ(result.of("x").absolute, 4);
    EXPECT_EQ(result.of("x").time, 3);
}

TEST(TolerancesTest, wrongLineIsNamed) {
    EXPECT_EQ(message_of("# a\nx abs=1"), "file:2: \"abs=1\" is neither absolute=NUMBER, "
                                          "relative=NUMBER nor time=NUMBER");
    EXPECT_EQ(message_of("x absolute"), "file:1: \"absolute\" is neither absolute=NUMBER, "
                                        "relative=NUMBER nor time=NUMBER");
    EXPECT_EQ(message_of("x absolute=1 absolute=2"), "file:1: absolute is given twice");
    EXPECT_EQ(message_of("\n\nx"), "file:3: there is no tolerance after the pattern \"x\"");
    for (const char* const number : {"", "-1", "1e", "nan", "inf", "1,5", "0x1"}) {
        EXPECT_EQ(message_of("x time=" + std::string(number)),
                  "file:1: \"" + std::string(number) + "\" is not a number of at least 0");
    }
}

} // namespace
} // namespace logging2::tools
