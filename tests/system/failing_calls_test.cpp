#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/FailingCalls.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

// Tests that the calls of the standard library pass through the replaced functions. All other tests
// here depend on that.

namespace logging2::core::test {
namespace {

class FailingCallsTest : public ::testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path file = directory.path() / "file";
};

TEST_F(FailingCallsTest, callsWorkAfterTheLastOutcome) {
    const FailingCalls opens(Call::open, "file", {fails(EACCES), works(), fails(EMFILE)});
    EXPECT_FALSE(std::ofstream(file).is_open());
    EXPECT_TRUE(std::ofstream(file).is_open());
    EXPECT_FALSE(std::ofstream(file).is_open());
    EXPECT_EQ(errno, EMFILE);
    EXPECT_TRUE(std::ofstream(file).is_open());
    EXPECT_EQ(opens.count(), 4U);
}

TEST_F(FailingCallsTest, otherFilesAreNotAffected) {
    const FailingCalls opens(Call::open, "other", {fails(EACCES)});
    EXPECT_TRUE(std::ofstream(file).is_open());
    EXPECT_EQ(opens.count(), 0U);
}

TEST_F(FailingCallsTest, destructionRestoresAllCalls) {
    { const FailingCalls opens(Call::open, "file", {fails(EACCES)}); }
    EXPECT_TRUE(std::ofstream(file).is_open());
}

TEST_F(FailingCallsTest, everyKindOfCallIsCounted) {
    const std::vector<Call> kinds = {Call::open,   Call::close,         Call::read,
                                     Call::write,  Call::seek,          Call::stat,
                                     Call::remove, Call::makeDirectory, Call::changeMode};
    for (const Call kind : kinds) {
        const FailingCalls calls(kind, "file", {});
        std::filesystem::create_directory(directory.path() / "inner-file");
        writeBytes(file, "1234");
        std::ifstream stream(file);
        stream.seekg(2);
        EXPECT_EQ(stream.get(), '3');
        stream.close();
        EXPECT_TRUE(std::filesystem::exists(file));
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        EXPECT_TRUE(std::filesystem::remove(file));
        EXPECT_GT(calls.count(), 0U) << kind;
    }
}

} // namespace
} // namespace logging2::core::test
