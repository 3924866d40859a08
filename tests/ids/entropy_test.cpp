#include <logging2/ids/identifiers.hpp>
#include <logging2/native/StreamLocationCreator.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/support/NoDescriptors.hpp>

#include <boost/uuid/entropy_error.hpp>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace logging2::core {
namespace {

// Each case runs in its own process, because the descriptor stays open once it has been opened.
TEST(EntropyTest, failedOpenThrowsAndIsRetriedOnTheNextCall) {
    {
        const test::NoDescriptors none;
        try {
            get_unique_id();
            ADD_FAILURE() << "made an identifier without a random source";
        } catch (const boost::uuids::entropy_error& error) {
            EXPECT_EQ(std::string(error.what()), "open /dev/urandom");
            EXPECT_EQ(error.errcode(), EMFILE);
        }
    }
    EXPECT_EQ(get_unique_id().text().size(), 36U);
    const test::NoDescriptors none;
    EXPECT_EQ(get_unique_id().text().size(), 36U) << "the device is opened only once";
}

int deviceDescriptor() {
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        std::error_code ignored;
        const auto link = "/proc/self/fd/" + std::to_string(descriptor);
        if (std::filesystem::read_symlink(link, ignored) == "/dev/urandom") {
            return descriptor;
        }
    }
    return -1;
}

TEST(EntropyTest, failedReadThrows) {
    get_unique_id();
    const int descriptor = deviceDescriptor();
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(fcntl(descriptor, F_GETFL) & O_ACCMODE, O_RDONLY);
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    close(descriptor);
    try {
        get_unique_id();
        ADD_FAILURE() << "made an identifier without a random source";
    } catch (const boost::uuids::entropy_error& error) {
        EXPECT_EQ(std::string(error.what()), "read");
        EXPECT_EQ(error.errcode(), EBADF);
    }
}

TEST(EntropyTest, creatorWithoutARandomSourceKeepsItsPath) {
    const test::SystemTempDirectory directory;
    StreamLocationCreator creator;
    const std::u16string former = creator.getUniquePath().text();
    close(deviceDescriptor());
    EXPECT_THROW(creator.setUniquePath(), boost::uuids::entropy_error);
    EXPECT_EQ(creator.getUniquePath().text(), former);
}

} // namespace
} // namespace logging2::core
