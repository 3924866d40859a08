#include <tools/native/duration.hpp>

#include <charconv>
#include <cstdint>

namespace logging2::tools {
namespace {

/// Of 0 if the letter is no unit.
std::uint64_t seconds_of_unit(char unit) {
    switch (unit) {
    case 's':
        return 1;
    case 'm':
        return 60;
    case 'h':
        return 3600;
    case 'd':
        return 86'400;
    case 'w':
        return 604'800;
    default:
        return 0;
    }
}

} // namespace

std::optional<std::chrono::seconds> parse_duration(std::string_view text) {
    constexpr std::uint64_t greatest = 100 * std::uint64_t{365} * 86'400;
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || end - stop != 1) {
        return std::nullopt;
    }
    const std::uint64_t unit = seconds_of_unit(*stop);
    if (unit == 0 || number > greatest / unit) {
        return std::nullopt;
    }
    return std::chrono::seconds(number * unit);
}

} // namespace logging2::tools
