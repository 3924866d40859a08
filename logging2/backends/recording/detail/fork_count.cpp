#include <logging2/backends/recording/detail/fork_count.hpp>

#include <pthread.h>

namespace logging2::core::detail {

std::atomic<unsigned> forkCount{0};

namespace {

// It runs in forked children, which leave no counts. GCOVR_EXCL_START
void count_fork() {
    forkCount.fetch_add(1, std::memory_order_relaxed);
}
// GCOVR_EXCL_STOP

// It fails only if there is no memory, and then nothing works.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, count_fork);

} // namespace
} // namespace logging2::core::detail
