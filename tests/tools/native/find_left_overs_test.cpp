#include <tools/native/find_left_overs.hpp>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

class FindLeftOversTest : public ::testing::Test {
protected:
    FindLeftOversTest() {
        std::string name = (fs::temp_directory_path() / "logging2-find-XXXXXX").string();
        directory = mkdtemp(name.data());
    }
    ~FindLeftOversTest() override { fs::remove_all(directory); }

    void make(const std::string& name) const { std::ofstream(directory / name) << "12345678"; }

    fs::path directory;
    const std::string stem = "0123abcd-0123-4123-8123-0123456789ab";
};

TEST_F(FindLeftOversTest, filesOfAWriterAreOneLeftOver) {
    make(stem + "_times_0");
    make(stem + "_values_0_3");
    make(stem + "_times_7");
    const FoundLeftOvers found = find_left_overs(directory.string());
    ASSERT_EQ(found.leftOvers.size(), 1U);
    EXPECT_EQ(location_of(found.leftOvers[0]), (directory / stem).string());
    EXPECT_EQ(found.leftOvers[0].owner, geteuid());
    EXPECT_EQ(found.leftOvers[0].groups.size(), 2U);
    EXPECT_EQ(byte_count_of(found.leftOvers[0]), 24U);
    EXPECT_FALSE(found.isCut);
}

TEST_F(FindLeftOversTest, filesThatCanBeExecutedAreNotOfAWriter) {
    make(stem + "_times_0");
    fs::permissions(directory / (stem + "_times_0"), fs::perms::owner_all);
    EXPECT_TRUE(find_left_overs(directory.string()).leftOvers.empty());
}

TEST_F(FindLeftOversTest, atMostSoManyFilesAreExamined) {
    for (int group = 0; group < 5; ++group) {
        make(stem + "_times_" + std::to_string(group));
    }
    EXPECT_FALSE(find_left_overs(directory.string(), 5).isCut);
    const FoundLeftOvers found = find_left_overs(directory.string(), 4);
    EXPECT_TRUE(found.isCut);
    EXPECT_EQ(files_of(found.leftOvers.at(0)).size(), 4U);
}

TEST_F(FindLeftOversTest, sizesAreSummedWithoutOverflow) {
    LeftOver leftOver;
    for (std::size_t group = 0; group < 3; ++group) {
        leftOver.groups[group].times = StreamFile();
        leftOver.groups[group].times->byteCount = std::uint64_t{1} << 63U;
    }
    EXPECT_EQ(byte_count_of(leftOver), ~std::uint64_t{0});
}

TEST_F(FindLeftOversTest, timesThatNoClockShowsAreBroughtIntoRange) {
    LeftOver leftOver;
    leftOver.groups[0].times = StreamFile();
    leftOver.groups[0].times->change.tv_sec = std::numeric_limits<time_t>::max();
    EXPECT_EQ(age_of(leftOver).count(), 0);
    leftOver.groups[0].times->change.tv_sec = std::numeric_limits<time_t>::min();
    EXPECT_GT(age_of(leftOver), std::chrono::hours(24 * 365 * 50));
}

} // namespace
} // namespace logging2::tools
