#include <tests/support/FailingCalls.hpp>
#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/system/stored_files.hpp>

#include <cerrno>
#include <cstring>

// System calls that fail while a reader deletes its files. The destructor never throws, and the two
// files are deleted independently.

namespace logging2::core::test {
namespace {

using std::filesystem::perms;

class RemovalErrorsTest : public StoredFilesTest {
protected:
    /// Destroys the reader while the call fails for one file.
    void destroyWith(Call call, const std::string& nameEnd, int error) {
        const FailingCalls calls(call, nameEnd, {fails(error)});
        EXPECT_NO_THROW(reader.reset());
        EXPECT_EQ(calls.count(), 1U) << std::strerror(error);
    }
};

class RemovalErrorCodeTest : public RemovalErrorsTest, public ::testing::WithParamInterface<int> {};

TEST_P(RemovalErrorCodeTest, failedRemovalOfTimesStillRemovesTheValues) {
    destroyWith(Call::remove, "times", GetParam());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

TEST_P(RemovalErrorCodeTest, failedRemovalOfValuesStillRemovesTheTimes) {
    destroyWith(Call::remove, "values", GetParam());
    EXPECT_FALSE(std::filesystem::exists(times));
    EXPECT_TRUE(std::filesystem::exists(values));
}

TEST_P(RemovalErrorCodeTest, failedExistenceCheckOfTimesStillRemovesTheValues) {
    destroyWith(Call::stat, "times", GetParam());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

INSTANTIATE_TEST_SUITE_P(Errno, RemovalErrorCodeTest,
                         ::testing::Values(EACCES, EPERM, EBUSY, EROFS, EIO));

TEST_F(RemovalErrorsTest, destructorIgnoresAFileRemovedByAnotherProcess) {
    const FailingCalls removals(Call::remove, "times",
                                {works([this] { std::filesystem::rename(times, values); })});
    EXPECT_NO_THROW(reader.reset());
    EXPECT_TRUE(directory.names().empty());
}

TEST_F(RemovalErrorsTest, readOnlyDirectoryKeepsBothFiles) {
    std::filesystem::permissions(directory.path(), perms::owner_read | perms::owner_exec);
    {
        const OrdinaryPermissions ordinary;
        EXPECT_EQ(reader->times().size(), 3U);
        EXPECT_NO_THROW(reader.reset());
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
    EXPECT_EQ(directory.names().size(), 2U);
}

TEST_F(RemovalErrorsTest, inaccessibleDirectoryKeepsBothFiles) {
    std::filesystem::permissions(directory.path(), perms::none);
    {
        const OrdinaryPermissions ordinary;
        EXPECT_THROW(reader->times(), std::filesystem::filesystem_error);
        EXPECT_NO_THROW(reader.reset());
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
    EXPECT_EQ(directory.names().size(), 2U);
}

} // namespace
} // namespace logging2::core::test
