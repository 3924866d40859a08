#pragma once

#include <boost/functional/hash.hpp>

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>

namespace lang::core {

/// The path of a logged value, a plain text such as "ball.height".
class ValuePath {
public:
    /// The path of this text.
    explicit ValuePath(std::string path) : text(std::move(path)) {}

    /// Negative, zero or positive as a stands before, at or behind b in lexicographic byte order.
    friend int compare(const ValuePath& a, const ValuePath& b) noexcept {
        return a.text.compare(b.text);
    }

    /// Whether the texts are equal.
    friend bool operator==(const ValuePath& a, const ValuePath& b) noexcept {
        return a.text == b.text;
    }
    /// The opposite.
    friend bool operator!=(const ValuePath& a, const ValuePath& b) noexcept { return !(a == b); }

    /// The order of compare(), for ordered containers.
    friend bool operator<(const ValuePath& a, const ValuePath& b) noexcept {
        return compare(a, b) < 0;
    }

    /// Equal paths have equal hashes; the value may differ between versions of Boost.
    friend std::size_t hash_value(const ValuePath& path) {
        return boost::hash<std::string>()(path.text);
    }

    /// Prints the text.
    friend std::ostream& operator<<(std::ostream& stream, const ValuePath& path) {
        return stream << path.text;
    }

private:
    std::string text;
};

// Declared here as well, so that they are also found by their full names.
/// Negative, zero or positive as a stands before, at or behind b in lexicographic byte order.
int compare(const ValuePath& a, const ValuePath& b) noexcept;
/// Whether the texts are equal.
bool operator==(const ValuePath& a, const ValuePath& b) noexcept;
/// Equal paths have equal hashes; the value may differ between versions of Boost.
std::size_t hash_value(const ValuePath& path);
/// Prints the text.
std::ostream& operator<<(std::ostream& stream, const ValuePath& path);

} // namespace lang::core
