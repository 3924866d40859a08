#include <logging2/backends/recording/detail/fork_count.hpp>

#include <atomic>

#include <pthread.h>

namespace logging2::core::detail {
namespace {

std::atomic<unsigned> forkCount{0};

void count_fork() {
    forkCount.fetch_add(1, std::memory_order_relaxed);
}

/// Without the handler every child would look like its parent; there is no memory for it only if
/// there is none for anything.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, count_fork);

} // namespace

unsigned fork_count() noexcept {
    return forkCount.load(std::memory_order_relaxed);
}

} // namespace logging2::core::detail
