#pragma once

#include <boost/functional/hash.hpp>

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>

namespace lang::core {

/// The path of a logged value. It is a plain text, such as "ball.height".
class ValuePath {
public:
    /// Makes a path of exactly this text.
    explicit ValuePath(std::string path) : characters(std::move(path)) {}

    /// Returns the text. The reference is valid as long as the path lives and is not assigned to.
    const std::string& text() const noexcept { return characters; }

    /// Returns a negative number, 0 or a positive number if a comes before b, is equal to b or
    /// comes after b in lexicographic byte order.
    friend int compare(const ValuePath& a, const ValuePath& b) noexcept {
        return a.characters.compare(b.characters);
    }

    /// Whether the texts are equal.
    friend bool operator==(const ValuePath& a, const ValuePath& b) noexcept {
        return a.characters == b.characters;
    }
    /// Whether the texts differ.
    friend bool operator!=(const ValuePath& a, const ValuePath& b) noexcept { return !(a == b); }

    /// Whether a comes before b in the order of compare(), for ordered containers.
    friend bool operator<(const ValuePath& a, const ValuePath& b) noexcept {
        return compare(a, b) < 0;
    }

    /// Returns a hash of the path. Equal paths have equal hashes. The value may differ between
    /// versions of Boost.
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

// The friends are declared here as well, so that calls with a qualified name find them.
/// Returns a negative number, 0 or a positive number if a comes before b, is equal to b or comes
/// after b in lexicographic byte order.
int compare(const ValuePath& a, const ValuePath& b) noexcept;
/// Whether the texts are equal.
bool operator==(const ValuePath& a, const ValuePath& b) noexcept;
/// Returns a hash of the path. Equal paths have equal hashes. The value may differ between versions
/// of Boost.
std::size_t hash_value(const ValuePath& path);
/// Prints the text.
std::ostream& operator<<(std::ostream& stream, const ValuePath& path);

} // namespace lang::core
