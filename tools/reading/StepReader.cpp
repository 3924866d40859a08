#include <tools/reading/StepReader.hpp>

#include <algorithm>
#include <utility>

namespace logging2::tools {
namespace {

constexpr std::size_t blockByteCount = std::size_t{1} << 20;

/// A block holds the times of each signal and its values.
std::size_t steps_per_block(const std::vector<core::SignalInfo>& signals) {
    std::size_t stepByteCount = 0;
    for (const core::SignalInfo& signal : signals) {
        stepByteCount += (1 + signal.width) * sizeof(double);
    }
    return std::max<std::size_t>(1, blockByteCount / stepByteCount);
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
    block.clear();
    if (blockSize == 0) {
        return false;
    }
    for (const core::SignalInfo& signal : selected.signals) {
        block.push_back(
            run.series(signal.path, core::StepRange{steps.first + readCount, blockSize}));
    }
    readCount += blockSize;
    return true;
}

core::DoubleView StepReader::values(std::size_t signal) const {
    const core::Series& series = block[signal];
    return {series.values().data() + position * series.width(), series.width()};
}

} // namespace logging2::tools
