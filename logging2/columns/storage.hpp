#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// Gives a vector the capacity for so many elements in all, as reserve() does, and asks the system
/// to back it with large pages where that is 4 MiB or more.
///
/// The first touch of fresh memory is most of what storing costs, and large pages make it several
/// times as fast. Where the system has none or wants none, the vector is the same, only slower.
void reserve_large(std::vector<double>& elements, std::size_t elementCount);

/// Gives a vector the capacity for so many elements more, in the ordinary way: where it has too
/// little, at least twice what it had.
inline void make_room(std::vector<double>& elements, std::size_t elementCount) {
    if (elements.capacity() - elements.size() < elementCount) {
        reserve_large(elements, std::max(elements.size() + elementCount, 2 * elements.capacity()));
    }
}

} // namespace logging2::core::detail
