#pragma once

#include <tools/view/messages.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace logging2::tools::view {

/// A request line and headers are at most so long together.
constexpr std::size_t greatestHeadByteCount = std::size_t{16} * 1024;

/// How many bytes the head of a request has, with the empty line at its end; empty if the end has
/// not come yet.
std::optional<std::size_t> head_byte_count(std::string_view bytes);

/// The head without what the server does not support, and with lines that the parser of the HTTP
/// library takes as they are meant. Throws HttpError if it is not well formed (400), if the method
/// is not GET (405), if a body follows (413), if it is too long (414, 431), or if it
/// is of another version than HTTP/1.1 (505).
std::string checked_head(std::string_view head);

} // namespace logging2::tools::view
