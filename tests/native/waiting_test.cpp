#include <tests/native/BlockingFile.hpp>
#include <tests/native/native_writers.hpp>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <thread>

// The caller waits for a batch that is being written. This executable counts who asks for a mutex.

namespace {
std::atomic<pthread_mutex_t*> watched{nullptr};
std::atomic<int> asked{0};
} // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    using Lock = int (*)(pthread_mutex_t*);
    static const auto next = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (mutex == watched) {
        ++asked;
    }
    return next(mutex);
}

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamWriterWaitingTest : public NativeStreamWriterTest {
protected:
    NativeStreamWriterWaitingTest() {
        Access::setBufferSize(writer, 0, 2);
        Access::setBufferSize(writer, 1, 2);
        Access::setTimesPath(writer, 0, file.path);
        writeTimes(writer, 0, {1.0, 2.0});
        while (!Access::isWriting(writer)) {
            std::this_thread::yield();
        }
    }
    ~NativeStreamWriterWaitingTest() override { watched = nullptr; }

    void watch() {
        asked = 0;
        watched = Access::mutex(writer).native_handle();
    }

    /// Calls while the thread is writing; the call must ask for the mutex once, and not return
    /// before the batch has been written.
    void expectWaits(const std::function<void()>& call) {
        watch();
        std::atomic<bool> returned{false};
        std::thread caller([&] {
            call();
            returned = true;
        });
        while (asked == 0 && !returned) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(returned);
        EXPECT_EQ(asked, 1);
        EXPECT_THAT(file.drain(), ElementsAre(1.0, 2.0));
        caller.join();
        EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 20.0));
    }

    BlockingFile file{directory.path() / "pipe"};
    NativeStreamWriter writer{StreamingAttributes{}, scalarGroups({0, 1})};
};

TEST_F(NativeStreamWriterWaitingTest, flushIntermediateWaitsForTheBatchThatIsBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.flushIntermediate(); });
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
    writer.flush();
}

TEST_F(NativeStreamWriterWaitingTest, handOverWaitsForTheBatchThatIsBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writeTimes(writer, 1, {4.0}); });
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
}

TEST_F(NativeStreamWriterWaitingTest, clearBufferWaitsForTheBatchThatIsBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.clearBuffer(); });
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), IsEmpty());
}

TEST_F(NativeStreamWriterWaitingTest, flushWaitsForTheBatchThatIsBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.flush(); });
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
}

TEST_F(NativeStreamWriterWaitingTest, writeBelowTheThresholdAsksForNoMutexMeanwhile) {
    watch();
    writeTimes(writer, 1, {3.0});
    EXPECT_EQ(asked, 0);
    watched = nullptr;
    EXPECT_THAT(file.drain(), ElementsAre(1.0, 2.0));
    writer.flush();
}

} // namespace
} // namespace logging2::core::test
