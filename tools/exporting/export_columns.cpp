#include <tools/exporting/export_columns.hpp>

#include <algorithm>

namespace logging2::tools {
namespace {

constexpr std::size_t blockValueCount = std::size_t{1} << 16;
constexpr std::size_t blockStepCount = blockValueCount;

/// The signal of the group whose values cost least to read.
const core::SignalInfo& narrowest_of(const GroupSignals& group) {
    return *std::min_element(
        group.signals.begin(), group.signals.end(),
        [](const core::SignalInfo& a, const core::SignalInfo& b) { return a.width < b.width; });
}

class ColumnExport {
public:
    ColumnExport(const Excerpt& excerptToWrite, ColumnOutput& columnOutput,
                 const core::RecordingProgress& progressSink)
        : excerpt(excerptToWrite),
          output(columnOutput),
          progress(progressSink) {
        for (const GroupSignals& group : excerpt.groups) {
            totalCount +=
                readerOf(group, group.signals.front()).stepCount() * (1 + group.signals.size());
        }
    }

    /// Returns the number of steps.
    std::size_t addGroup(const GroupSignals& group) {
        const core::SignalInfo& narrowest = narrowest_of(group);
        const std::size_t stepCount = countOf(group, narrowest);
        output.beginGroup(group, stepCount);
        output.beginTimes();
        addColumn(group, narrowest, [](const StepReader& steps, std::vector<double>& values) {
            values.push_back(steps.time());
        });
        for (const core::SignalInfo& signal : group.signals) {
            if (output.beginSignal(signal)) {
                addColumn(group, signal, [](const StepReader& steps, std::vector<double>& values) {
                    const core::DoubleView view = steps.values(0);
                    values.insert(values.end(), view.begin(), view.end());
                });
            }
        }
        return stepCount;
    }

private:
    StepReader readerOf(const GroupSignals& group, const core::SignalInfo& signal) const {
        return {excerpt.run, {group.group, {signal}}, excerpt.range};
    }

    std::size_t countOf(const GroupSignals& group, const core::SignalInfo& signal) const {
        StepReader steps = readerOf(group, signal);
        if (excerpt.range.isWhole()) {
            return steps.stepCount();
        }
        std::size_t count = 0;
        while (steps.next()) {
            if (++count % blockStepCount == 0) {
                progress(doneCount, totalCount);
            }
        }
        return count;
    }

    template <class Append>
    void addColumn(const GroupSignals& group, const core::SignalInfo& signal,
                   const Append& append) {
        StepReader steps = readerOf(group, signal);
        const std::uint64_t start = doneCount;
        for (std::size_t count = 1; steps.next(); ++count) {
            append(steps, block);
            if (block.size() >= blockValueCount || count % blockStepCount == 0) {
                doneCount = start + steps.passedCount();
                addBlock();
            }
        }
        doneCount = start + steps.stepCount();
        addBlock();
    }

    void addBlock() {
        output.add(block);
        block.clear();
        progress(doneCount, totalCount);
    }

    const Excerpt& excerpt;
    ColumnOutput& output;
    const core::RecordingProgress& progress;
    std::vector<double> block;
    std::uint64_t doneCount = 0; ///< of steps of columns
    std::uint64_t totalCount = 0;
};

} // namespace

std::uint64_t export_columns(const Excerpt& excerpt, ColumnOutput& output,
                             const core::RecordingProgress& progress) {
    ColumnExport columns(excerpt, output, progress);
    std::uint64_t stepCount = 0;
    for (const GroupSignals& group : excerpt.groups) {
        stepCount += columns.addGroup(group);
    }
    output.end();
    return stepCount;
}

} // namespace logging2::tools
