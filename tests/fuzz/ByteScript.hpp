#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace logging2::core::test {

/// Reads a script of numbers and choices from bytes. After the end every byte is 0, so that any
/// bytes form a script and no read goes past them.
class ByteScript {
public:
    ByteScript(const std::uint8_t* bytes, std::size_t count) : next(bytes), end(bytes + count) {}

    bool atEnd() const { return next == end; }

    std::size_t byte() { return atEnd() ? 0U : *next++; }

    bool flag() { return below(2) == 1; }

    /// A number from 0 to `limit` - 1; the limit is at most 65536.
    std::size_t below(std::size_t limit) {
        const std::size_t high = limit <= 256 ? 0 : byte();
        return (256 * high + byte()) % limit;
    }

    /// One of an array's elements.
    template <class Element, std::size_t count>
    const Element& oneOf(const Element (&elements)[count]) {
        return elements[below(count)];
    }

    /// Up to `limit` - 1 bytes, unchanged.
    std::string text(std::size_t limit) {
        std::string result;
        for (std::size_t left = below(limit); left > 0 && !atEnd(); --left) {
            result.push_back(static_cast<char>(byte()));
        }
        return result;
    }

    /// Any bit pattern.
    double anyDouble() {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof bits; ++i) {
            bits = bits << 8U | byte();
        }
        return doubleOf(bits);
    }

    /// Usually a time on a coarse grid, so that times repeat and go backwards; sometimes a time
    /// near the last one, or a special number.
    double time(double last) {
        using Limits = std::numeric_limits<double>;
        static constexpr double steps[] = {0.0, 0.25, 1.0, -0.25, -1.0};
        static constexpr double rare[] = {
            Limits::quiet_NaN(),  Limits::infinity(), -Limits::infinity(), -0.0,
            Limits::denorm_min(), Limits::lowest(),   Limits::max(),       -Limits::quiet_NaN()};
        const std::size_t pick = byte();
        if (pick < 128) {
            return static_cast<double>(pick) / 4.0;
        }
        if (pick < 216) {
            return last + steps[pick % 5];
        }
        return pick < 248 ? rare[pick % 8] : anyDouble();
    }

    static double doubleOf(std::uint64_t bits) {
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

private:
    const std::uint8_t* next;
    const std::uint8_t* end;
};

} // namespace logging2::core::test
