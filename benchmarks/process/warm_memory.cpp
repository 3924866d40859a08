#include <benchmarks/process/warm_memory.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace logging2::core::bench {

void warm_memory(std::size_t byteCount) {
    void* const block =
        mmap(nullptr, byteCount, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "mmap");
    }
    madvise(block, byteCount, MADV_HUGEPAGE); // only makes it faster
    const auto pageByteCount = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    auto* const bytes = static_cast<volatile char*>(block);
    for (std::size_t i = 0; i < byteCount; i += pageByteCount) {
        bytes[i] = 1;
    }
    munmap(block, byteCount);
}

} // namespace logging2::core::bench
