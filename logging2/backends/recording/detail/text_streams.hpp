#pragma once

#include <locale>
#include <sstream>
#include <string>

namespace logging2::core::detail {

/// A stream that makes the same text in each locale, and throws if there is no memory; by default
/// it would leave something out.
class TextWriter : public std::ostringstream {
public:
    TextWriter() {
        imbue(std::locale::classic());
        exceptions(std::ios::badbit);
    }
};

/// The same for reading a text.
class TextReader : public std::istringstream {
public:
    explicit TextReader(const std::string& text) : std::istringstream(text) {
        imbue(std::locale::classic());
        exceptions(std::ios::badbit);
    }
};

} // namespace logging2::core::detail
