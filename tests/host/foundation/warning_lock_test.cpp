#include <logging2/host/foundation/warnings.hpp>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>

// The handler is copied under the lock that setting it takes. This executable watches the mutexes.

namespace {
thread_local pthread_mutex_t* lastLocked = nullptr;
} // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    using Lock = int (*)(pthread_mutex_t*);
    static const auto next = reinterpret_cast<Lock>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    lastLocked = mutex;
    return next(mutex);
}

namespace {

/// The state of the handler's mutex while the handler was copied.
struct Finding {
    pthread_mutex_t* mutex = nullptr;
    int copyCount = 0;
    int lockedCount = 0;
};

Finding finding;

/// Checks at every copy whether another thread that sets a handler would have to wait.
class WatchedHandler {
public:
    WatchedHandler() = default;
    WatchedHandler(const WatchedHandler&) {
        if (finding.mutex != nullptr) {
            ++finding.copyCount;
            finding.lockedCount += isLocked() ? 1 : 0;
        }
    }
    WatchedHandler(WatchedHandler&&) = default;
    WatchedHandler& operator=(const WatchedHandler&) = delete;

    void operator()(const foundation::Message&) const {}

private:
    static bool isLocked() {
        if (pthread_mutex_trylock(finding.mutex) == EBUSY) {
            return true;
        }
        pthread_mutex_unlock(finding.mutex);
        return false;
    }
};

TEST(WarningLockTest, handlerIsCopiedUnderTheLockOfSetting) {
    lastLocked = nullptr;
    foundation::setWarningHandler(WatchedHandler());
    ASSERT_NE(lastLocked, nullptr) << "the handler is set without a lock";
    finding.mutex = lastLocked;
    foundation::issueWarning(foundation::Message("catalog", "Key", {}));
    EXPECT_EQ(finding.copyCount, 1);
    EXPECT_EQ(finding.lockedCount, 1);
    finding.mutex = nullptr;
    foundation::setWarningHandler({});
}

} // namespace
