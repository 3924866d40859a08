#pragma once

#include <cstddef>

namespace logging2::core {

/// The identifier of one logged channel. Two identifiers of equal value denote the same data.
class CoreDataId {
public:
    /// The identifier of this value.
    explicit CoreDataId(std::size_t value) noexcept : identifier(value) {}

    /// The identifier as a number.
    std::size_t operator()() const noexcept { return identifier; }

    /// Whether both denote the same data.
    friend bool operator==(CoreDataId a, CoreDataId b) noexcept {
        return a.identifier == b.identifier;
    }
    /// The opposite.
    friend bool operator!=(CoreDataId a, CoreDataId b) noexcept { return !(a == b); }

private:
    std::size_t identifier;
};

} // namespace logging2::core
