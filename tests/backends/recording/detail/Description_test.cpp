#include <logging2/backends/recording/detail/Description.hpp>

#include <logging2/conformance/detail/setups.hpp>

#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

namespace logging2::core::detail {
namespace {

using core::test::channels;
using core::test::GroupSetup;
using core::test::paths;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

constexpr const char* formatLine = "logging2 recording 1\n";

/// Every byte there is, the zero included.
std::string every_byte() {
    std::string text;
    for (int byte = 0; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    return text;
}

Description odd_description() {
    Description description;
    description.id = "01234567-89ab-cdef-0123-456789abcdef";
    description.name = every_byte();
    description.start = "2026-11-21T22:15:30.123456Z";
    description.host = "";
    description.process = "%";
    description.libraryVersion = "%%41 ";
    description.properties = {{"", ""}, {" ", "\n"}, {"key with blanks", "a=b\tc"}};
    description.groups = {{7, {{0, 1}, {5, 0}, {~std::size_t{0}, 1000}}, {{"", 0}, {" \n", 2}}},
                          {~std::size_t{0}, {}, {}}};
    return description;
}

TEST(DescriptionTest, everyTextComesBack) {
    const Description former = odd_description();
    const Description description = description_of(text_of(former));
    EXPECT_EQ(description.id, former.id);
    EXPECT_EQ(description.name, former.name);
    EXPECT_EQ(description.start, former.start);
    EXPECT_EQ(description.host, former.host);
    EXPECT_EQ(description.process, former.process);
    EXPECT_EQ(description.libraryVersion, former.libraryVersion);
    EXPECT_EQ(description.properties, former.properties);
    EXPECT_EQ(text_of(description), text_of(former));
}

TEST(DescriptionTest, groupsComeBack) {
    const auto groups = description_of(text_of(odd_description())).groups;
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].id, 7U);
    EXPECT_EQ(widths_of(groups[0]), (std::vector<std::size_t>{1, 0, 1000}));
    EXPECT_EQ(groups[0].channels[2].number, ~std::size_t{0});
    ASSERT_EQ(groups[0].paths.size(), 2U);
    EXPECT_EQ(groups[0].paths[0].text, "");
    EXPECT_EQ(groups[0].paths[1].text, " \n");
    EXPECT_EQ(groups[0].paths[1].channel, 2U);
    EXPECT_EQ(groups[1].id, ~std::size_t{0});
    EXPECT_TRUE(groups[1].channels.empty());
}

TEST(DescriptionTest, textHasOneLineForEachFact) {
    Description description;
    description.groups = {{0, {{3, 1}}, {{"a b", 0}}}};
    EXPECT_EQ(text_of(description), "logging2 recording 1\nid %\nname %\nstart %\nhost %\n"
                                    "process %\nversion %\ngroup 0\nchannel 3 1\npath 0 a%20b\n");
}

class MalformedDescriptionTest
    : public ::testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(MalformedDescriptionTest, isRefusedWithTheLineAndTheCause) {
    const auto& [lines, message] = GetParam();
    EXPECT_THAT([text = std::string(formatLine) + lines] { description_of(text); },
                ThrowsMessage<std::runtime_error>(HasSubstr(message)));
}

INSTANTIATE_TEST_SUITE_P(
    Line, MalformedDescriptionTest,
    ::testing::Values(
        std::pair("\n", "line 2 of the description: a word is missing"),
        std::pair("colour red\n", "line 2 of the description: \"colour\" is unknown"),
        std::pair("name\n", "a word is missing"), std::pair("name a b\n", "too many words"),
        std::pair("name %4\n", "a percent sign without two hexadecimal digits"),
        std::pair("name %zz\n", "a percent sign without two hexadecimal digits"),
        std::pair("name %-1\n", "a percent sign without two hexadecimal digits"),
        std::pair("property key\n", "a word is missing"), std::pair("group\n", "a word is missing"),
        std::pair("group x\n", "\"x\" is not a number"),
        std::pair("group -1\n", "\"-1\" is not a number"),
        std::pair("group 1x\n", "\"1x\" is not a number"),
        std::pair("group 99999999999999999999\n", "is not a number"),
        std::pair("channel 0 1\n", "a group must come before its channels and paths"),
        std::pair("path 0 x\n", "a group must come before its channels and paths"),
        std::pair("group 0\nchannel 0\n", "line 3 of the description: a word is missing"),
        std::pair("group 0\nchannel 0 4294967297\n", "a channel is too wide"),
        std::pair("group 0\nchannel 0 1\npath 1 x\n", "line 4 of the description: a path shows"),
        std::pair("group 0\nchannel 0 1\npath 0\n", "a word is missing")));

TEST(DescriptionTest, otherFirstLineIsRefused) {
    EXPECT_THROW(description_of(""), std::runtime_error);
    EXPECT_THROW(description_of("logging2 recording 2\n"), std::runtime_error);
    EXPECT_THROW(description_of("name x\n"), std::runtime_error);
}

TEST(DescriptionTest, pathOfSeveralGroupsBelongsToTheFirst) {
    const auto groups = groups_of(GroupSetup{
        {Group(4), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 1}}))},
        {Group(2), LoggedPathsSetupData(paths({{"x", 1}, {"y", 1}}), channels({{1, 1}}))}});
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].id, 4U);
    ASSERT_EQ(groups[0].paths.size(), 1U);
    ASSERT_EQ(groups[1].paths.size(), 1U);
    EXPECT_EQ(groups[1].paths[0].text, "y");
}

TEST(DescriptionTest, pathsAreOrderedByChannelAndText) {
    const auto groups = groups_of(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"b", 5}, {"a", 5}, {"z", 9}, {"lost", 3}}),
                                        channels({{9, 1}, {5, 2}}))}});
    ASSERT_EQ(groups[0].paths.size(), 3U);
    EXPECT_EQ(groups[0].paths[0].text, "z");
    EXPECT_EQ(groups[0].paths[1].text, "a");
    EXPECT_EQ(groups[0].paths[1].channel, 1U);
    EXPECT_EQ(groups[0].paths[2].text, "b");
}

TEST(DescriptionTest, timesComeBackToTheMicrosecond) {
    using namespace std::chrono;
    for (const auto sinceEpoch : {microseconds(0), microseconds(-1), microseconds(1795299330123456),
                                  microseconds(4102444800000000)}) {
        const system_clock::time_point time(sinceEpoch);
        EXPECT_EQ(time_of(text_of_time(time)), time);
    }
    EXPECT_EQ(text_of_time(system_clock::time_point(microseconds(1795299330123456))),
              "2026-11-21T22:15:30.123456Z");
}

TEST(DescriptionTest, otherTextsAreNoTimes) {
    for (const char* text : {"", "now", "2026-11-21", "2026-11-21T22:15:30Z",
                             "2026-11-21T22:15:30.123456", "2026-11-21T22:15:30.123456Z ",
                             "0026-11-21T22:15:30.123456Z", "9026-11-21T22:15:30.123456Z"}) {
        EXPECT_THROW(time_of(text), std::runtime_error) << text;
    }
}

TEST(DescriptionTest, uuidHasSixteenBytes) {
    const RunId id = run_id_of("01234567-89ab-cdef-0123-456789abcdef");
    EXPECT_EQ(id.front(), 0x01);
    EXPECT_EQ(id[7], 0xef);
    EXPECT_EQ(id.back(), 0xef);
    EXPECT_NE(new_uuid(), new_uuid());
    EXPECT_NO_THROW(run_id_of(new_uuid()));
}

TEST(DescriptionTest, otherTextsAreNoUuids) {
    for (const char* text :
         {"", "0123456789abcdef0123456789abcdef", "0123456z-89ab-cdef-0123-456789abcdef",
          "01234567-89ab-cdef-0123-456789abcde"}) {
        EXPECT_THROW(run_id_of(text), std::runtime_error) << text;
    }
}

} // namespace
} // namespace logging2::core::detail
