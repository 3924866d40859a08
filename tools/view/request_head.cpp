#include <tools/view/request_head.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/lower_case.hpp>

#include <algorithm>
#include <array>
#include <cctype>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestLineByteCount = 8000;
constexpr std::size_t greatestHeaderCount = 100;

bool is_token(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 ||
               std::string_view("!#$%&'*+-.^_`|~").find(static_cast<char>(c)) !=
                   std::string_view::npos;
    });
}

bool is_visible(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7f'; });
}

bool is_header_value(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](unsigned char c) { return (c >= ' ' && c != 0x7f) || c == '\t'; });
}

/// The next line without its end, which must be CR LF.
std::string_view take_line(std::string_view& head) {
    const std::size_t end = head.find("\r\n");
    if (end == std::string_view::npos) {
        throw HttpError(status::badRequest, "The request has a line that does not end.");
    }
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(end + 2);
    return line;
}

void check_request_line(std::string_view line) {
    if (line.size() > greatestLineByteCount) {
        throw HttpError(status::uriTooLong, "The address is too long.");
    }
    const std::size_t first = line.find(' ');
    const std::size_t second = line.find(' ', std::min(first, line.size() - 1) + 1);
    if (second == std::string_view::npos || !is_token(line.substr(0, first)) ||
        !is_visible(line.substr(first + 1, second - first - 1)) || second == first + 1 ||
        !is_visible(line.substr(second + 1))) {
        throw HttpError(status::badRequest, "The request line is malformed.");
    }
    if (line.substr(second + 1) != "HTTP/1.1") {
        throw HttpError(status::versionNotSupported, "Only HTTP/1.1 is supported.");
    }
    if (line.substr(0, first) != "GET") {
        throw HttpError(status::methodNotAllowed, "Only the method GET is allowed.");
    }
    if (std::count(line.begin(), line.end(), '?') > 1) {
        throw HttpError(status::badRequest, "The address has a second ?, which must be escaped.");
    }
}

/// The library would send a part of the body, packed or after another answer.
bool is_unsupported(const std::string& name) {
    constexpr std::array<const char*, 4> names{"range", "if-range", "accept-encoding", "expect"};
    return std::find(names.begin(), names.end(), name) != names.end();
}

void check_no_body(const std::string& name, std::string_view value) {
    const bool isLength = name == "content-length";
    if (name == "transfer-encoding" ||
        (isLength && value.find_first_not_of(" \t0") != std::string_view::npos)) {
        throw HttpError(status::contentTooLarge, "A request must have no body.");
    }
}

} // namespace

std::optional<std::size_t> head_byte_count(std::string_view bytes) {
    constexpr std::string_view end = "\r\n\r\n";
    const std::size_t place = bytes.find(end);
    return place == std::string_view::npos ? std::nullopt : std::optional(place + end.size());
}

std::string checked_head(std::string_view head) {
    const std::string_view requestLine = take_line(head);
    check_request_line(requestLine);
    std::string result = std::string(requestLine) + "\r\n";
    std::size_t count = 0;
    for (std::string_view line = take_line(head); !line.empty(); line = take_line(head)) {
        const std::size_t colon = std::min(line.find(':'), line.size());
        const std::string name = lower_case(std::string(line.substr(0, colon)));
        const std::string_view value = line.substr(std::min(colon + 1, line.size()));
        if (colon == line.size() || !is_token(name) || !is_header_value(value)) {
            throw HttpError(status::badRequest, "The request has a malformed header.");
        }
        if (line.size() > greatestLineByteCount || ++count > greatestHeaderCount) {
            throw HttpError(status::headersTooLarge,
                            "The request has too many or too long headers.");
        }
        check_no_body(name, value);
        if (!is_unsupported(name)) {
            result += std::string(line) + "\r\n";
        }
    }
    return result + "\r\n";
}

} // namespace logging2::tools::view
