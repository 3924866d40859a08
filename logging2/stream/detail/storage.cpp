#include <logging2/stream/detail/storage.hpp>

#include <sys/mman.h>

#include <cstdint>

namespace logging2::core::detail {
namespace {

/// Anything smaller might not hold a single whole large page of 2 MiB.
constexpr std::size_t leastByteCount = std::size_t{4} * 1024 * 1024;

void prefer_large_pages([[maybe_unused]] std::vector<double>& elements) {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t pageByteCount = 4096;
    const auto address = reinterpret_cast<std::uintptr_t>(elements.data());
    const std::size_t intoPage = address % pageByteCount;
    char* const firstPage = reinterpret_cast<char*>(elements.data()) - intoPage;
    // It is advice: a refusal changes nothing.
    madvise(firstPage, intoPage + elements.capacity() * sizeof(double), MADV_HUGEPAGE);
#endif
}

} // namespace

void reserve_large(std::vector<double>& elements, std::size_t elementCount) {
    if (elementCount <= elements.capacity()) {
        return;
    }
    if (elementCount < leastByteCount / sizeof(double)) {
        elements.reserve(elementCount);
        return;
    }
    std::vector<double> larger;
    larger.reserve(elementCount);
    prefer_large_pages(larger);
    larger.assign(elements.begin(), elements.end());
    elements.swap(larger);
}

} // namespace logging2::core::detail
