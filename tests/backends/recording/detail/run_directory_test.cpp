#include <logging2/backends/recording/detail/run_directory.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/Umask.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>

namespace logging2::core::detail {
namespace {

using core::test::TemporaryDirectory;
using ::testing::EndsWith;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

namespace fs = std::filesystem;

const std::chrono::system_clock::time_point someTime{std::chrono::seconds(1795299330)};

std::string name_for(const std::string& streamName) {
    return directory_name(streamName, someTime, "1f3a9c77-and-more");
}

TEST(RunDirectoryTest, nameHasTheTimeAndSixCharactersOfTheMark) {
    EXPECT_EQ(name_for("ball"), "ball-20261121T221530Z-1f3a9c.recording");
}

TEST(RunDirectoryTest, emptyNameBecomesRun) {
    EXPECT_THAT(name_for(""), StartsWith("run-2026"));
}

TEST(RunDirectoryTest, otherCharactersBecomeUnderscores) {
    EXPECT_THAT(name_for("a/b c%d\n\xc3\xa4"), StartsWith("a_b_c_d___-2026"));
    EXPECT_THAT(name_for("A.b-c_9"), StartsWith("A.b-c_9-2026"));
    EXPECT_THAT(name_for(std::string("a\0b", 3)), StartsWith("a_b-2026"));
}

TEST(RunDirectoryTest, nameNeverHidesOrLeavesTheDirectory) {
    EXPECT_THAT(name_for("."), StartsWith("_-2026"));
    EXPECT_THAT(name_for("../x"), StartsWith("_._x-2026"));
}

TEST(RunDirectoryTest, longNameIsCutOff) {
    EXPECT_THAT(name_for(std::string(100, 'n')), StartsWith(std::string(64, 'n') + "-2026"));
}

TEST(RunDirectoryTest, directoryIsMadeWithItsParents) {
    const TemporaryDirectory directory;
    const fs::path parent = directory.path() / "a" / "b";
    const std::string made = make_run_directory(parent.string(), "ball", someTime, 0700);
    EXPECT_TRUE(fs::is_directory(made));
    EXPECT_EQ(fs::path(made).parent_path(), parent);
    EXPECT_THAT(fs::path(made).filename().string(),
                MatchesRegex("ball-20261121T221530Z-[0-9a-f]+\\.recording"));
}

TEST(RunDirectoryTest, equalNamesInOneSecondGetDirectoriesOfTheirOwn) {
    const TemporaryDirectory directory;
    const std::string parent = directory.path().string();
    EXPECT_NE(make_run_directory(parent, "x", someTime, 0700),
              make_run_directory(parent, "x", someTime, 0700));
    EXPECT_EQ(directory.names().size(), 2U);
}

TEST(RunDirectoryTest, permissionsDoNotDependOnTheUmask) {
    const TemporaryDirectory directory;
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        const core::test::Umask umask(mask);
        const std::string made = make_run_directory(directory.path().string(), "x", someTime, 0751);
        EXPECT_EQ(fs::status(made).permissions(), fs::perms(0751));
    }
}

TEST(RunDirectoryTest, parentThatIsAFileIsAnError) {
    const TemporaryDirectory directory;
    const std::string parent = (directory.path() / "file").string();
    core::test::writeBytes(parent, "x");
    try {
        make_run_directory(parent, "x", someTime, 0700);
        FAIL() << "nothing was thrown";
    } catch (const RecordingError& error) {
        EXPECT_EQ(error.location(), parent);
        EXPECT_THAT(error.what(), StartsWith(parent + ": cannot make the directory: "));
    }
}

} // namespace
} // namespace logging2::core::detail
