#include <tests/support/FailingCalls.hpp>
#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/system/stored_files.hpp>

#include <cerrno>
#include <cstring>

// Calls that fail while a reader deletes its files: nothing leaves the destructor, and each of the
// two files is tried for itself.

namespace logging2::core::test {
namespace {

using std::filesystem::perms;

class RemovalErrorsTest : public StoredFilesTest {
protected:
    /// Destroys the reader where the call fails for one file.
    void destroyWith(Call call, const std::string& nameEnd, int error) {
        const FailingCalls calls(call, nameEnd, {fails(error)});
        EXPECT_NO_THROW(reader.reset());
        EXPECT_EQ(calls.count(), 1U) << std::strerror(error);
    }
};

class RemovalErrorCodeTest : public RemovalErrorsTest, public ::testing::WithParamInterface<int> {};

TEST_P(RemovalErrorCodeTest, timesThatCannotBeRemovedStayAlone) {
    destroyWith(Call::remove, "times", GetParam());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

TEST_P(RemovalErrorCodeTest, valuesThatCannotBeRemovedStayAlone) {
    destroyWith(Call::remove, "values", GetParam());
    EXPECT_FALSE(std::filesystem::exists(times));
    EXPECT_TRUE(std::filesystem::exists(values));
}

TEST_P(RemovalErrorCodeTest, timesThatCannotBeLookedForStayAlone) {
    destroyWith(Call::stat, "times", GetParam());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

INSTANTIATE_TEST_SUITE_P(Errno, RemovalErrorCodeTest,
                         ::testing::Values(EACCES, EPERM, EBUSY, EROFS, EIO));

TEST_F(RemovalErrorsTest, fileThatSomebodyElseRemovedIsNoError) {
    const FailingCalls removals(Call::remove, "times",
                                {works([this] { std::filesystem::rename(times, values); })});
    EXPECT_NO_THROW(reader.reset());
    EXPECT_TRUE(directory.names().empty());
}

TEST_F(RemovalErrorsTest, directoryThatBecameReadOnlyKeepsBothFiles) {
    std::filesystem::permissions(directory.path(), perms::owner_read | perms::owner_exec);
    {
        const OrdinaryPermissions ordinary;
        EXPECT_EQ(reader->times().size(), 3U);
        EXPECT_NO_THROW(reader.reset());
    }
    std::filesystem::permissions(directory.path(), perms::owner_all);
    EXPECT_EQ(directory.names().size(), 2U);
}

TEST_F(RemovalErrorsTest, directoryThatCannotBeEnteredKeepsBothFiles) {
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
