#pragma once

#include <logging2/export.hpp>

#include <cstdint>

namespace cppmicroservices {

namespace detail {
class Registry;
} // namespace detail

using ListenerTokenId = std::uint64_t;

/// Stands for one added listener; moves, does not copy. False when empty or moved from.
class LOGGING2_EXPORT ListenerToken {
public:
    ListenerToken() = default;
    ListenerToken(const ListenerToken&) = delete;
    ListenerToken& operator=(const ListenerToken&) = delete;
    ListenerToken(ListenerToken&& other) noexcept;
    ListenerToken& operator=(ListenerToken&& other) noexcept;

    explicit operator bool() const;

private:
    friend class detail::Registry;

    LOGGING2_NO_EXPORT explicit ListenerToken(ListenerTokenId id);

    ListenerTokenId id = 0;
};

} // namespace cppmicroservices
