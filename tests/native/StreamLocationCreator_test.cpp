#include <logging2/native/StreamLocationCreator.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/support/Umask.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <regex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace logging2::core::test {
namespace {

std::string user() {
    const passwd* const entry = getpwuid(getuid()); // NOLINT(concurrency-mt-unsafe)
    return entry != nullptr ? entry->pw_name : "unknown";
}

std::filesystem::path uniquePath(const StreamLocationCreator& creator) {
    return native(creator.getUniquePath().text());
}

TEST(StreamLocationCreatorTest, pathIsTheUserDirectoryAndAUuid) {
    const SystemTempDirectory directory;
    const StreamLocationCreator creator;
    const std::filesystem::path path = uniquePath(creator);
    EXPECT_EQ(path.parent_path(), directory.path() / ("trakontmp." + user()));
    EXPECT_TRUE(std::regex_match(path.filename().string(),
                                 std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")));
}

TEST(StreamLocationCreatorTest, createsAnEmptyUserDirectory) {
    const SystemTempDirectory directory;
    const StreamLocationCreator creator;
    const std::filesystem::path path = uniquePath(creator);
    EXPECT_TRUE(std::filesystem::is_directory(path.parent_path()));
    EXPECT_TRUE(std::filesystem::is_empty(path.parent_path()));
}

TEST(StreamLocationCreatorTest, userDirectoryIsPrivateUnderAnyUmask) {
    for (const mode_t mask : {0U, 022U, 0777U}) {
        const SystemTempDirectory directory;
        const Umask umask(mask);
        const StreamLocationCreator creator;
        EXPECT_EQ(std::filesystem::status(uniquePath(creator).parent_path()).permissions(),
                  std::filesystem::perms::owner_all)
            << std::oct << mask;
    }
}

TEST(StreamLocationCreatorTest, existingUserDirectoryKeepsItsPermissions) {
    const SystemTempDirectory directory;
    const std::filesystem::path existing = directory.path() / ("trakontmp." + user());
    std::filesystem::create_directory(existing);
    std::filesystem::permissions(existing, std::filesystem::perms::all);
    const StreamLocationCreator creator;
    EXPECT_EQ(uniquePath(creator).parent_path(), existing);
    EXPECT_EQ(std::filesystem::status(existing).permissions(), std::filesystem::perms::all);
}

TEST(StreamLocationCreatorTest, createsMissingParents) {
    const SystemTempDirectory directory;
    const auto former = fl::filesystem::setTempDirectoryName([&] {
        return foundation::utf8_string_to_ustring((directory.path() / "a" / "b").string());
    });
    const StreamLocationCreator creator;
    EXPECT_TRUE(std::filesystem::is_directory(uniquePath(creator).parent_path()));
    fl::filesystem::setTempDirectoryName(former);
}

TEST(StreamLocationCreatorTest, twoCreatorsShareTheDirectoryButNotThePath) {
    const SystemTempDirectory directory;
    const StreamLocationCreator first;
    const StreamLocationCreator second;
    EXPECT_EQ(uniquePath(first).parent_path(), uniquePath(second).parent_path());
    EXPECT_NE(uniquePath(first), uniquePath(second));
}

TEST(StreamLocationCreatorTest, pathStaysUntilSetUniquePath) {
    const SystemTempDirectory directory;
    StreamLocationCreator creator;
    const auto* const path = &creator.getUniquePath();
    const std::u16string former = path->text();
    EXPECT_EQ(creator.getUniquePath().text(), former);
    creator.setUniquePath();
    EXPECT_EQ(&creator.getUniquePath(), path);
    EXPECT_NE(creator.getUniquePath().text(), former);
}

TEST(StreamLocationCreatorTest, uniqueIdIsNewOnEveryCall) {
    const SystemTempDirectory directory;
    const StreamLocationCreator creator;
    const std::u16string id = creator.uniqueId().text();
    EXPECT_EQ(id.size(), 36U);
    EXPECT_NE(creator.uniqueId().text(), id);
    EXPECT_EQ(creator.getUniquePath().text().find(id), std::u16string::npos);
}

TEST(StreamLocationCreatorTest, anyFileOfTheDirectoryNameCountsAsExisting) {
    const SystemTempDirectory directory;
    writeBytes(directory.path() / ("trakontmp." + user()), "a file");
    const StreamLocationCreator creator;
    EXPECT_EQ(bytesOf(uniquePath(creator).parent_path()), "a file");
}

// A dangling link does not exist, but its name cannot be created. A creator sees the same if
// another process creates the directory first.
TEST(StreamLocationCreatorTest, directoryCreatedMeanwhileIsAccepted) {
    const SystemTempDirectory directory;
    std::filesystem::create_symlink("nowhere", directory.path() / ("trakontmp." + user()));
    EXPECT_NO_THROW(StreamLocationCreator());
}

TEST(StreamLocationCreatorTest, manyThreadsMayCreateTheDirectoryAtOnce) {
    for (int round = 0; round < 20; ++round) {
        const SystemTempDirectory directory;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] { EXPECT_NO_THROW(StreamLocationCreator()); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_TRUE(std::filesystem::is_directory(directory.path() / ("trakontmp." + user())));
    }
}

TEST(StreamLocationCreatorTest, failedDirectoryCreationThrowsAndKeepsThePath) {
    const SystemTempDirectory directory;
    StreamLocationCreator creator;
    const std::u16string former = creator.getUniquePath().text();
    writeBytes(directory.path() / "file", "x");
    const auto restore = fl::filesystem::setTempDirectoryName(
        [&] { return foundation::utf8_string_to_ustring((directory.path() / "file").string()); });
    EXPECT_THROW(creator.setUniquePath(), std::filesystem::filesystem_error);
    EXPECT_EQ(creator.getUniquePath().text(), former);
    EXPECT_THROW(StreamLocationCreator(), std::filesystem::filesystem_error);
    fl::filesystem::setTempDirectoryName(restore);
}

TEST(StreamLocationCreatorTest, destructionKeepsDirectoryAndFiles) {
    const SystemTempDirectory directory;
    std::filesystem::path file;
    {
        const StreamLocationCreator creator;
        file = uniquePath(creator).string() + "_times_0";
        writeBytes(file, "x");
    }
    EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(StreamLocationCreatorTest, temporaryDirectoryOfTheHostIsUsedUnchanged) {
    const SystemTempDirectory directory;
    StreamLocationCreator creator;
    const auto former = fl::filesystem::setTempDirectoryName([] { return u"/not/there/../x"; });
    EXPECT_EQ(creator.tempdir().text(), u"/not/there/../x");
    fl::filesystem::setTempDirectoryName(former);
}

// An empty name is valid: the user's directory is then below the current directory.
TEST(StreamLocationCreatorTest, emptyTemporaryDirectoryCausesNoFallback) {
    const SystemTempDirectory directory;
    const std::filesystem::path current = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    const auto former = fl::filesystem::setTempDirectoryName([] { return u""; });
    StreamLocationCreator creator;
    EXPECT_TRUE(creator.tempdir().empty());
    EXPECT_EQ(uniquePath(creator).parent_path(), "trakontmp." + user());
    fl::filesystem::setTempDirectoryName(former);
    std::filesystem::current_path(current);
}

TEST(StreamLocationCreatorTest, hostWithoutATemporaryDirectoryGetsTheCanonicalOne) {
    const SystemTempDirectory directory("-\xc3\xbc");
    std::filesystem::create_directory_symlink(directory.path(), directory.path() / "link");
    setenv("TMPDIR", (directory.path() / "link").c_str(), 1);
    const auto former = fl::filesystem::setTempDirectoryName(
        []() -> std::u16string { throw std::runtime_error("none"); });
    StreamLocationCreator creator;
    EXPECT_EQ(native(creator.tempdir().text()), std::filesystem::canonical(directory.path()));
    fl::filesystem::setTempDirectoryName([]() -> std::u16string { throw 1; });
    EXPECT_FALSE(creator.tempdir().empty());
    setenv("TMPDIR", "/not/there", 1);
    EXPECT_ANY_THROW(creator.tempdir());
    unsetenv("TMPDIR");
    fl::filesystem::setTempDirectoryName(former);
}

TEST(StreamLocationCreatorTest, usernameIsTheLoginName) {
    const SystemTempDirectory directory;
    EXPECT_EQ(native(StreamLocationCreator().username().text()), user());
}

} // namespace
} // namespace logging2::core::test
