#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace logging2::core::detail {
namespace {

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

#ifdef __SSE2__

/// What was found in every other value.
struct Lanes {
    __m128d least = _mm_set1_pd(ElementRange().least);
    __m128d greatest = _mm_set1_pd(ElementRange().greatest);
    __m128d isNan = _mm_setzero_pd();

    void add(const double* values) {
        const __m128d pair = _mm_loadu_pd(values);
        // If one operand is NaN, the result is the second one.
        least = _mm_min_pd(pair, least);
        greatest = _mm_max_pd(pair, greatest);
        isNan = _mm_or_pd(isNan, _mm_cmpunord_pd(pair, pair));
    }
};

double least_of(__m128d pair) {
    return std::min(_mm_cvtsd_f64(pair), _mm_cvtsd_f64(_mm_unpackhi_pd(pair, pair)));
}

double greatest_of(__m128d pair) {
    return std::max(_mm_cvtsd_f64(pair), _mm_cvtsd_f64(_mm_unpackhi_pd(pair, pair)));
}

/// Adds a multiple of eight values. Compilers do not find these instructions by themselves, and
/// comparing value by value takes three times as long.
void add_eights(const double* values, std::size_t count, ElementRange& range) {
    std::array<Lanes, 4> lanes;
    for (std::size_t first = 0; first < count; first += 8) {
        for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
            lanes[lane].add(values + first + 2 * lane);
        }
    }
    bool hasNan = false;
    for (const Lanes& lane : lanes) {
        add_range({least_of(lane.least), greatest_of(lane.greatest), 0}, range);
        hasNan = hasNan || _mm_movemask_pd(lane.isNan) != 0;
    }
    if (hasNan) {
        range.nanCount += static_cast<double>(
            std::count_if(values, values + count, [](double value) { return value != value; }));
    }
}

constexpr std::size_t togetherCount = 8;

#else

void add_eights(const double*, std::size_t, ElementRange&) {}

constexpr std::size_t togetherCount = std::numeric_limits<std::size_t>::max();

#endif

/// One element per sample.
void add_scalars(const double* values, std::size_t count, ElementRange& range) {
    const std::size_t together = count / togetherCount * togetherCount;
    add_eights(values, together, range);
    std::for_each(values + together, values + count,
                  [&](double value) { add_value(value, range); });
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
