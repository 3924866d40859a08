#include <tests/backends/checked_backends.hpp>

// The rules of a checked back-end for the setup of a writer.

namespace logging2::core::test {
namespace {

class CheckedSetupTest : public CheckedBackendsTest {
protected:
    static std::string mistake(const std::string& name, const GroupSetup& setup) {
        return mistake_of([&] { writer(name, setup)->flush(); });
    }
};

GroupSetup two_groups(std::vector<LoggedPath> firstPaths, std::vector<LoggedChannel> firstChannels,
                      std::vector<LoggedPath> secondPaths,
                      std::vector<LoggedChannel> secondChannels) {
    return {{Group(0), LoggedPathsSetupData(std::move(firstPaths), std::move(firstChannels))},
            {Group(1), LoggedPathsSetupData(std::move(secondPaths), std::move(secondChannels))}};
}

GroupSetup channel_5_in_two_groups() {
    return two_groups(paths({{"x", 5}}), channels({{5, 1}}), paths({{"y", 5}}),
                      channels({{4, 1}, {5, 1}}));
}

TEST_P(CheckedBackendTest, setupRefusesAPathInTwoGroups) {
    const GroupSetup setup =
        two_groups(paths({{"x", 1}}), channels({{1, 1}}), paths({{"x", 2}}), channels({{2, 1}}));
    EXPECT_EQ(
        mistake_of([&] { checkedWriter(setup); }),
        "setup: the path \"x\" is in group 0 and in group 1, but a path belongs to one group");
}

TEST_P(CheckedBackendTest, setupRefusesAPathOfTwoChannels) {
    const GroupSetup setup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}, {"x", 2}}), channels({{1, 1}, {2, 1}}))}};
    EXPECT_EQ(mistake_of([&] { checkedWriter(setup); }),
              "setup: the path \"x\" shows channel 1 and channel 2, but a path shows one channel");
}

TEST_P(CheckedBackendTest, setupMayListAPathTwice) {
    const GroupSetup setup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}, {"x", 1}}), channels({{1, 1}}))}};
    EXPECT_EQ(mistake_of([&] { checkedWriter(setup)->flush(); }), noError);
}

TEST_F(CheckedSetupTest, memoryGroupIdsMustCountFromZero) {
    for (const std::string name : {"memory", "memory-restricted"}) {
        EXPECT_EQ(mistake("checked:" + name, groups_of({5, 0, 2})),
                  "setup: the groups are 0, 2 and 5, but the back-end \"" + name +
                      "\" needs ids that count from 0");
        EXPECT_EQ(mistake("checked:" + name, groups_of({1})),
                  "setup: the only group is 1, but the back-end \"" + name +
                      "\" needs ids that count from 0");
        EXPECT_EQ(mistake("checked:" + name, groups_of({2, 1, 0})), noError);
        EXPECT_EQ(mistake("checked:" + name, GroupSetup()), noError);
    }
}

TEST_F(CheckedSetupTest, fileChannelMustBelongToOneGroup) {
    EXPECT_EQ(mistake("checked:native", channel_5_in_two_groups()),
              "setup: channel 5 is in group 0 and in group 1, but the back-end \"native\" needs "
              "channel numbers that are listed once, in one group");
}

TEST_F(CheckedSetupTest, fileChannelMustBeListedOnce) {
    const GroupSetup setup{
        {Group(0), LoggedPathsSetupData(paths({{"x", 5}}), channels({{5, 1}, {4, 1}, {5, 2}}))}};
    EXPECT_EQ(mistake("checked:native", setup),
              "setup: channel 5 is listed twice in group 0, but the back-end \"native\" needs "
              "channel numbers that are listed once, in one group");
}

// Otherwise the other group's rows would be written to the file of this path.
TEST_F(CheckedSetupTest, filePathMustNotShowAnotherGroupsChannel) {
    const GroupSetup setup = two_groups(paths({{"x", 1}, {"y", 2}}), channels({{1, 1}}),
                                        paths({{"z", 2}}), channels({{2, 1}}));
    EXPECT_EQ(mistake("checked:native", setup),
              "setup: channel 2 is in group 0 and in group 1, but the back-end \"native\" needs "
              "channel numbers that are listed once, in one group");
}

TEST_F(CheckedSetupTest, memoryChannelsMayRepeat) {
    EXPECT_EQ(mistake("checked:memory", channel_5_in_two_groups()), noError);
    EXPECT_EQ(mistake("checked:memory-restricted", channel_5_in_two_groups()), noError);
}

TEST_F(CheckedSetupTest, otherBackendsHaveNoFurtherRules) {
    registerWithChecks(double_backend(std::make_shared<Script>()));
    EXPECT_EQ(mistake("checked:double", channel_5_in_two_groups()), noError);
    EXPECT_EQ(mistake("checked:double", groups_of({3, 9})), noError);
}

TEST_F(CheckedSetupTest, optionsAddRulesForOtherBackends) {
    CheckedOptions options;
    options.groupIdsAreIndices = true;
    options.channelsAreUnique = true;
    registerWithChecks(double_backend(std::make_shared<Script>()), options);
    EXPECT_NE(mistake("checked:double", channel_5_in_two_groups()), noError);
    EXPECT_NE(mistake("checked:double", groups_of({3, 9})), noError);
}

TEST_F(CheckedSetupTest, optionsOverrideTheRulesOfKnownBackends) {
    CheckedOptions options;
    options.channelsAreUnique = false;
    unregister();
    registerWithChecks(builtin_backends().back(), options);
    EXPECT_EQ(mistake("checked:native", channel_5_in_two_groups()), noError);
}

TEST_F(CheckedSetupTest, refusedSetupMakesNoInnerWriter) {
    const auto script = std::make_shared<Script>();
    CheckedOptions options;
    options.groupIdsAreIndices = true;
    registerWithChecks(double_backend(script), options);
    script->onCreate = [] { ADD_FAILURE() << "a writer was made"; };
    EXPECT_NE(mistake("checked:double", groups_of({3})), noError);
}

} // namespace
} // namespace logging2::core::test
