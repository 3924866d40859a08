#include <tests/allocation/ChildProcess.hpp>
#include <tests/lookup/LookUpTest.hpp>

#include <dlfcn.h>
#include <pthread.h>

// The framework is stopped in the middle of a look-up, at each moment at which the look-up asks for
// a mutex. This executable watches mutexes.

namespace {

thread_local int heldCount = 0;

/// How often a mutex is asked for before the framework is stopped; negative if it is not to be.
thread_local int remaining = -1;

/// Not while a mutex is held, for which the stop would wait.
void stopInTurn() {
    if (heldCount == 0 && remaining >= 0 && remaining-- == 0) {
        foundation::stop_vantrel_core();
    }
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static auto* const lock = next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    stopInTurn();
    const int result = lock(mutex);
    heldCount += result == 0 ? 1 : 0;
    return result;
}

extern "C" int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    static auto* const lock = next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    const int result = lock(mutex);
    heldCount += result == 0 ? 1 : 0;
    return result;
}

extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    static auto* const unlock = next<int(pthread_mutex_t*)>("pthread_mutex_unlock");
    --heldCount;
    return unlock(mutex);
}

namespace logging2::core::test {
namespace {

/// Looks up in child processes, because a framework that was stopped stays so. Returns how many
/// moments there are at which it was stopped.
template <class LookUp>
int stopAtEveryMoment(LookUp lookUp) {
    const Shared<bool> wasStopped;
    *wasStopped = true;
    int moment = -1;
    while (*wasStopped && !::testing::Test::HasFailure()) {
        ++moment;
        *wasStopped = false;
        const int status = status_of_child([&] {
            foundation::install_and_start_vantrel_core();
            register_backend(foundation::get_global_bundle_context(), memoryBackend("n"));
            remaining = moment;
            EXPECT_NO_THROW(lookUp());
            *wasStopped = remaining < 0;
            remaining = -1;
        });
        EXPECT_TRUE(exitedWithSuccess(status)) << "stopped at moment " << moment;
    }
    return moment;
}

TEST(LookUpStopTest, writerIsFoundOrNotAndNothingIsThrown) {
    EXPECT_GE(stopAtEveryMoment([] { writerNamed("n"); }), 4);
}

TEST(LookUpStopTest, readerIsFoundOrNotAndNothingIsThrown) {
    EXPECT_GE(stopAtEveryMoment([] { readerNamed("n"); }), 4);
}

} // namespace
} // namespace logging2::core::test
