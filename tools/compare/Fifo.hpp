#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace logging2::tools {

/// Elements that are appended at the end and removed at the beginning. They are numbered from 0 in
/// the order in which they were appended. Takes at most about twice the memory of the greatest
/// number of elements; each operation costs constant time on average.
template <class Element>
class Fifo {
public:
    bool empty() const noexcept { return firstNumber == endNumber; }

    /// The numbers of the elements are those from first on that are less than end.
    std::size_t first() const noexcept { return firstNumber; }
    std::size_t end() const noexcept { return endNumber; }

    const Element& operator[](std::size_t number) const { return ring[number & mask]; }
    const Element& front() const { return ring[firstNumber & mask]; }
    const Element& back() const { return ring[(endNumber - 1) & mask]; }

    void append(const Element& element) {
        if (endNumber - firstNumber == ring.size()) {
            grow();
        }
        ring[endNumber++ & mask] = element;
    }

    /// The next element gets its number.
    void removeLast() { --endNumber; }

    void removeFirst(std::size_t count = 1) { firstNumber += count; }

private:
    void grow() {
        std::vector<Element> larger(2 * ring.size());
        for (std::size_t number = firstNumber; number != endNumber; ++number) {
            larger[number & (larger.size() - 1)] = ring[number & mask];
        }
        ring = std::move(larger);
        mask = ring.size() - 1;
    }

    std::vector<Element> ring = std::vector<Element>(8); ///< as many as a power of two
    std::size_t mask = ring.size() - 1;
    std::size_t firstNumber = 0;
    std::size_t endNumber = 0;
};

} // namespace logging2::tools
