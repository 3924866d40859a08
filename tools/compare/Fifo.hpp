#pragma once

#include <cstddef>
#include <vector>

namespace logging2::tools {

/// Elements side by side, which are appended at the end and removed at the beginning. Takes at most
/// about twice the memory of its elements; each operation costs constant time on average.
template <class Element>
class Fifo {
public:
    bool empty() const noexcept { return begin == elements.size(); }
    std::size_t size() const noexcept { return elements.size() - begin; }

    const Element& operator[](std::size_t index) const { return elements[begin + index]; }
    const Element& front() const { return elements[begin]; }
    const Element& back() const { return elements.back(); }
    Element& back() { return elements.back(); }

    void append(const Element& element) { elements.push_back(element); }
    void append(const Element* first, std::size_t count) {
        elements.insert(elements.end(), first, first + count);
    }

    void removeLast() { elements.pop_back(); }

    /// Removes elements at the beginning.
    void removeFirst(std::size_t count = 1) {
        begin += count;
        if (begin >= leastRemoval && begin >= size()) {
            elements.erase(elements.begin(), elements.begin() + static_cast<std::ptrdiff_t>(begin));
            begin = 0;
        }
    }

private:
    static constexpr std::size_t leastRemoval = 64;

    std::vector<Element> elements;
    std::size_t begin = 0; ///< Those before are removed.
};

} // namespace logging2::tools
