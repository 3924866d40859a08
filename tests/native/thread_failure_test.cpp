#include <tests/native/native_writers.hpp>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>
#include <system_error>

// This executable can refuse to start threads.

namespace {
bool refuseThreads = false;
} // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) {
    using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    return refuseThreads ? EAGAIN : next(thread, attributes, body, argument);
}

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class NativeThreadFailureTest : public NativeStreamWriterTest {};

TEST_F(NativeThreadFailureTest, failedThreadStartThrowsSystemErrorAndLosesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 2);
    writeTimes(writer, 0, {1.0});
    refuseThreads = true;
    const double value = 20.0;
    EXPECT_THROW(writer.write(0, 2.0, &value, 1), std::system_error);
    EXPECT_EQ(Access::rowCount(writer, 0), 2U);
    refuseThreads = false;
    writeTimes(writer, 0, {3.0});
    EXPECT_TRUE(Access::hasThread(writer));
    EXPECT_EQ(Access::rowCount(writer, 0), 0U);
    Access::waitUntilTaken(writer);
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(NativeThreadFailureTest, flushAfterAFailedThreadStartWritesEverything) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    Access::setBufferSize(writer, 0, 1);
    refuseThreads = true;
    const double value = 10.0;
    EXPECT_THROW(writer.write(0, 1.0, &value, 1), std::system_error);
    refuseThreads = false;
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

} // namespace
} // namespace logging2::core::test
