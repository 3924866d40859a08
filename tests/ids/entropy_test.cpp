#include <logging2/ids/identifiers.hpp>

#include <boost/uuid/entropy_error.hpp>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace logging2::core {
namespace {

/// Leaves the process without a free file descriptor while it lives.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &former);
        const int firstFree = dup(0);
        close(firstFree);
        rlimit none = former;
        none.rlim_cur = static_cast<rlim_t>(firstFree);
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &former); }

private:
    rlimit former{};
};

// One case: the descriptor stays open once the device could be opened.
TEST(EntropyTest, deviceThatCannotBeOpenedIsAnErrorAndIsTriedAgain) {
    {
        const NoDescriptors none;
        try {
            get_unique_id();
            ADD_FAILURE() << "an identifier without a random source";
        } catch (const boost::uuids::entropy_error& error) {
            EXPECT_EQ(std::string(error.what()), "open /dev/urandom");
            EXPECT_EQ(error.errcode(), EMFILE);
        }
    }
    EXPECT_EQ(get_unique_id().text().size(), 36U);
    const NoDescriptors none;
    EXPECT_EQ(get_unique_id().text().size(), 36U) << "the device is opened only once";
}

} // namespace
} // namespace logging2::core
