#include <tools/view/HttpError.hpp>
#include <tools/view/Query.hpp>

#include <gmock/gmock.h>

#include <string>

namespace logging2::tools::view {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// Why the question is refused; empty if it is not.
template <class Question>
std::string refusal(const Question& question) {
    try {
        question();
        return {};
    } catch (const HttpError& error) {
        EXPECT_EQ(error.status(), 400);
        return error.what();
    }
}

std::string refusal_of(const std::string& text) {
    return refusal([&text] { const Query query(text); });
}

TEST(QueryTest, valuesAreUnescaped) {
    const Query query("signal=a%2Eb%20%c3%A4+c&other=1%2B1%3D2%26");
    EXPECT_EQ(query.text("signal"), "a.b \xc3\xa4 c");
    EXPECT_EQ(query.text("other"), "1+1=2&");
}

TEST(QueryTest, valueMayContainTheSign) {
    EXPECT_EQ(Query("a=b=c").text("a"), "b=c");
}

TEST(QueryTest, repeatedParametersKeepTheirOrder) {
    EXPECT_THAT(Query("s=2&t=x&s=1").texts("s", 2), ElementsAre("2", "1"));
}

TEST(QueryTest, malformedTextIsRefused) {
    for (const char* const text :
         {"a", "=", "=b", "&", "a=b&&c=d", "a=%", "a=%4", "a=%4g", "a=%zz", "a=\x01", "a=\x7f",
          "a=\xc3\xa4", "a= b", "a=%00", "a=%0a", "a=%7F", "a%0D=b"}) {
        EXPECT_NE(refusal_of(text), "") << text;
    }
}

TEST(QueryTest, tooManyParametersAreRefused) {
    std::string text = "a=1";
    for (int k = 1; k < 512; ++k) {
        text += "&a=1";
    }
    EXPECT_EQ(refusal_of(text), "");
    EXPECT_THAT(refusal_of(text + "&a=1"), HasSubstr("more than 512"));
}

TEST(QueryTest, errorsNameTheParameter) {
    const Query query("x=1&x=2&n=-1&t=abc&e=");
    EXPECT_THAT(refusal([&] { query.allow({"x", "n", "t"}); }), HasSubstr("\"e\" is not known"));
    EXPECT_THAT(refusal([&] { query.text("missing"); }), HasSubstr("\"missing\" is missing"));
    EXPECT_THAT(refusal([&] { query.text("x"); }), HasSubstr("\"x\" is given more than once"));
    EXPECT_THAT(refusal([&] { query.texts("x", 1); }), HasSubstr("\"x\" is given more than 1"));
    EXPECT_THAT(refusal([&] { query.number("t"); }), HasSubstr("\"t\" is not a finite number"));
    EXPECT_THAT(refusal([&] { query.tolerance("n", 0); }), HasSubstr("\"n\" is negative"));
    EXPECT_THAT(refusal([&] { query.count("n", 0, 9); }), HasSubstr("from 0 to 9"));
}

TEST(QueryTest, numbersAreFiniteAndComplete) {
    const auto number = [](const std::string& text) { return Query("n=" + text).number("n"); };
    EXPECT_EQ(number("-1.5"), -1.5);
    EXPECT_EQ(number("1e%2B21"), 1e21);
    EXPECT_EQ(number("2e-7"), 2e-7);
    for (const char* const text :
         {"", "nan", "inf", "-inf", "1e999", "0x10", "1,5", "1.5x", "%201", "1%20", "+1", "--1"}) {
        EXPECT_NE(refusal([&] { number(text); }), "") << text;
    }
}

TEST(QueryTest, countsAreWithinTheirLimits) {
    const auto count = [](const std::string& text) { return Query("n=" + text).count("n", 1, 10); };
    EXPECT_EQ(count("1"), 1U);
    EXPECT_EQ(count("10"), 10U);
    for (const char* const text : {"", "0", "11", "-1", "1.0", "1e0", "99999999999999999999"}) {
        EXPECT_NE(refusal([&] { count(text); }), "") << text;
    }
}

TEST(QueryTest, allCountsAreGivenOut) {
    EXPECT_THAT(Query("n=1&n=0&n=1").counts("n", 3), ElementsAre(1, 0, 1));
    EXPECT_NE(refusal([&] { Query("n=1&n=x").counts("n", 3); }), "");
    EXPECT_NE(refusal([&] { Query("n=1&n=0").counts("n", 1); }), "");
}

TEST(QueryTest, missingToleranceHasItsStandard) {
    EXPECT_EQ(Query().tolerance("absolute", 0.5), 0.5);
    EXPECT_EQ(Query("absolute=2").tolerance("absolute", 0.5), 2.0);
}

} // namespace
} // namespace logging2::tools::view
