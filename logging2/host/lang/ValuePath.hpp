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
    explicit ValuePath(std::string path) : characters(std::move(path)) {}

    /// The text; valid while the path lives and is not assigned to.
    const std::string& text() const noexcept { return characters; }

    /// Negative, zero or positive as a stands before, at or behind b in lexicographic byte order.
    friend int compare(const ValuePath& a, const ValuePath& b) noexcept {
        return a.characters.compare(b.characters);
    }

    /// Whether the texts are equal.
    friend bool operator==(const ValuePath& a, const ValuePath& b) noexcept {
        return a.characters == b.characters;
    }
    /// The opposite.
    friend bool operator!=(const ValuePath& a, const ValuePath& b) noexcept { return !(a == b); }

    /// The order of compare(), for ordered containers.
    friend bool operator<(const ValuePath& a, const ValuePath& b) noexcept {
        return compare(a, b) < 0;
    }

    /// Equal paths have equal hashes; the value may differ between versions of Boost.
    friend std::size_t hash_value(const ValuePath& path) {
        return boost::hash<std::string>()(path.characters);
    }

    /// Prints the text.
    friend std::ostream& operator<<(std::ostream& stream, const ValuePath& path) {
        return stream << path.characters;
    }

private:
    std::string characters;
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
