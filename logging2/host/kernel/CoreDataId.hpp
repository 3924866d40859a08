#pragma once

#include <cstddef>

namespace logging2::core {

/// The identifier of one logged channel. Two identifiers with equal numbers denote the same data.
class CoreDataId {
public:
    /// Makes the identifier with this number.
    explicit CoreDataId(std::size_t value) noexcept : identifier(value) {}

    /// Returns the identifier as a number.
    std::size_t operator()() const noexcept { return identifier; }

    /// Whether both identifiers denote the same data.
    friend bool operator==(CoreDataId a, CoreDataId b) noexcept {
        return a.identifier == b.identifier;
    }
    /// Whether the identifiers denote different data.
    friend bool operator!=(CoreDataId a, CoreDataId b) noexcept { return !(a == b); }

private:
    std::size_t identifier;
};

} // namespace logging2::core
