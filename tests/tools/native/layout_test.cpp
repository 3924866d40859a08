#include <tools/UsageError.hpp>
#include <tools/native/layout.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace logging2::tools {
namespace {

StreamFile file_of(std::uint64_t byteCount) {
    StreamFile file;
    file.byteCount = byteCount;
    return file;
}

GroupFiles group_of(std::uint64_t timesByteCount,
                    const std::map<std::size_t, std::uint64_t>& channels) {
    GroupFiles files;
    files.times = file_of(timesByteCount);
    for (const auto& [id, byteCount] : channels) {
        files.channels.emplace(id, file_of(byteCount));
    }
    return files;
}

LeftOver left_over_of(const GroupFiles& files) {
    LeftOver leftOver;
    leftOver.groups.emplace(0, files);
    return leftOver;
}

Layout parsed(const std::string& text) {
    std::istringstream file(text);
    return read_layout(file);
}

std::string refusal(const std::string& text) {
    try {
        parsed(text);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

TEST(NativeLayoutTest, widthsFollowFromTheSizesOfTheFiles) {
    const GroupFiles files = group_of(24, {{4, 24}, {7, 72}});
    const Layout layout = layout_of(left_over_of(files));
    const std::vector<ChannelLayout>& channels = layout.at(0);
    ASSERT_EQ(channels.size(), 2U);
    EXPECT_EQ(channels[0].width, 1U);
    EXPECT_EQ(channels[1].width, 3U);
    EXPECT_EQ(channels[1].paths, std::vector<std::string>{"group-0.channel-7"});
    EXPECT_TRUE(has_certain_widths(files));
}

TEST(NativeLayoutTest, widthsOfInterruptedGroupsAreGuessed) {
    const GroupFiles files = group_of(80, {{0, 8}, {1, 88}});
    const Layout layout = layout_of(left_over_of(files));
    EXPECT_EQ(layout.at(0)[0].width, 1U);
    EXPECT_EQ(layout.at(0)[1].width, 2U);
    EXPECT_FALSE(has_certain_widths(files));
    EXPECT_FALSE(has_certain_widths(group_of(81, {{0, 80}})));
    EXPECT_FALSE(has_certain_widths(group_of(80, {{0, 0}})));
    EXPECT_FALSE(has_certain_widths(group_of(0, {{0, 0}})));
    EXPECT_TRUE(has_certain_widths(group_of(80, {})));
}

struct CountCase {
    GroupFiles files;
    std::vector<std::uint64_t> widths;
    std::uint64_t complete;
    std::uint64_t incomplete;
};

TEST(NativeLayoutTest, stepsAreCompleteIfAllFilesHaveThem) {
    GroupFiles withoutTimes = group_of(0, {{0, 16}});
    withoutTimes.times.reset();
    const CountCase cases[] = {
        {group_of(0, {}), {}, 0, 0},
        {group_of(24, {}), {}, 3, 0},
        {group_of(24, {{0, 24}, {1, 48}}), {1, 2}, 3, 0},
        {group_of(24, {{0, 24}, {1, 40}}), {1, 2}, 2, 1},
        {group_of(24, {{0, 24}, {1, 33}}), {1, 2}, 2, 1},
        {group_of(20, {{0, 16}}), {1}, 2, 1},
        {group_of(24, {{0, 17}}), {1}, 2, 1},
        {group_of(24, {}), {1}, 0, 3},
        {group_of(24, {{0, 0}}), {0}, 3, 0},
        {withoutTimes, {1}, 0, 2},
    };
    for (const CountCase& each : cases) {
        std::vector<ChannelLayout> channels;
        for (const std::uint64_t width : each.widths) {
            channels.push_back({channels.size(), width, {"p" + std::to_string(channels.size())}});
        }
        const StepCounts counts = count_steps(each.files, channels);
        EXPECT_EQ(counts.complete, each.complete) << &each - cases;
        EXPECT_EQ(counts.incomplete, each.incomplete) << &each - cases;
    }
}

TEST(NativeLayoutTest, channelsWithoutPathsDoNotCount) {
    const StepCounts counts = count_steps(group_of(24, {{0, 24}}), {{0, 1, {"x"}}, {1, 5, {}}});
    EXPECT_EQ(counts.complete, 3U);
    EXPECT_EQ(counts.incomplete, 0U);
}

TEST(NativeLayoutTest, rowsAreAtMost64MiB) {
    constexpr std::uint64_t most = 8'388'608;
    EXPECT_EQ(row_width({{0, most - 1, {"x"}}, {1, 1, {"y"}}}), most);
    EXPECT_THROW(row_width({{0, most - 1, {"x"}}, {1, 2, {"y"}}}), UsageError);
    constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_THROW(row_width({{0, 1, {"x"}}, {1, greatest, {"y"}}}), UsageError);
    EXPECT_EQ(row_width({{0, 1, {"x"}}, {1, greatest, {}}}), 1U);
}

TEST(NativeLayoutTest, setupNamesChannels) {
    const Layout layout = parsed(R"({"groups": [{"id": 2, "channels": [
        {"id": 5, "width": 3, "paths": ["a", "b"]}, {"id": 6, "width": 1},
        {"id": 7, "width": 1, "paths": []}]}]})");
    const std::vector<ChannelLayout>& channels = layout.at(2);
    ASSERT_EQ(channels.size(), 3U);
    EXPECT_EQ(channels[0].id, 5U);
    EXPECT_EQ(channels[0].width, 3U);
    EXPECT_EQ(channels[0].paths, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(channels[1].paths, std::vector<std::string>{"group-2.channel-6"});
    EXPECT_TRUE(channels[2].paths.empty());
}

TEST(NativeLayoutTest, wrongSetupsAreRefused) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "not JSON"},
        {"{", "not JSON"},
        {"[]", "must be an object"},
        {"{}", "\"groups\" must be a list"},
        {R"({"groups": [], "name": "x"})", "unknown member \"name\""},
        {R"({"groups": [{"id": -1, "channels": []}]})", "\"id\" must be a whole number"},
        {R"({"groups": [{"id": 0}]})", "\"channels\" must be a list"},
        {R"({"groups": [{"id": 0, "channels": []}, {"id": 0, "channels": []}]})", "group 0"},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1}]}]})", "\"width\" must be"},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1, "width": 1.5}]}]})", "\"width\" must be"},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1, "width": 1, "path": "x"}]}]})",
         "unknown member \"path\""},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1, "width": 1, "paths": [""]}]}]})",
         "a path must be a text"},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1, "width": 1, "paths": ["x", "x"]}]}]})",
         "the path \"x\""},
        {R"({"groups": [{"id": 0, "channels": [{"id": 1, "width": 1}]},
                        {"id": 2, "channels": [{"id": 1, "width": 1}]}]})",
         "channel 1 is in it twice"},
    };
    for (const auto& [text, message] : cases) {
        EXPECT_NE(refusal(text).find(message), std::string::npos) << text << ": " << refusal(text);
    }
}

TEST(NativeLayoutTest, longSetupsAreRefused) {
    EXPECT_NE(refusal(std::string(17 * 1024 * 1024, ' ')).find("16 MiB"), std::string::npos);
}

TEST(NativeLayoutTest, setupMustFitTheFiles) {
    const LeftOver leftOver = left_over_of(group_of(24, {{0, 24}, {1, 72}}));
    const auto check = [&](std::uint64_t width, const std::vector<std::string>& paths) {
        check_layout({{0, {{0, 1, {"x"}}, {1, width, paths}}}}, leftOver);
    };
    EXPECT_NO_THROW(check(3, {"y"}));
    EXPECT_NO_THROW(check(4, {"y"}));
    EXPECT_THROW(check(2, {"y"}), UsageError);
    EXPECT_THROW(check(3, {}), UsageError);
    EXPECT_THROW(check_layout({{0, {{0, 1, {"x"}}}}}, leftOver), UsageError);
    EXPECT_THROW(check_layout({{1, {{0, 1, {"x"}}, {1, 3, {"y"}}}}}, leftOver), UsageError);
}

} // namespace
} // namespace logging2::tools
