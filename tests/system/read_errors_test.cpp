#include <logging2/native/NativeStreamReader.hpp>

#include <tests/support/FailingCalls.hpp>
#include <tests/support/NoDescriptors.hpp>
#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/system/stored_files.hpp>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <new>

// System calls that fail while a reader reads.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ReadErrorsTest : public StoredFilesTest {
protected:
    /// Reads the values while the calls on their file have these outcomes.
    std::vector<double> valuesWith(Call call, const std::vector<Outcome>& outcomes) const {
        const FailingCalls calls(call, "values", outcomes);
        const std::vector<double> result = reader->timeseries().second;
        EXPECT_GE(calls.count(), outcomes.size()) << "some outcomes were not used";
        return result;
    }
};

TEST_F(ReadErrorsTest, failedOpenThrowsBadAlloc) {
    for (const int error : {EACCES, EMFILE, ENFILE, ENOENT, EIO, EINTR}) {
        const FailingCalls opens(Call::open, "values", {fails(error)});
        EXPECT_THROW(reader->timeseries(), std::bad_alloc) << std::strerror(error);
        EXPECT_THAT(reader->times(), ElementsAre(1.0, 2.0, 3.0));
    }
}

TEST_F(ReadErrorsTest, missingDescriptorThrowsBadAllocAndReadingCanBeRepeated) {
    {
        const NoDescriptors none;
        EXPECT_THROW(reader->times(), std::bad_alloc);
    }
    EXPECT_THAT(reader->times(), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(ReadErrorsTest, fileWithoutPermissionThrowsBadAlloc) {
    std::filesystem::permissions(values, std::filesystem::perms::none);
    const OrdinaryPermissions ordinary;
    EXPECT_THROW(reader->timeseries(), std::bad_alloc);
}

TEST_F(ReadErrorsTest, fileDeletedBeforeItsOpenThrowsBadAlloc) {
    EXPECT_THROW(valuesWith(Call::open, {works([this] { std::filesystem::remove(values); })}),
                 std::bad_alloc);
    EXPECT_THAT(reader->timeseries().second, IsEmpty());
}

TEST_F(ReadErrorsTest, failedExistenceCheckThrows) {
    for (const int error : {EACCES, ELOOP, EIO, ENOMEM}) {
        const FailingCalls stats(Call::stat, "values", {fails(error)});
        try {
            reader->timeseries();
            ADD_FAILURE() << std::strerror(error);
        } catch (const std::filesystem::filesystem_error& thrown) {
            EXPECT_EQ(thrown.code().value(), error);
        }
    }
}

TEST_F(ReadErrorsTest, failedSizeQueryThrowsBadAlloc) {
    EXPECT_THROW(valuesWith(Call::seek, {fails(EIO)}), std::bad_alloc);
    EXPECT_THROW(valuesWith(Call::seek, {works(), fails(ESPIPE)}), std::bad_alloc);
}

TEST_F(ReadErrorsTest, failedSeekToTheStartReadsZeros) {
    EXPECT_THAT(valuesWith(Call::seek, {works(), works(), fails(EIO)}), ElementsAre(0.0, 0.0, 0.0));
}

TEST_F(ReadErrorsTest, failedReadGivesZeros) {
    for (const int error : {EIO, EISDIR, ENOMEM}) {
        EXPECT_THAT(valuesWith(Call::read, {fails(error)}), ElementsAre(0.0, 0.0, 0.0));
        EXPECT_THAT(valuesWith(Call::read, {transfers(8), fails(error)}),
                    ElementsAre(10.0, 0.0, 0.0));
    }
}

TEST_F(ReadErrorsTest, interruptedReadIsRepeated) {
    EXPECT_THAT(valuesWith(Call::read, {fails(EINTR), transfers(5), fails(EINTR)}),
                ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(ReadErrorsTest, partialReadIsContinued) {
    EXPECT_THAT(valuesWith(Call::read, {transfers(1), transfers(7), transfers(3)}),
                ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(ReadErrorsTest, fileThatShrinksDuringTheReadEndsWithZeros) {
    EXPECT_THAT(
        valuesWith(Call::read, {works([this] { std::filesystem::resize_file(values, 8); })}),
        ElementsAre(10.0, 0.0, 0.0));
    EXPECT_THAT(reader->timeseries().second, ElementsAre(10.0));
}

TEST_F(ReadErrorsTest, fileThatGrowsDuringTheReadKeepsItsFirstSize) {
    EXPECT_THAT(valuesWith(Call::read,
                           {works([this] { std::ofstream(values, std::ios::app) << "12345678"; })}),
                ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(ReadErrorsTest, failedCloseLosesNothing) {
    EXPECT_THAT(valuesWith(Call::close, {fails(EIO)}), ElementsAre(10.0, 20.0, 30.0));
}

} // namespace
} // namespace logging2::core::test
