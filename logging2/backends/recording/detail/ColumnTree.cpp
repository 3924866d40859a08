#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

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

/// Compilers do not find these instructions by themselves, and comparing value by value takes three
/// times as long.
struct PairRange {
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

    bool hasNan() const { return _mm_movemask_pd(isNan) != 0; }

    ElementRange first() const { return {_mm_cvtsd_f64(least), _mm_cvtsd_f64(greatest), 0}; }

    ElementRange second() const {
        return {_mm_cvtsd_f64(_mm_unpackhi_pd(least, least)),
                _mm_cvtsd_f64(_mm_unpackhi_pd(greatest, greatest)), 0};
    }
};

constexpr std::size_t greatestPairCount = 16;

/// Adds count values, a multiple of 2 · PairCount. The values at equal places modulo 2 · PairCount
/// belong to the same element, and that of place p to element p modulo width. Returns false, and
/// adds nothing, if there is a NaN.
template <std::size_t PairCount>
bool add_pairs(const double* values, std::size_t count, std::size_t width, ElementRange* ranges) {
    std::array<PairRange, PairCount> pairs;
    for (std::size_t first = 0; first < count; first += 2 * PairCount) {
        for (std::size_t k = 0; k < PairCount; ++k) {
            pairs[k].add(values + first + 2 * k);
        }
    }
    for (const PairRange& pair : pairs) {
        if (pair.hasNan()) {
            return false;
        }
    }
    for (std::size_t k = 0; k < PairCount; ++k) {
        add_range(pairs[k].first(), ranges[2 * k % width]);
        add_range(pairs[k].second(), ranges[(2 * k + 1) % width]);
    }
    return true;
}

using AddPairs = bool (*)(const double*, std::size_t, std::size_t, ElementRange*);

template <std::size_t... Index>
constexpr std::array<AddPairs, sizeof...(Index)> add_pairs_table(std::index_sequence<Index...>) {
    return {add_pairs<Index + 1>...};
}

/// Adds the first values that fill whole periods, and returns how many, a multiple of the width;
/// 0 if there is a NaN.
std::size_t add_periods(const double* values, std::size_t count, std::size_t width,
                        ElementRange* ranges) {
    static constexpr auto table = add_pairs_table(std::make_index_sequence<greatestPairCount>());
    // One element per sample: four pairs at once hide how long each takes.
    const std::size_t pairCount = width == 1 ? 4 : width;
    if (pairCount > greatestPairCount) {
        return 0;
    }
    const std::size_t whole = count / (2 * pairCount) * (2 * pairCount);
    return table[pairCount - 1](values, whole, width, ranges) ? whole : 0;
}

#else

std::size_t add_periods(const double*, std::size_t, std::size_t, ElementRange*) {
    return 0;
}

#endif

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
    if (width == 0) {
        return;
    }
    const double* const end = samples + count * width;
    samples += add_periods(samples, count * width, width, ranges);
    for (; samples != end; samples += width) {
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
