#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace foundation {

/// A handle to an immutable text. Copies share the text, and they may be released on any thread.
template <class Char>
class BasicTableString {
public:
    /// Makes the empty text.
    BasicTableString() = default;

    /// Copies the text.
    BasicTableString(std::basic_string_view<Char> characters)
        : text(std::make_shared<const std::basic_string<Char>>(characters)) {}

    /// Copies a string literal up to its first zero, so that `attributes.name = "run 1"` compiles.
    template <std::size_t N>
    BasicTableString(const Char (&literal)[N])
        : BasicTableString(std::basic_string_view<Char>(literal)) {}

    /// Returns the characters, followed by a zero. The pointer is valid as long as any handle to
    /// the same text lives.
    const Char* data() const noexcept { return text ? text->c_str() : &terminator; }

    /// Returns the number of characters, without the zero at the end.
    std::size_t size() const noexcept { return text ? text->size() : 0; }

private:
    static constexpr Char terminator{};

    std::shared_ptr<const std::basic_string<Char>> text;
};

} // namespace foundation

namespace logging2::core {
using foundation::BasicTableString;
} // namespace logging2::core
