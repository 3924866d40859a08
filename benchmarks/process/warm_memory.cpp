#include <benchmarks/process/warm_memory.hpp>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace logging2::core::bench {
namespace {

/// Touches so much memory. Returns false if there is not enough.
bool touch(std::size_t byteCount) {
    void* const block =
        mmap(nullptr, byteCount, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) {
        return false;
    }
    madvise(block, byteCount, MADV_HUGEPAGE); // only for speed
    const auto pageByteCount = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    auto* const bytes = static_cast<volatile char*>(block);
    for (std::size_t i = 0; i < byteCount; i += pageByteCount) {
        bytes[i] = 1;
    }
    return true;
}

} // namespace

void warm_memory(std::size_t byteCount) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(touch(byteCount) ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
        throw std::runtime_error("there is not enough memory for the benchmark");
    }
}

} // namespace logging2::core::bench
