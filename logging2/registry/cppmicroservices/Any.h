#pragma once

#include <any>
#include <string>
#include <type_traits>
#include <utility>

namespace cppmicroservices {
inline namespace logging2_registry {

/// Holds one copyable value of any type, or nothing.
///
/// A string literal does not fit in (it is an array): write `std::string("text")`.
class Any {
public:
    Any() = default;

    /// Holds a copy of the value, or takes it over.
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

/// The held value in place; null if it is of another type or `operand` is null.
template <typename Value>
const Value* any_cast(const Any* operand) {
    return operand == nullptr ? nullptr : std::any_cast<Value>(&operand->held);
}

} // namespace logging2_registry
} // namespace cppmicroservices
