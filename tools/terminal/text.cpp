#include <tools/terminal/text.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace logging2::tools {
namespace {

using Clock = std::chrono::system_clock;

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 64> text{};
    const int length = std::snprintf(text.data(), text.size(), format, values...);
    return {text.data(), static_cast<std::size_t>(length)};
}

/// "2 h 03 min": whole units of the first, and what is left in the second.
std::string two_units(long long count, long long perUnit, const char* unit, const char* smaller) {
    return formatted("%lld %s %02lld %s", count / perUnit, unit, count % perUnit, smaller);
}

unsigned char byte_at(const std::string& text, std::size_t index) {
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

/// A character in UTF-8.
struct Character {
    std::size_t byteCount; ///< 0 if the bytes are not UTF-8
    std::uint32_t code;
};

/// The character that begins at this byte.
Character character_at(const std::string& text, std::size_t index) {
    const std::uint32_t first = byte_at(text, index);
    const std::size_t count = first < 0x80    ? 1
                              : first < 0xC2  ? 0
                              : first < 0xE0  ? 2
                              : first < 0xF0  ? 3
                              : first <= 0xF4 ? 4
                                              : 0;
    constexpr std::array<std::uint32_t, 5> masks = {0, 0x7F, 0x1F, 0x0F, 0x07};
    std::uint32_t code = first & masks[count];
    for (std::size_t next = 1; next < count; ++next) {
        const std::uint32_t byte = byte_at(text, index + next);
        if ((byte & 0xC0U) != 0x80U) {
            return {0, 0};
        }
        code = code << 6 | (byte & 0x3FU);
    }
    constexpr std::array<std::uint32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    const bool isCharacter = code >= least[count] && code <= 0x10FFFF && code >> 11 != 0x1B;
    return {isCharacter ? count : 0, code};
}

/// Those that a terminal obeys, that change the order of the text around them, or end a line.
bool is_control_character(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x61C ||
           (code >= 0x200E && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

bool continues_a_character(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// Where the character with this index begins.
std::size_t start_of_character(const std::string& text, std::size_t index) {
    std::size_t position = 0;
    for (; position < text.size(); ++position) {
        if (!continues_a_character(text[position]) && index-- == 0) {
            break;
        }
    }
    return position;
}

} // namespace

std::string number_text(double value) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

std::string short_number_text(double value) {
    return formatted("%.6g", value);
}

std::string short_number_text(std::optional<double> value) {
    return value ? short_number_text(*value) : "";
}

std::string count_text(std::uint64_t count) {
    std::string text = std::to_string(count);
    for (std::size_t end = text.size(); end > 3; end -= 3) {
        text.insert(end - 3, 1, ',');
    }
    return text;
}

std::string byte_count_text(std::uint64_t byteCount) {
    constexpr std::array<const char*, 6> units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (byteCount < 1024) {
        return std::to_string(byteCount) + " B";
    }
    auto count = static_cast<double>(byteCount) / 1024;
    std::size_t unit = 0;
    while (count >= 999.95 && unit + 1 < units.size()) {
        count /= 1024;
        ++unit;
    }
    return formatted("%.1f %s", count, units[unit]);
}

std::string duration_text(Clock::duration duration) {
    using std::chrono::duration_cast;
    const auto milliseconds = duration_cast<std::chrono::milliseconds>(duration).count();
    if (milliseconds < 1000) {
        return formatted("%lld ms", static_cast<long long>(milliseconds));
    }
    if (milliseconds < 60000) {
        return formatted("%.1f s", static_cast<double>(milliseconds) / 1000);
    }
    const auto seconds = static_cast<long long>(milliseconds / 1000);
    if (seconds < 3600) {
        return two_units(seconds, 60, "min", "s");
    }
    return seconds < 86400 ? two_units(seconds / 60, 60, "h", "min")
                           : two_units(seconds / 3600, 24, "d", "h");
}

std::string local_time_text(Clock::time_point time) {
    const std::time_t seconds = Clock::to_time_t(time);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string utc_text(Clock::time_point time) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time - whole).count();
    const std::time_t seconds = Clock::to_time_t(whole);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    return std::string(text.data(), length) +
           formatted(".%03lldZ", static_cast<long long>(milliseconds));
}

std::string printable(const std::string& text) {
    std::string result;
    for (std::size_t index = 0; index < text.size();) {
        const Character character = character_at(text, index);
        if (character.byteCount > 0 && !is_control_character(character.code)) {
            result.append(text, index, character.byteCount);
            index += character.byteCount;
        } else {
            result += formatted("\\x%02X", static_cast<unsigned>(byte_at(text, index)));
            ++index;
        }
    }
    return result;
}

std::size_t character_count(const std::string& text) {
    return text.size() -
           static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continues_a_character));
}

std::string cut(const std::string& text, std::size_t characterCount) {
    return text.substr(0, start_of_character(text, characterCount));
}

std::string shortened(const std::string& text, std::size_t characterCount) {
    const std::size_t count = character_count(text);
    if (count <= characterCount) {
        return text;
    }
    if (characterCount == 0) {
        return {};
    }
    const std::size_t tail = (characterCount - 1) / 2;
    const std::size_t head = characterCount - 1 - tail;
    return cut(text, head) + "…" + text.substr(start_of_character(text, count - tail));
}

std::string shortened_after_word(const std::string& text, std::size_t characterCount) {
    if (character_count(text) <= characterCount) {
        return text;
    }
    if (characterCount < 3) {
        return characterCount == 0 ? "" : "…";
    }
    const std::size_t blank = cut(text, characterCount - 1).rfind(' ');
    return blank == std::string::npos ? "…" : text.substr(0, blank) + " …";
}

std::string right_aligned(const std::string& text, std::size_t characterCount) {
    const std::size_t count = character_count(text);
    return std::string(characterCount - std::min(characterCount, count), ' ') + text;
}

std::string wrapped(const std::string& text, std::optional<std::size_t> characterCount) {
    constexpr std::size_t leastWidth = 4;
    const std::size_t width = std::max(characterCount.value_or(0), leastWidth);
    std::string rest = text;
    std::string lines;
    while (characterCount && character_count(rest) > width) {
        const std::string part = cut(rest, width + 1);
        const std::size_t blank = part.find_last_of(' ');
        const std::size_t indent = part.find_first_not_of(' ');
        const bool endsAfterWord = blank != std::string::npos && blank > indent;
        const std::size_t end = endsAfterWord ? blank : cut(rest, width).size();
        lines += rest.substr(0, end) + '\n';
        rest = "  " + rest.substr(endsAfterWord ? end + 1 : end);
    }
    return lines + rest;
}

} // namespace logging2::tools
