#pragma once

#include <any>
#include <string>
#include <type_traits>
#include <utility>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Holds one copyable value of any type, or nothing.
///
/// A string literal cannot be held, because it is an array. Write `std::string("text")` instead.
class Any {
public:
    Any() = default;

    /// Holds a copy of the value, or the value itself if it is moved in.
    template <typename Value,
              typename = std::enable_if_t<!std::is_same_v<Any, std::decay_t<Value>>>>
    Any(Value&& value) : held(std::forward<Value>(value)) {
        static_assert(!std::is_array_v<std::remove_reference_t<Value>>,
                      "an array cannot be held: write std::string(\"text\")");
    }

    /// Whether nothing is held.
    bool Empty() const { return !held.has_value(); }

private:
    template <typename Value>
    friend const Value* any_cast(const Any* operand);

    std::any held;
};

/// Returns a pointer to the held value, or null if it has another type or if `operand` is null.
template <typename Value>
const Value* any_cast(const Any* operand) {
    return operand == nullptr ? nullptr : std::any_cast<Value>(&operand->held);
}

} // namespace logging2_registry
} // namespace cppmicroservices
