#pragma once

#include <logging2/export.hpp>

#include <any>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace cppmicroservices {

/// Holds one copyable value of any type, or nothing.
///
/// A string literal does not fit in (it is an array): write `std::string("text")`.
class LOGGING2_EXPORT Any {
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

    /// The type of the held value; `typeid(void)` when empty.
    const std::type_info& Type() const { return held.type(); }

    /// The held value as text: numbers as a stream prints them, several strings as "[a,b]".
    ///
    /// Knows the types that a service property may have; throws `std::logic_error` for any other
    /// type and when empty.
    std::string ToString() const;

private:
    template <typename Value>
    friend Value* any_cast(Any* operand);
    template <typename Value>
    friend const Value* any_cast(const Any* operand);

    std::any held;
};

/// Thrown by the value form of `any_cast` when the value is of another type.
class LOGGING2_EXPORT BadAnyCastException : public std::bad_cast {
public:
    /// The message becomes `what()`.
    explicit BadAnyCastException(std::string message);
    ~BadAnyCastException() override;

    /// Names the held type and the one that was asked for.
    const char* what() const noexcept override;

private:
    std::string message;
};

namespace detail {

/// Throws `BadAnyCastException` with both names in its text.
[[noreturn]] LOGGING2_EXPORT void throw_bad_any_cast(const std::type_info& source,
                                                     const std::type_info& target);

} // namespace detail

/// The held value in place; null when it is of another type or `operand` is null.
template <typename Value>
Value* any_cast(Any* operand) {
    return operand == nullptr ? nullptr : std::any_cast<Value>(&operand->held);
}

/// The same for a value that must not be changed.
template <typename Value>
const Value* any_cast(const Any* operand) {
    return operand == nullptr ? nullptr : std::any_cast<Value>(&operand->held);
}

/// A copy of the held value; throws `BadAnyCastException` when it is of another type.
template <typename Value>
Value any_cast(const Any& operand) {
    const Value* value = any_cast<Value>(&operand);
    if (value == nullptr) {
        detail::throw_bad_any_cast(operand.Type(), typeid(Value));
    }
    return *value;
}

} // namespace cppmicroservices
