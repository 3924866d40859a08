#include <logging2/backends/recording/detail/row_hashes.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <array>
#include <cstring>
#include <limits>
#include <string>

namespace logging2::core::detail {
namespace {

std::uint64_t bits_of(double value) {
    value = value != value ? std::numeric_limits<double>::quiet_NaN() : value + 0.0;
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

template <class... Fields>
std::uint64_t hash_of_fields(Fields... fields) {
    const std::array<std::uint64_t, sizeof...(fields)> all{fields...};
    return hash_of(all.data(), sizeof all);
}

} // namespace

std::uint64_t hash_of_row(const ChunkRow& row) {
    return hash_of_fields(row.sequence, row.group, row.firstStep, row.stepCount,
                          row.storedStepCount, row.offset, row.byteCount, bits_of(row.firstTime),
                          bits_of(row.lastTime), bits_of(row.leastTime), bits_of(row.greatestTime),
                          row.nanTimeCount, std::uint64_t{row.ascends ? 1U : 0U},
                          bits_of(row.greatestSoFar));
}

std::uint64_t hash_of_row(std::size_t position, const GroupRow& row) {
    return hash_of_fields(position, row.stepCount, row.shownStepCount, row.chunkHashSum);
}

std::uint64_t hash_of_row(std::string_view key, std::string_view value) {
    // The zero tells where the key ends.
    const std::string text = std::string(key) + '\0' + std::string(value);
    return hash_of(text.data(), text.size());
}

} // namespace logging2::core::detail
