#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

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

/// Several doubles in one register. Compilers turn the comparisons below into single instructions.
template <std::size_t Lanes>
struct Packed {
    using Values __attribute__((vector_size(Lanes * sizeof(double)))) = double;
    using Flags __attribute__((vector_size(Lanes * sizeof(double)))) = std::int64_t;
};

// Each of its instances counts for itself. GCOVR_EXCL_BR_START
/// Adds count values, a multiple of Lanes · PackCount. The values at equal places modulo that
/// belong to the same element, and that of place p to element p modulo width. Returns false, and
/// adds nothing, if there is a NaN.
template <std::size_t Lanes, std::size_t PackCount>
[[gnu::always_inline]] inline bool add_packs(const double* values, std::size_t count,
                                             std::size_t width, ElementRange* ranges) {
    using Values = typename Packed<Lanes>::Values;
    std::array<Values, PackCount> least{};
    std::array<Values, PackCount> greatest{};
    typename Packed<Lanes>::Flags isNan{};
    for (std::size_t k = 0; k < PackCount; ++k) {
        least[k] += ElementRange().least;
        greatest[k] += ElementRange().greatest;
    }
    for (std::size_t first = 0; first < count; first += Lanes * PackCount) {
        for (std::size_t k = 0; k < PackCount; ++k) {
            Values pack;
            std::memcpy(&pack, values + first + k * Lanes, sizeof pack);
            least[k] = pack < least[k] ? pack : least[k];
            greatest[k] = pack > greatest[k] ? pack : greatest[k];
            isNan |= pack != pack; // NOLINT(misc-redundant-expression)
        }
    }
    for (std::size_t lane = 0; lane < Lanes; ++lane) {
        if (isNan[lane] != 0) {
            return false;
        }
    }
    for (std::size_t k = 0; k < PackCount; ++k) {
        for (std::size_t lane = 0; lane < Lanes; ++lane) {
            add_range({least[k][lane], greatest[k][lane], 0}, ranges[(k * Lanes + lane) % width]);
        }
    }
    return true;
}

// GCOVR_EXCL_BR_STOP

// Which of them runs is up to the processor. GCOVR_EXCL_START
template <std::size_t PackCount>
bool add_narrow_packs(const double* values, std::size_t count, std::size_t width,
                      ElementRange* ranges) {
    return add_packs<2, PackCount>(values, count, width, ranges);
}

// GCOVR_EXCL_STOP

#ifdef __x86_64__
template <std::size_t PackCount>
__attribute__((target("avx2"))) bool add_wide_packs(const double* values, std::size_t count,
                                                    std::size_t width, ElementRange* ranges) {
    return add_packs<4, PackCount>(values, count, width, ranges);
}

/// How many doubles the fastest way takes at once.
std::size_t lane_count() {
    static const std::size_t count = static_cast<bool>(__builtin_cpu_supports("avx2")) ? 4 : 2;
    return count;
}
#else
template <std::size_t PackCount>
bool add_wide_packs(const double* values, std::size_t count, std::size_t width,
                    ElementRange* ranges) {
    return add_narrow_packs<PackCount>(values, count, width, ranges);
}

std::size_t lane_count() {
    return 2;
}
#endif

using AddPacks = bool (*)(const double*, std::size_t, std::size_t, ElementRange*);

constexpr std::size_t greatestPackCount = 16;

template <std::size_t... Index>
constexpr std::array<std::array<AddPacks, 2>, sizeof...(Index)>
add_packs_table(std::index_sequence<Index...>) {
    return {{{add_narrow_packs<Index + 1>, add_wide_packs<Index + 1>}...}};
}

/// Adds the first values that fill whole periods, and returns how many, a multiple of the width;
/// 0 if there is a NaN.
std::size_t add_periods(const double* values, std::size_t count, std::size_t width,
                        ElementRange* ranges) {
    static constexpr auto table = add_packs_table(std::make_index_sequence<greatestPackCount>());
    // One element per sample: four packs at once hide how long each takes.
    const std::size_t packCount = width == 1 ? 4 : width;
    if (packCount > greatestPackCount) {
        return 0;
    }
    const std::size_t period = packCount * lane_count();
    const std::size_t whole = count / period * period;
    return table[packCount - 1][lane_count() / 4](values, whole, width, ranges) ? whole : 0;
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
