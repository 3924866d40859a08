#include <logging2/columns/storage.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace logging2::core::detail {
namespace {

/// A smaller block might not contain a single whole large page of 2 MiB.
constexpr std::size_t leastByteCount = std::size_t{4} * 1024 * 1024;

/// Asks for large pages for those whole pages that contain nothing but the vector's storage.
void prefer_large_pages([[maybe_unused]] std::vector<double>& elements) {
#ifdef MADV_HUGEPAGE
    const auto pageByteCount = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t byteCount = elements.capacity() * sizeof(double);
    const auto address = reinterpret_cast<std::uintptr_t>(elements.data());
    const std::size_t beforePage = (pageByteCount - address % pageByteCount) % pageByteCount;
    char* const firstPage = reinterpret_cast<char*>(elements.data()) + beforePage;
    // This is only advice. A refusal changes nothing, so the result is ignored.
    madvise(firstPage, (byteCount - beforePage) / pageByteCount * pageByteCount, MADV_HUGEPAGE);
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
