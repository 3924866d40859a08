#include <tools/native/file_names.hpp>

#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/native/StreamLocationCreator.hpp>
#include <logging2/stream/name_stems.hpp>

#include <algorithm>
#include <charconv>
#include <regex>

namespace logging2::tools {
namespace {

using foundation::ustring_to_utf8_string;
using Match = std::match_results<std::string_view::const_iterator>;

/// A random UUID as the library writes it, with all its fixed digits.
constexpr const char* stemPattern =
    "([0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12})";
constexpr const char* numberPattern = "(0|[1-9][0-9]*)";

constexpr std::string_view stemShape = "hhhhhhhh-hhhh-4hhh-vhhh-hhhhhhhhhhhh";
constexpr std::size_t shortestBeginning = 8;

std::optional<std::size_t> number_in(const Match::value_type& digits) {
    const std::string text = digits.str();
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

bool fits(char c, char shape) {
    switch (shape) {
    case 'h':
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    case 'v':
        return c == '8' || c == '9' || c == 'a' || c == 'b';
    default:
        return c == shape;
    }
}

} // namespace

std::optional<FileName> parse_file_name(std::string_view name) {
    static const std::regex times(std::string(stemPattern) + "_" +
                                  ustring_to_utf8_string(core::times()) + numberPattern);
    static const std::regex values(std::string(stemPattern) + "_" +
                                   ustring_to_utf8_string(core::values()) + numberPattern + "_" +
                                   numberPattern);
    Match match;
    const bool isTimes = std::regex_match(name.begin(), name.end(), match, times);
    if (!isTimes && !std::regex_match(name.begin(), name.end(), match, values)) {
        return std::nullopt;
    }
    const std::optional<std::size_t> group = number_in(match[2]);
    const std::optional<std::size_t> channel = isTimes ? std::nullopt : number_in(match[3]);
    if (!group || (!isTimes && !channel)) {
        return std::nullopt;
    }
    return FileName{match[1].str(), *group, channel};
}

std::string text_of(const FileName& name) {
    const std::u16string& word = name.channel ? core::values() : core::times();
    return name.stem + "_" + ustring_to_utf8_string(word) + std::to_string(name.group) +
           (name.channel ? "_" + std::to_string(*name.channel) : "");
}

bool begins_stem(std::string_view text) {
    return text.size() >= shortestBeginning && text.size() <= stemShape.size() &&
           std::equal(text.begin(), text.end(), stemShape.begin(), fits);
}

bool names_writer_directory(std::string_view name) {
    constexpr std::string_view prefix = "trakontmp.";
    return name.substr(0, prefix.size()) == prefix;
}

std::string writer_directory() {
    const core::StreamLocationCreator creator;
    const std::string uniquePath = ustring_to_utf8_string(creator.getUniquePath().text());
    return uniquePath.substr(0, uniquePath.rfind('/'));
}

} // namespace logging2::tools
