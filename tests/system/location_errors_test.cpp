#include <tests/native/native_writers.hpp>
#include <tests/support/FailingCalls.hpp>
#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/support/Umask.hpp>

#include <boost/system/system_error.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

// System calls that fail while a writer chooses its location.

namespace logging2::core::test {
namespace {

using std::filesystem::filesystem_error;
using std::filesystem::perms;

/// The end of the name of the user's directory.
std::string userDirectoryEnd(const StreamLocationCreator& creator) {
    return native(creator.getUniquePath().text()).parent_path().filename();
}

class LocationErrorsTest : public ::testing::Test {
protected:
    std::filesystem::path userDirectory() const { return directory.path() / leaf; }

    void expectNoLocation(int error) const {
        try {
            const NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
            ADD_FAILURE() << "a location was made in spite of: " << std::strerror(error);
        } catch (const filesystem_error& thrown) {
            EXPECT_EQ(thrown.code().value(), error);
        }
    }

    SystemTempDirectory directory;
    StreamLocationCreator creator;
    std::string leaf = userDirectoryEnd(creator);
};

TEST_F(LocationErrorsTest, failedExistenceCheckThrowsAndKeepsThePath) {
    const std::u16string former = creator.getUniquePath().text();
    for (const int error : {EACCES, ELOOP, EIO, ENOMEM}) {
        const FailingCalls stats(Call::stat, leaf, {fails(error), fails(error)});
        expectNoLocation(error);
        EXPECT_THROW(creator.setUniquePath(), filesystem_error);
        EXPECT_EQ(creator.getUniquePath().text(), former);
    }
}

TEST_F(LocationErrorsTest, failedDirectoryCreationThrowsAndKeepsThePath) {
    std::filesystem::remove(userDirectory());
    const std::u16string former = creator.getUniquePath().text();
    for (const int error : {ENOSPC, EDQUOT, EROFS, EACCES, EIO, EMLINK}) {
        const FailingCalls makes(Call::makeDirectory, leaf, {fails(error), fails(error)});
        expectNoLocation(error);
        EXPECT_THROW(creator.setUniquePath(), filesystem_error);
        EXPECT_EQ(creator.getUniquePath().text(), former);
    }
    EXPECT_FALSE(std::filesystem::exists(userDirectory()));
}

TEST_F(LocationErrorsTest, directoryCreatedByAnotherProcessIsAccepted) {
    std::filesystem::remove(userDirectory());
    const FailingCalls makes(Call::makeDirectory, leaf, {works([this] {
                                 std::filesystem::create_directory(userDirectory());
                             })});
    EXPECT_NO_THROW(creator.setUniquePath());
    EXPECT_EQ(native(creator.getUniquePath().text()).parent_path(), userDirectory());
    EXPECT_TRUE(std::filesystem::is_directory(userDirectory()));
}

TEST_F(LocationErrorsTest, failedPermissionCheckThrowsAndRemovesTheNewDirectory) {
    std::filesystem::remove(userDirectory());
    const std::u16string former = creator.getUniquePath().text();
    const FailingCalls stats(Call::stat, leaf, {works(), fails(EIO)});
    EXPECT_THROW(creator.setUniquePath(), filesystem_error);
    EXPECT_EQ(creator.getUniquePath().text(), former);
    EXPECT_FALSE(std::filesystem::exists(userDirectory()));
}

TEST_F(LocationErrorsTest, failedPermissionChangeThrowsAndRemovesTheNewDirectory) {
    std::filesystem::remove(userDirectory());
    const std::u16string former = creator.getUniquePath().text();
    const Umask everything(0777);
    for (const int error : {EPERM, EROFS, EIO}) {
        const FailingCalls changes(Call::changeMode, leaf, {fails(error)});
        expectNoLocation(error);
        EXPECT_EQ(creator.getUniquePath().text(), former);
        EXPECT_FALSE(std::filesystem::exists(userDirectory()));
    }
    EXPECT_NO_THROW(creator.setUniquePath());
}

TEST_F(LocationErrorsTest, newDirectoryIsNeverOpenToOtherUsers) {
    for (const mode_t mask : {0U, 0777U}) {
        std::filesystem::remove(userDirectory());
        const Umask umask(mask);
        const FailingCalls changes(
            Call::changeMode, leaf, {works([this] {
                EXPECT_EQ(std::filesystem::status(userDirectory()).permissions(), perms::none);
            })});
        EXPECT_NO_THROW(creator.setUniquePath());
        EXPECT_EQ(changes.count(), mask == 0 ? 0U : 1U) << "created with its final permissions";
        EXPECT_EQ(std::filesystem::status(userDirectory()).permissions(), perms::owner_all);
    }
}

TEST_F(LocationErrorsTest, permissionsAreNotChangedThroughALink) {
    std::filesystem::remove(userDirectory());
    const std::filesystem::path other = directory.path() / "other";
    std::filesystem::create_directory(other);
    std::filesystem::permissions(other, perms::owner_read);
    const Umask everything(0777);
    const FailingCalls changes(Call::changeMode, leaf, {works([&] {
                                   std::filesystem::remove(userDirectory());
                                   std::filesystem::create_symlink(other, userDirectory());
                               })});
    EXPECT_THROW(creator.setUniquePath(), filesystem_error);
    EXPECT_EQ(std::filesystem::status(other).permissions(), perms::owner_read);
}

TEST_F(LocationErrorsTest, readOnlyTemporaryDirectoryThrows) {
    std::filesystem::remove(userDirectory());
    std::filesystem::permissions(directory.path(), perms::owner_read | perms::owner_exec);
    {
        const OrdinaryPermissions ordinary;
        expectNoLocation(EACCES);
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
}

/// Sets TMPDIR while it lives and makes the host use it.
class TemporaryDirectoryVariable {
public:
    explicit TemporaryDirectoryVariable(const std::string& value) {
        setenv("TMPDIR", value.c_str(), 1);
    }
    ~TemporaryDirectoryVariable() {
        unsetenv("TMPDIR");
        fl::filesystem::setTempDirectoryName(std::move(host));
    }
    TemporaryDirectoryVariable(const TemporaryDirectoryVariable&) = delete;
    TemporaryDirectoryVariable& operator=(const TemporaryDirectoryVariable&) = delete;

private:
    std::function<std::u16string()> host = fl::filesystem::setTempDirectoryName({});
};

TEST_F(LocationErrorsTest, missingDirectoryInTmpdirIsCreated) {
    const std::filesystem::path missing = directory.path() / "not" / "there";
    const TemporaryDirectoryVariable variable(missing);
    EXPECT_NO_THROW(creator.setUniquePath());
    EXPECT_TRUE(std::filesystem::is_directory(missing / leaf));
}

TEST_F(LocationErrorsTest, fileInTmpdirThrows) {
    writeBytes(directory.path() / "file", "x");
    const TemporaryDirectoryVariable variable(directory.path() / "file");
    expectNoLocation(ENOTDIR);
}

TEST_F(LocationErrorsTest, invalidNameInTmpdirThrows) {
    const TemporaryDirectoryVariable variable(directory.path() / std::string(300, 'n'));
    expectNoLocation(ENAMETOOLONG);
}

/// Makes the current directory a deleted one while it lives.
class DeletedCurrentDirectory {
public:
    DeletedCurrentDirectory() {
        const TemporaryDirectory deleted;
        std::filesystem::current_path(deleted.path());
    }
    ~DeletedCurrentDirectory() { std::filesystem::current_path(former); }
    DeletedCurrentDirectory(const DeletedCurrentDirectory&) = delete;
    DeletedCurrentDirectory& operator=(const DeletedCurrentDirectory&) = delete;

private:
    std::filesystem::path former = std::filesystem::current_path();
};

std::u16string no_temporary_directory() {
    throw std::runtime_error("the host has no temporary directory");
}

TEST_F(LocationErrorsTest, fallbackWithoutACurrentDirectoryThrows) {
    const auto host = fl::filesystem::setTempDirectoryName(no_temporary_directory);
    EXPECT_NO_THROW(creator.tempdir());
    {
        const DeletedCurrentDirectory deleted;
        EXPECT_THROW(creator.tempdir(), boost::system::system_error);
        EXPECT_THROW(StreamLocationCreator(), boost::system::system_error);
    }
    fl::filesystem::setTempDirectoryName(host);
}

TEST_F(LocationErrorsTest, fallbackWithoutADirectoryInTmpdirThrows) {
    const auto host = fl::filesystem::setTempDirectoryName(no_temporary_directory);
    writeBytes(directory.path() / "file", "x");
    for (const char* const name : {"missing", "file"}) {
        setenv("TMPDIR", (directory.path() / name).c_str(), 1);
        EXPECT_THROW(creator.tempdir(), boost::system::system_error) << name;
    }
    unsetenv("TMPDIR");
    fl::filesystem::setTempDirectoryName(host);
}

TEST_F(LocationErrorsTest, fallbackWithAnEmptyTmpdirThrows) {
    const auto host = fl::filesystem::setTempDirectoryName(no_temporary_directory);
    setenv("TMPDIR", "", 1);
    EXPECT_THROW(creator.tempdir(), boost::system::system_error);
    unsetenv("TMPDIR");
    fl::filesystem::setTempDirectoryName(host);
}

} // namespace
} // namespace logging2::core::test
