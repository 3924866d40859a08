#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// Gives the vector capacity for elementCount elements in total, as reserve() does. If that is 4
/// MiB or more, the system is asked to back the storage with large pages.
///
/// The first access to fresh memory is the largest part of the cost of storing, and large pages
/// make it several times as fast. If the system provides none, the vector is the same, only slower.
void reserve_large(std::vector<double>& elements, std::size_t elementCount);

/// Memory for elementCount doubles, which are not initialised. If that is 4 MiB or more, the memory
/// consists of whole large pages as far as the system provides them.
std::shared_ptr<double[]> make_large_array(std::size_t elementCount);

/// Gives the vector capacity for elementCount further elements. If the capacity is too small, it at
/// least doubles, as when a vector grows by itself.
inline void make_room(std::vector<double>& elements, std::size_t elementCount) {
    if (elements.capacity() - elements.size() < elementCount) {
        reserve_large(elements, std::max(elements.size() + elementCount, 2 * elements.capacity()));
    }
}

} // namespace logging2::core::detail
