#include <logging2/backends/checked/detail/wording.hpp>

#include <cstddef>
#include <sstream>

namespace logging2::core::detail {
namespace {

constexpr std::size_t mostShown = 8;

/// Returns the items that are shown, followed by the last item or by the number of the others.
std::string enumeration(const std::vector<std::string>& items) {
    const bool isShort = items.size() <= mostShown + 1;
    const std::size_t shownCount = isShort ? items.size() - 1 : mostShown;
    std::string text = items.front();
    for (std::size_t i = 1; i < shownCount; ++i) {
        text += ", " + items[i];
    }
    return text + " and " +
           (isShort ? items.back() : std::to_string(items.size() - mostShown) + " more");
}

} // namespace

std::string in_quotes(const std::string& text) {
    return '"' + text + '"';
}

std::string in_quotes(const lang::core::ValuePath& path) {
    std::ostringstream text;
    text << path;
    return in_quotes(text.str());
}

std::string listing(const std::string& noun, const std::vector<std::string>& items) {
    if (items.empty()) {
        return "there are no " + noun + 's';
    }
    if (items.size() == 1) {
        return "the only " + noun + " is " + items.front();
    }
    return "the " + noun + "s are " + enumeration(items);
}

} // namespace logging2::core::detail
