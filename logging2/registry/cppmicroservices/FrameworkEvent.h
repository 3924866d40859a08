#pragma once

#include <cstdint>

namespace cppmicroservices {
inline namespace logging2_registry {

namespace detail {
class FrameworkCore;
} // namespace detail

/// The result of `Framework::WaitForStop`.
class FrameworkEvent {
public:
    /// The types of events, with the values of CppMicroServices.
    enum Type : std::uint32_t {
        FRAMEWORK_ERROR = 0x00000002,
        FRAMEWORK_STOPPED = 0x00000040,
        FRAMEWORK_WAIT_TIMEDOUT = 0x00000200
    };

    /// Returns the type of this event.
    Type GetType() const { return type; }

private:
    friend class detail::FrameworkCore;

    explicit FrameworkEvent(Type kind) : type(kind) {}

    Type type;
};

} // namespace logging2_registry
} // namespace cppmicroservices
