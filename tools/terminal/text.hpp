#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace logging2::tools {

/// The shortest text that std::strtod turns into the same number.
std::string number_text(double value);

/// At most six significant digits, for tables.
std::string short_number_text(double value);

/// The same, or an empty text if there is no number.
std::string short_number_text(std::optional<double> value);

/// As people read it: "1,234,567".
std::string count_text(std::uint64_t count);

/// As people read it: "512 B", "1.5 KiB".
std::string byte_count_text(std::uint64_t byteCount);

/// As people read it: "250 ms", "12.3 s", "5 min 07 s", "2 h 03 min", "3 d 04 h".
std::string duration_text(std::chrono::system_clock::duration duration);

/// Local time: "2026-11-21 23:15:30".
std::string local_time_text(std::chrono::system_clock::time_point time);

/// Universal time, as in ISO 8601: "2026-11-21T22:15:30.250Z".
std::string utc_text(std::chrono::system_clock::time_point time);

/// The text without characters that a terminal would obey: a control character becomes "\xNN".
std::string printable(const std::string& text);

/// How many characters of UTF-8 the text has.
std::size_t character_count(const std::string& text);

/// The first characters of the text, so many at most.
std::string cut(const std::string& text, std::size_t characterCount);

/// The text, or its beginning and its end with "…" between them such that it has so many
/// characters.
std::string shortened(const std::string& text, std::size_t characterCount);

/// The text, or its first whole words and "…" such that it has so many characters at most.
std::string shortened_after_word(const std::string& text, std::size_t characterCount);

/// The text after so many blanks that it has so many characters.
std::string right_aligned(const std::string& text, std::size_t characterCount);

/// The text in lines of so many characters at most, which end after a word where possible. All but
/// the first begin with two blanks.
std::string wrapped(const std::string& text, std::optional<std::size_t> characterCount);

} // namespace logging2::tools
