#pragma once

#include <logging2/export.hpp>

#include <cstdint>

namespace cppmicroservices {

namespace detail {
class Registry;
} // namespace detail

/// The number of a listener; 0 for none.
using ListenerTokenId = std::uint64_t;

/// Stands for one added listener; moves, does not copy. False when empty or moved from.
class LOGGING2_EXPORT ListenerToken {
public:
    ListenerToken() = default;
    ListenerToken(const ListenerToken&) = delete;
    ListenerToken& operator=(const ListenerToken&) = delete;
    /// Leaves the other token empty.
    ListenerToken(ListenerToken&& other) noexcept;
    /// Leaves the other token empty; the listener of this one stays added.
    ListenerToken& operator=(ListenerToken&& other) noexcept;

    /// Whether it stands for a listener.
    explicit operator bool() const;

private:
    friend class detail::Registry;

    LOGGING2_NO_EXPORT explicit ListenerToken(ListenerTokenId id);

    ListenerTokenId id = 0;
};

} // namespace cppmicroservices
