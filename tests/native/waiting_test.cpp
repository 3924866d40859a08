#include <tests/native/BlockingFile.hpp>
#include <tests/native/native_writers.hpp>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <thread>

// The caller waits while a batch is being written. This executable counts the calls that lock a
// mutex.

namespace {
std::atomic<pthread_mutex_t*> watched{nullptr};
std::atomic<int> lockCount{0};
} // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    using Lock = int (*)(pthread_mutex_t*);
    static const auto next = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    if (mutex == watched) {
        ++lockCount;
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
        lockCount = 0;
        watched = Access::mutex(writer).native_handle();
    }

    /// Makes the call while the thread is writing. The call must lock the mutex once and must not
    /// return before the batch has been written.
    void expectWaits(const std::function<void()>& call) {
        watch();
        std::atomic<bool> returned{false};
        std::thread caller([&] {
            call();
            returned = true;
        });
        while (lockCount == 0 && !returned) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(returned);
        EXPECT_EQ(lockCount, 1);
        EXPECT_THAT(file.drain(), ElementsAre(1.0, 2.0));
        caller.join();
        EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 20.0));
    }

    BlockingFile file{directory.path() / "pipe"};
    NativeStreamWriter writer{StreamingAttributes{}, scalarGroups({0, 1})};
};

TEST_F(NativeStreamWriterWaitingTest, flushIntermediateWaitsForTheBatchBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.flushIntermediate(); });
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
    writer.flush();
}

TEST_F(NativeStreamWriterWaitingTest, handOverWaitsForTheBatchBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writeTimes(writer, 1, {4.0}); });
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0, 4.0));
}

TEST_F(NativeStreamWriterWaitingTest, clearBufferWaitsForTheBatchBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.clearBuffer(); });
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x1"), IsEmpty());
}

TEST_F(NativeStreamWriterWaitingTest, flushWaitsForTheBatchBeingWritten) {
    writeTimes(writer, 1, {3.0});
    expectWaits([this] { writer.flush(); });
    EXPECT_THAT(timesIn(writer, "x1"), ElementsAre(3.0));
}

TEST_F(NativeStreamWriterWaitingTest, writeBelowTheThresholdLocksNoMutex) {
    watch();
    writeTimes(writer, 1, {3.0});
    EXPECT_EQ(lockCount, 0);
    watched = nullptr;
    EXPECT_THAT(file.drain(), ElementsAre(1.0, 2.0));
    writer.flush();
}

} // namespace
} // namespace logging2::core::test
