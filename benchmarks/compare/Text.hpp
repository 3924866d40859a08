#pragma once

#include <fmt/format.h>

#include <iterator>
#include <utility>

namespace logging2::core::bench {

using Text = fmt::memory_buffer;

/// Appends to the text.
template <class... Arguments>
void add(Text& text, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(text), format, std::forward<Arguments>(arguments)...);
}

} // namespace logging2::core::bench
