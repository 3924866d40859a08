#include <logging2/backends/columnar/detail/RowLayout.hpp>

namespace logging2::core::detail {

RowLayout::RowLayout(const std::vector<LoggedChannel>& channels) {
    places.reserve(channels.size());
    for (const LoggedChannel& channel : channels) {
        add(channel.width);
    }
    parts.shrink_to_fit();
}

void RowLayout::add(std::size_t width) {
    places.push_back({length, width});
    if (width == 1 && !parts.empty() && parts.back().width == 1) {
        ++parts.back().count;
    } else if (width > 0) {
        parts.push_back({length, 1, width});
    }
    length = std::min(length + std::min(width, greatestRowLength), greatestRowLength);
}

} // namespace logging2::core::detail
