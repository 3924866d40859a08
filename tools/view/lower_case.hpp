#pragma once

#include <algorithm>
#include <string>

namespace logging2::tools::view {

/// The text with its letters from A to Z in lower case.
inline std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

} // namespace logging2::tools::view
