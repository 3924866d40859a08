#include <tools/reading/StepReader.hpp>

#include <algorithm>
#include <utility>

namespace logging2::tools {
namespace {

constexpr std::size_t greatestBlockByteCount = std::size_t{1} << 20;

/// A block holds the times and the values of each signal.
std::size_t steps_per_block(const std::vector<core::SignalInfo>& signals) {
    std::size_t stepByteCount = sizeof(double);
    for (const core::SignalInfo& signal : signals) {
        stepByteCount += signal.width * sizeof(double);
    }
    return std::max<std::size_t>(1, greatestBlockByteCount / stepByteCount);
}

} // namespace

std::vector<GroupSignals> by_group(const std::vector<core::SignalInfo>& signals) {
    std::vector<GroupSignals> result;
    for (const core::SignalInfo& signal : signals) {
        if (result.empty() || result.back().group != signal.group) {
            result.push_back({signal.group, {}});
        }
        result.back().signals.push_back(signal);
    }
    return result;
}

std::size_t step_count_of(const core::Run& run, std::size_t id) {
    const std::vector<core::GroupInfo> groups = run.groups();
    return std::find_if(groups.begin(), groups.end(),
                        [id](const core::GroupInfo& group) { return group.id == id; })
        ->stepCount;
}

StepReader::StepReader(const core::Run& runToRead, GroupSignals groupSignals,
                       const TimeRange& timeRange)
    : run(runToRead),
      selected(std::move(groupSignals)),
      range(timeRange),
      steps(range.isWhole() ? core::StepRange{0, step_count_of(run, selected.group)}
                            : run.steps(selected.group, range.least(), range.greatest())),
      blockStepCount(steps_per_block(selected.signals)) {}

StepReader::StepReader(const core::Run& runToRead, GroupSignals groupSignals,
                       core::StepRange stepRange)
    : run(runToRead),
      selected(std::move(groupSignals)),
      steps(stepRange),
      blockStepCount(steps_per_block(selected.signals)) {}

bool StepReader::next() {
    do {
        if (position + 1 < blockSize) {
            ++position;
        } else if (!readBlock()) {
            return false;
        }
    } while (!range.contains(time()));
    return true;
}

bool StepReader::readBlock() {
    blockSize = std::min(blockStepCount, steps.count - readCount);
    position = 0;
    if (blockSize == 0) {
        return false;
    }
    columns.resize(selected.signals.size());
    for (std::size_t signal = 0; signal < columns.size(); ++signal) {
        // Copied, because a view of many signals maps the same file many times.
        const core::Series series = run.series(selected.signals[signal].path,
                                               core::StepRange{steps.first + readCount, blockSize});
        times.assign(series.times().begin(), series.times().end());
        columns[signal].assign(series.values().begin(), series.values().end());
    }
    readCount += blockSize;
    return true;
}

core::DoubleView StepReader::values(std::size_t signal) const {
    const std::size_t width = selected.signals[signal].width;
    return {columns[signal].data() + position * width, width};
}

} // namespace logging2::tools
