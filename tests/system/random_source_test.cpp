#include <logging2/ids/identifiers.hpp>

#include <tests/support/FailingCalls.hpp>

#include <boost/uuid/entropy_error.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

// Each case runs in its own process, because the device stays open once it has been opened.

namespace logging2::core::test {
namespace {

const char* const device = "/dev/urandom";

std::string identifier() {
    const std::u16string text = get_unique_id().text();
    return {text.begin(), text.end()};
}

void expectEntropyError(const std::string& what, int code) {
    try {
        get_unique_id();
        ADD_FAILURE() << "made an identifier without a random source";
    } catch (const boost::uuids::entropy_error& error) {
        EXPECT_EQ(error.what(), what);
        EXPECT_EQ(error.errcode(), code);
    }
}

TEST(RandomSourceTest, failedOpenThrowsAndIsRetriedOnTheNextCall) {
    for (const int error : {ENOENT, EACCES, ENFILE, EMFILE, EIO}) {
        const FailingCalls opens(Call::open, device, {fails(error)});
        expectEntropyError("open /dev/urandom", error);
    }
    EXPECT_EQ(identifier().size(), 36U);
}

TEST(RandomSourceTest, failedReadThrowsAndIsRetriedOnTheNextCall) {
    const FailingCalls reads(Call::read, device, {fails(EIO), fails(EAGAIN)});
    expectEntropyError("read", EIO);
    expectEntropyError("read", EAGAIN);
    EXPECT_EQ(identifier().size(), 36U);
}

TEST(RandomSourceTest, readThatFailsHalfwayThrows) {
    const FailingCalls reads(Call::read, device, {transfers(8), fails(EIO)});
    expectEntropyError("read", EIO);
}

TEST(RandomSourceTest, interruptedReadIsRepeated) {
    const FailingCalls reads(Call::read, device, {fails(EINTR), transfers(3), fails(EINTR)});
    EXPECT_EQ(identifier().size(), 36U);
    EXPECT_EQ(reads.count(), 4U);
}

// All 16 bytes must be read. With fewer, the last digits would be the same each time.
TEST(RandomSourceTest, partialReadIsContinued) {
    get_unique_id();
    std::string last;
    for (int i = 0; i < 8; ++i) {
        const FailingCalls reads(Call::read, device, {transfers(1), transfers(0), transfers(14)});
        last += identifier().back();
        EXPECT_EQ(reads.count(), 4U);
    }
    EXPECT_NE(last, std::string(8, last.front()));
}

} // namespace
} // namespace logging2::core::test
