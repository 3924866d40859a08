#include <logging2/backends/recording/detail/SegmentCodec.hpp>

#include <algorithm>
#include <array>
#include <cstring>

#include <lz4.h>

namespace logging2::core::detail {
namespace {

constexpr std::size_t greatestOrder = 2;

/// So many steps decide on the order of the differences.
constexpr std::size_t probedStepCount = 512;

/// Replaces each number by its difference from the one before, the first one from 0.
void subtract_previous(std::uint64_t* numbers, std::size_t count) {
    std::uint64_t previous = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t number = numbers[i];
        numbers[i] = number - previous;
        previous = number;
    }
}

void add_previous(std::uint64_t* numbers, std::size_t count) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum += numbers[i];
        numbers[i] = sum;
    }
}

/// How many bytes differ from those at the same place of the number before.
std::size_t changed_byte_count(const std::uint64_t* numbers, std::size_t count) {
    constexpr std::uint64_t lowBits = 0x7f7f7f7f7f7f7f7f;
    constexpr std::uint64_t ones = 0x0101010101010101;
    std::size_t result = 0;
    for (std::size_t i = 1; i < count; ++i) {
        const std::uint64_t change = numbers[i] ^ numbers[i - 1];
        // The highest bit of each byte tells whether the byte is not 0.
        const std::uint64_t isChanged = (((change & lowBits) + lowBits) | change) & ~lowBits;
        result += (isChanged >> 7) * ones >> 56;
    }
    return result;
}

std::size_t best_order(const std::uint64_t* numbers, std::size_t count) {
    std::array<std::uint64_t, probedStepCount> probe;
    count = std::min(count, probe.size());
    std::copy_n(numbers, count, probe.begin());
    std::size_t best = 0;
    std::size_t least = changed_byte_count(probe.data(), count);
    for (std::size_t order = 1; order <= greatestOrder; ++order) {
        subtract_previous(probe.data(), count);
        const std::size_t changed = changed_byte_count(probe.data(), count);
        if (changed < least) {
            least = changed;
            best = order;
        }
    }
    return best;
}

void split_bytes(const std::uint64_t* numbers, std::size_t count, char* planes) {
    for (std::size_t k = 0; k < sizeof(std::uint64_t); ++k) {
        for (std::size_t i = 0; i < count; ++i) {
            planes[k * count + i] = static_cast<char>(numbers[i] >> (8 * k));
        }
    }
}

/// The first endStep numbers of so many.
void join_bytes(const char* planes, std::size_t count, std::size_t endStep,
                std::uint64_t* numbers) {
    const auto byte = [=](std::size_t k, std::size_t i) {
        return std::uint64_t{static_cast<unsigned char>(planes[k * count + i])} << (8 * k);
    };
    for (std::size_t i = 0; i < endStep; ++i) {
        numbers[i] = byte(0, i) | byte(1, i) | byte(2, i) | byte(3, i) | byte(4, i) | byte(5, i) |
                     byte(6, i) | byte(7, i);
    }
}

int whole_byte_count(std::size_t stepCount) {
    return static_cast<int>(stepCount * sizeof(double));
}

} // namespace

std::size_t packed_byte_count_limit(std::size_t stepCount) {
    return 1 + static_cast<std::size_t>(LZ4_compressBound(whole_byte_count(stepCount)));
}

SegmentCodec::SegmentCodec()
    : numbers(new std::uint64_t[segmentStepCount]),
      planes(new char[segmentStepCount * sizeof(double)]) {}

std::size_t SegmentCodec::pack(const double* element, std::size_t width, std::size_t stepCount,
                               char* to) {
    for (std::size_t i = 0; i < stepCount; ++i) {
        std::memcpy(&numbers[i], element + i * width, sizeof(double));
    }
    const std::size_t order = best_order(numbers.get(), stepCount);
    for (std::size_t round = 0; round < order; ++round) {
        subtract_previous(numbers.get(), stepCount);
    }
    split_bytes(numbers.get(), stepCount, planes.get());
    *to = static_cast<char>(order);
    const std::size_t limit = packed_byte_count_limit(stepCount) - 1;
    return 1 + static_cast<std::size_t>(LZ4_compress_default(
                   planes.get(), to + 1, whole_byte_count(stepCount), static_cast<int>(limit)));
}

bool SegmentCodec::unpack(const char* bytes, std::size_t byteCount, std::size_t stepCount,
                          std::size_t firstStep, std::size_t endStep, std::size_t width,
                          double* element) {
    const auto order = byteCount == 0 ? greatestOrder + 1 : static_cast<unsigned char>(*bytes);
    if (order > greatestOrder || byteCount > packed_byte_count_limit(stepCount) ||
        LZ4_decompress_safe(bytes + 1, planes.get(), static_cast<int>(byteCount - 1),
                            whole_byte_count(stepCount)) != whole_byte_count(stepCount)) {
        return false;
    }
    join_bytes(planes.get(), stepCount, endStep, numbers.get());
    for (std::size_t round = 0; round < order; ++round) {
        add_previous(numbers.get(), endStep);
    }
    for (std::size_t i = firstStep; i < endStep; ++i) {
        std::memcpy(element + (i - firstStep) * width, &numbers[i], sizeof(double));
    }
    return true;
}

} // namespace logging2::core::detail
