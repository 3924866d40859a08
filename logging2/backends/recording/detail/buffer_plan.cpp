#include <logging2/backends/recording/detail/buffer_plan.hpp>

#include <logging2/backends/recording/detail/ChunkLayout.hpp>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>

namespace logging2::core::detail {
namespace {

/// The bytes for each group's block if all get the same, but wide rows what one row needs.
std::size_t share_of(std::size_t byteCount, const std::vector<std::size_t>& rowLengths) {
    const std::size_t evenShare = byteCount / rowLengths.size();
    std::size_t wideCount = 0;
    for (const std::size_t length : rowLengths) {
        const std::size_t rowByteCount = length * sizeof(double);
        if (rowByteCount > evenShare) {
            ++wideCount;
            byteCount -= std::min(byteCount, rowByteCount);
        }
    }
    return wideCount == rowLengths.size() ? 0 : byteCount / (rowLengths.size() - wideCount);
}

std::size_t rounded_down(std::size_t rowCount) {
    return rowCount < leafStepCount ? std::max(rowCount, std::size_t{1})
                                    : rowCount / leafStepCount * leafStepCount;
}

} // namespace

std::size_t row_length(const DescribedGroup& group) {
    std::size_t length = 1;
    for (const DescribedChannel& channel : group.channels) {
        length += channel.width;
    }
    return length;
}

std::vector<std::size_t> row_capacities(const RecordingOptions& options,
                                        const std::vector<DescribedGroup>& groups) {
    std::vector<std::size_t> capacities;
    if (groups.empty()) {
        return capacities;
    }
    std::vector<std::size_t> rowLengths;
    std::transform(groups.begin(), groups.end(), std::back_inserter(rowLengths), row_length);
    const std::size_t forBlocks = options.bufferByteCount / 4 * 3;
    const std::size_t byteCount = std::min(options.chunkByteCount, share_of(forBlocks, rowLengths));
    std::size_t total = 0;
    std::size_t largest = 0;
    for (const std::size_t length : rowLengths) {
        const std::size_t rowByteCount = length * sizeof(double);
        capacities.push_back(rounded_down(byteCount / rowByteCount));
        total += capacities.back() * rowByteCount;
        largest = std::max(largest, capacities.back() * rowByteCount);
    }
    if (total + largest > options.bufferByteCount) {
        throw std::invalid_argument(
            "RecordingOptions::bufferByteCount is " + std::to_string(options.bufferByteCount) +
            ", but these groups need at least " + std::to_string(total + largest));
    }
    return capacities;
}

void check_options(const RecordingOptions& options) {
    if (options.directory.empty()) {
        throw std::invalid_argument("RecordingOptions::directory is empty");
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
}

} // namespace logging2::core::detail
