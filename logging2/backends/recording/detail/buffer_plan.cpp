#include <logging2/backends/recording/detail/buffer_plan.hpp>

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <stdexcept>
#include <string>

namespace logging2::core::detail {
namespace {

/// The bytes for each group's block if all get the same, but wide rows what one row needs; 0 if the
/// rows need all of them.
std::size_t share_of(std::size_t byteCount, std::vector<std::size_t> rowByteCounts) {
    std::sort(rowByteCounts.rbegin(), rowByteCounts.rend());
    std::size_t left = rowByteCounts.size();
    for (const std::size_t rowByteCount : rowByteCounts) {
        if (rowByteCount <= byteCount / left) {
            break;
        }
        byteCount -= std::min(byteCount, rowByteCount);
        --left;
    }
    return left == 0 ? 0 : byteCount / left;
}

/// Throws if the buffers cannot hold one row of each group, and another one of the widest that
/// waits to be written.
void check_byte_count(std::size_t byteCount, const std::vector<std::size_t>& rowByteCounts,
                      std::size_t widest) {
    const std::size_t needed = std::accumulate(rowByteCounts.begin(), rowByteCounts.end(), widest);
    if (needed > byteCount) {
        throw std::invalid_argument("RecordingOptions::bufferByteCount is " +
                                    std::to_string(byteCount) +
                                    ", but these groups need at least " + std::to_string(needed));
    }
}

/// Throws if a channel is so wide that counts of its bytes could overflow.
void check_widths(const DescribedGroup& group) {
    for (const DescribedChannel& channel : group.channels) {
        if (channel.width > greatestWidth) {
            throw std::invalid_argument(
                "channel " + std::to_string(channel.number) + " of group " +
                std::to_string(group.id) + " has the width " + std::to_string(channel.width) +
                ", but channels of a recording have at most " + std::to_string(greatestWidth));
        }
    }
}

/// The blocks of several groups together should fit into a core's cache, unless they become so
/// small that the cost of a chunk counts.
constexpr std::size_t cachedByteCount = std::size_t{4} * 1024 * 1024;
constexpr std::size_t leastShare = std::size_t{128} * 1024;

} // namespace

std::size_t row_length(const DescribedGroup& group) {
    std::size_t length = 1;
    for (const DescribedChannel& channel : group.channels) {
        length += channel.width;
    }
    return length;
}

std::size_t rows_per_chunk(std::size_t chunkByteCount, std::size_t rowByteCount) {
    const std::size_t rowCount = chunkByteCount / rowByteCount;
    return rowCount < leafStepCount ? std::max(rowCount, std::size_t{1})
                                    : rowCount / leafStepCount * leafStepCount;
}

std::vector<std::size_t> row_capacities(const RecordingOptions& options,
                                        const std::vector<DescribedGroup>& groups) {
    std::vector<std::size_t> capacities;
    if (groups.empty()) {
        return capacities;
    }
    std::for_each(groups.begin(), groups.end(), check_widths);
    std::vector<std::size_t> rowByteCounts;
    std::transform(groups.begin(), groups.end(), std::back_inserter(rowByteCounts),
                   [](const DescribedGroup& group) { return row_length(group) * sizeof(double); });
    const std::size_t widest = *std::max_element(rowByteCounts.begin(), rowByteCounts.end());
    check_byte_count(options.bufferByteCount, rowByteCounts, widest);
    // What is left is at least one more block.
    const std::size_t partCount = std::min(std::size_t{4}, groups.size() + 1);
    const std::size_t forWaiting = std::max(options.bufferByteCount / partCount, widest);
    const std::size_t byteCount =
        std::min({options.chunkByteCount, std::max(cachedByteCount / groups.size(), leastShare),
                  share_of(options.bufferByteCount - forWaiting, rowByteCounts)});
    for (const std::size_t rowByteCount : rowByteCounts) {
        capacities.push_back(rows_per_chunk(byteCount, rowByteCount));
    }
    return capacities;
}

void check_options(const RecordingOptions& options) {
    if (options.directory.empty()) {
        throw std::invalid_argument("RecordingOptions::directory is empty");
    }
    if (options.directory.find('\0') != std::string::npos) {
        throw std::invalid_argument("RecordingOptions::directory has a zero byte");
    }
    if ((options.mode & 0700) != 0700 || (options.mode & ~mode_t{0777}) != 0) {
        throw std::invalid_argument("RecordingOptions::mode must let the owner read, write and "
                                    "search, and have no bits beyond 0777");
    }
    if (options.chunkByteCount == 0) {
        throw std::invalid_argument("RecordingOptions::chunkByteCount is 0");
    }
    if (options.commitInterval <= std::chrono::milliseconds::zero()) {
        throw std::invalid_argument("RecordingOptions::commitInterval must be positive");
    }
    if (options.durability != Durability::process && options.durability != Durability::power) {
        throw std::invalid_argument("RecordingOptions::durability has none of its values");
    }
    if (options.compression != Compression::none && options.compression != Compression::lz4 &&
        options.compression != Compression::original) {
        throw std::invalid_argument("RecordingOptions::compression has none of its values");
    }
}

} // namespace logging2::core::detail
