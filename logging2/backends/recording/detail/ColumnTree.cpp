#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <algorithm>
#include <array>
#include <cstring>

namespace logging2::core::detail {
namespace {

/// So many values are compared side by side.
constexpr std::size_t laneCount = 8;

/// A NaN leaves least and greatest as they are, because it compares false.
void add_value(double value, ElementRange& range) {
    range.least = value < range.least ? value : range.least;
    range.greatest = value > range.greatest ? value : range.greatest;
    range.nanCount += value != value ? 1.0 : 0.0;
}

void add_range(const ElementRange& part, ElementRange& range) {
    range.least = std::min(range.least, part.least);
    range.greatest = std::max(range.greatest, part.greatest);
    range.nanCount += part.nanCount;
}

/// One element per sample, in lanes, which the compiler turns into vector instructions.
void add_scalars(const double* values, std::size_t count, ElementRange& range) {
    std::array<double, laneCount> least;    // NOLINT(*-member-init)
    std::array<double, laneCount> greatest; // NOLINT(*-member-init)
    std::array<double, laneCount> nanCount{};
    least.fill(range.least);
    greatest.fill(range.greatest);
    const std::size_t whole = count / laneCount * laneCount;
    for (std::size_t first = 0; first < whole; first += laneCount) {
        for (std::size_t lane = 0; lane < laneCount; ++lane) {
            const double value = values[first + lane];
            least[lane] = value < least[lane] ? value : least[lane];
            greatest[lane] = value > greatest[lane] ? value : greatest[lane];
            nanCount[lane] += value != value ? 1.0 : 0.0;
        }
    }
    for (std::size_t lane = 0; lane < laneCount; ++lane) {
        add_range({least[lane], greatest[lane], nanCount[lane]}, range);
    }
    std::for_each(values + whole, values + count, [&](double value) { add_value(value, range); });
}

void write_hash(std::uint64_t hash, double* node) {
    std::memcpy(node, &hash, sizeof hash);
}

ElementRange* ranges_of(double* node) {
    return reinterpret_cast<ElementRange*>(node + 1);
}

} // namespace

std::uint64_t hash_of_node(const double* node) {
    std::uint64_t hash = 0;
    std::memcpy(&hash, node, sizeof hash);
    return hash;
}

ElementRange range_of_node(const double* node, std::size_t element) {
    const double* const range = node + 1 + 3 * element;
    return {range[0], range[1], range[2]};
}

void add_samples(const double* samples, std::size_t count, std::size_t width,
                 ElementRange* ranges) {
    if (width == 1) {
        add_scalars(samples, count, *ranges);
        return;
    }
    for (const double* const end = samples + count * width; samples != end; samples += width) {
        for (std::size_t element = 0; element < width; ++element) {
            add_value(samples[element], ranges[element]);
        }
    }
}

void add_node(const double* node, std::size_t width, ElementRange* ranges) {
    for (std::size_t element = 0; element < width; ++element) {
        add_range(range_of_node(node, element), ranges[element]);
    }
}

void write_leaf(const double* samples, std::size_t count, std::size_t width, double* leaf) {
    std::fill_n(ranges_of(leaf), width, ElementRange());
    add_samples(samples, count, width, ranges_of(leaf));
    write_hash(hash_of(samples, count * width * sizeof(double)), leaf);
}

void write_node(const double* nodes, std::size_t nodeCount, std::size_t width, double* node) {
    const std::size_t stride = node_double_count(width);
    std::fill_n(ranges_of(node), width, ElementRange());
    for (std::size_t child = 0; child < nodeCount; ++child) {
        add_node(nodes + child * stride, width, ranges_of(node));
    }
    write_hash(hash_of(nodes, nodeCount * stride * sizeof(double)), node);
}

} // namespace logging2::core::detail
