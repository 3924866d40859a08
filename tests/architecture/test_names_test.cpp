#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <regex>
#include <string>
#include <vector>

// A test is named by its rule, in at most ten words.

namespace logging2::core::test {
namespace {

constexpr std::size_t wordLimit = 10;

/// The words of a name in camel case or with separators. An article is a word: "A" + "Row".
std::size_t word_count(const std::string& name) {
    static const std::regex word("[A-Z]?[a-z0-9]+|[A-Z]+(?![a-z])");
    return static_cast<std::size_t>(
        std::distance(std::sregex_iterator(name.begin(), name.end(), word), {}));
}

/// Whether a part of "Suite.rule/parameter" after the suite has too many words. A parameter does
/// not count as a part of the rule, but it may be the name of a rule itself.
bool is_too_long(const std::string& test) {
    static const std::regex part("[^/]+");
    const std::size_t dot = test.find('.');
    const std::string rule = dot == std::string::npos ? test : test.substr(dot + 1);
    for (std::sregex_iterator found(rule.begin(), rule.end(), part), end; found != end; ++found) {
        if (word_count(found->str()) > wordLimit) {
            return true;
        }
    }
    return false;
}

/// The output of the command.
std::string output_of(const std::string& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char block[4096];
    while (const std::size_t byteCount = std::fread(block, 1, sizeof block, pipe.get())) {
        output.append(block, byteCount);
    }
    return output;
}

/// The names of all tests of this build, without what CTest adds to those with a parameter. They
/// are listed from another directory, because a second CTest in the build directory would overwrite
/// the log of the first.
std::vector<std::string> listed_tests() {
    const TemporaryDirectory directory;
    writeBytes(directory.path() / "CTestTestfile.cmake", "subdirs(\"" LOGGING2_BINARY_DIR "\")\n");
    const std::string list =
        output_of("'" LOGGING2_CTEST "' -N --test-dir '" + directory.path().string() + "'");
    static const std::regex pattern(R"(Test +#\d+: ([^\s<]+))");
    return {std::sregex_token_iterator(list.begin(), list.end(), pattern, 1), {}};
}

TEST(TestNamesTest, everyRuleHasAtMostTenWords) {
    const std::vector<std::string> tests = listed_tests();
    EXPECT_THAT(tests, ::testing::Contains("TestNamesTest.everyRuleHasAtMostTenWords"));
    for (const std::string& test : tests) {
        EXPECT_FALSE(is_too_long(test)) << test;
    }
}

TEST(TestNamesTest, plantedLongNamesAreFound) {
    EXPECT_EQ(word_count("writeAppendsARowToThe64MiBBuffer"), 9U);
    EXPECT_EQ(word_count("find_package-g++-17-Debug"), 5U);
    EXPECT_FALSE(is_too_long("SuiteOfTests.oneTwoThreeFourFiveSixSevenEightNineTen"));
    EXPECT_TRUE(is_too_long("SuiteOfTests.oneTwoThreeFourFiveSixSevenEightNineTenEleven"));
    EXPECT_TRUE(is_too_long("Scripts.one-two-three-four-five-six-seven-eight-nine-ten-eleven"));
    EXPECT_TRUE(is_too_long("one_two_three_four_five_six_seven_eight_nine_ten_eleven"));
    EXPECT_FALSE(is_too_long("A/Tests.oneTwoThreeFourFiveSixSevenEightNineTen/eleven"));
    EXPECT_TRUE(is_too_long("A/Tests.keeps/oneTwoThreeFourFiveSixSevenEightNineTenEleven"));
}

} // namespace
} // namespace logging2::core::test
