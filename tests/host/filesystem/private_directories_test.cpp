#include <logging2/host/filesystem/operations.hpp>

#include <tests/host/filesystem/paths.hpp>
#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/support/Umask.hpp>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>

// Directories that other users of the machine must not enter.

namespace logging2::core::test {
namespace {

using std::filesystem::filesystem_error;

class PrivateDirectoriesTest : public ::testing::Test {
protected:
    /// A path that is not in use.
    Path freePath() { return inside(directory, std::u16string(++count, u'd')); }

    /// Makes a directory with these permissions under any umask.
    Path directoryWith(mode_t permissions) {
        const Path path = freePath();
        mkdir(native(path.text()).c_str(), 0700);
        chmod(native(path.text()).c_str(), permissions);
        return path;
    }

    SystemTempDirectory directory;

private:
    std::size_t count = 0;
};

TEST_F(PrivateDirectoriesTest, newDirectoryIsPrivateUnderAnyUmask) {
    for (const mode_t mask : {0U, 022U, 077U, 0200U, 0777U}) {
        const Umask umask(mask);
        const Path path = freePath();
        fl::filesystem::create_directories(path);
        EXPECT_EQ(permissionsOf(native(path.text())), 0700U) << std::oct << mask;
    }
}

TEST_F(PrivateDirectoriesTest, missingParentsFollowTheUmask) {
    const Umask umask(022);
    fl::filesystem::create_directories(inside(directory, u"a/b/c"));
    EXPECT_EQ(permissionsOf(directory.path() / "a"), 0755U);
    EXPECT_EQ(permissionsOf(directory.path() / "a" / "b"), 0755U);
    EXPECT_EQ(permissionsOf(directory.path() / "a" / "b" / "c"), 0700U);
}

TEST_F(PrivateDirectoriesTest, trailingSeparatorChangesNothing) {
    const Umask umask(022);
    fl::filesystem::create_directories(inside(directory, u"a/b/"));
    EXPECT_EQ(permissionsOf(directory.path() / "a"), 0755U);
    EXPECT_EQ(permissionsOf(directory.path() / "a" / "b"), 0700U);
    EXPECT_THROW(fl::filesystem::create_directories(inside(directory, u"a/b//")),
                 fl::filesystem::FileExistsError);
}

TEST_F(PrivateDirectoriesTest, existingDirectoryKeepsItsPermissions) {
    const Path path = directoryWith(0755);
    EXPECT_THROW(fl::filesystem::create_directories(path), fl::filesystem::FileExistsError);
    EXPECT_EQ(permissionsOf(native(path.text())), 0755U);
}

TEST_F(PrivateDirectoriesTest, directoryThatOthersCannotWriteIsPrivate) {
    for (const mode_t permissions : {0700U, 0755U, 0500U, 0000U}) {
        EXPECT_TRUE(fl::filesystem::is_private(directoryWith(permissions)))
            << std::oct << permissions;
    }
    const Path created = inside(directory, u"created");
    fl::filesystem::create_directories(created);
    EXPECT_TRUE(fl::filesystem::is_private(created));
}

TEST_F(PrivateDirectoriesTest, directoryThatOthersCanWriteIsNotPrivate) {
    for (const mode_t permissions : {0720U, 0702U, 0777U}) {
        EXPECT_FALSE(fl::filesystem::is_private(directoryWith(permissions)))
            << std::oct << permissions;
    }
}

TEST_F(PrivateDirectoriesTest, directoryOfAnotherUserIsNotPrivate) {
    const Path path = directoryWith(0700);
    // Only root can give a directory away; other users check one of root's directories instead.
    const bool isGiven = chown(native(path.text()).c_str(), geteuid() + 1, gid_t(-1)) == 0;
    EXPECT_FALSE(fl::filesystem::is_private(isGiven ? path : Path(u"/usr")));
}

TEST_F(PrivateDirectoriesTest, onlyDirectoriesArePrivate) {
    writeBytes(directory.path() / "file", "x");
    const Path link = inside(directory, u"link");
    std::filesystem::create_directory_symlink(native(directoryWith(0700).text()),
                                              native(link.text()));
    for (const Path& path : {Path(), inside(directory, u"missing"), inside(directory, u"file"),
                             inside(directory, u"file/below"), link, Path(link.text() + u"/")}) {
        EXPECT_FALSE(fl::filesystem::is_private(path)) << path;
    }
}

TEST_F(PrivateDirectoriesTest, failedCheckThrows) {
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    EXPECT_THROW(fl::filesystem::is_private(inside(directory, u"loop/d")), filesystem_error);
    mkdir((directory.path() / "closed").c_str(), 0000);
    const OrdinaryPermissions ordinary;
    try {
        fl::filesystem::is_private(inside(directory, u"closed/d"));
        ADD_FAILURE() << "answered for a directory that cannot be entered";
    } catch (const filesystem_error& error) {
        EXPECT_EQ(error.code().value(), EACCES);
        EXPECT_EQ(error.path1(), directory.path() / "closed" / "d");
    }
}

} // namespace
} // namespace logging2::core::test
