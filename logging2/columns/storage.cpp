#include <logging2/columns/storage.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <new>

namespace logging2::core::detail {
namespace {

constexpr std::align_val_t largePage{std::size_t{2} * 1024 * 1024};

/// A smaller block might not contain a single whole large page.
constexpr std::size_t leastByteCount = std::size_t{4} * 1024 * 1024;

/// Asks for large pages for those whole pages that contain nothing but the elements.
void prefer_large_pages([[maybe_unused]] double* elements,
                        [[maybe_unused]] std::size_t elementCount) {
#ifdef MADV_HUGEPAGE
    const auto pageByteCount = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t byteCount = elementCount * sizeof(double);
    const auto address = reinterpret_cast<std::uintptr_t>(elements);
    const std::size_t beforePage = (pageByteCount - address % pageByteCount) % pageByteCount;
    char* const firstPage = reinterpret_cast<char*>(elements) + beforePage;
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
    prefer_large_pages(larger.data(), larger.capacity());
    larger.assign(elements.begin(), elements.end());
    elements.swap(larger);
}

std::shared_ptr<double[]> make_large_array(std::size_t elementCount) {
    if (elementCount < leastByteCount / sizeof(double)) {
        return std::shared_ptr<double[]>(new double[elementCount]);
    }
    auto* const elements =
        static_cast<double*>(::operator new(elementCount * sizeof(double), largePage));
    std::shared_ptr<double[]> owner(elements,
                                    [](double* first) { ::operator delete(first, largePage); });
    prefer_large_pages(elements, elementCount);
    return owner;
}

} // namespace logging2::core::detail
