#include <tools/reading/MergedReader.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace logging2::tools {
namespace {

std::size_t value_count(const GroupSignals& group) {
    return std::accumulate(
        group.signals.begin(), group.signals.end(), std::size_t{0},
        [](std::size_t count, const core::SignalInfo& signal) { return count + signal.width; });
}

bool is_same_time(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

} // namespace

std::vector<std::string> column_titles(const std::vector<GroupSignals>& groups) {
    std::vector<std::string> result{"time"};
    for (const GroupSignals& group : groups) {
        for (const core::SignalInfo& signal : group.signals) {
            for (std::size_t element = 0; element < signal.width; ++element) {
                result.push_back(signal.width == 1
                                     ? signal.path.text()
                                     : signal.path.text() + '[' + std::to_string(element) + ']');
            }
        }
    }
    return result;
}

void append_values(const StepReader& steps, std::vector<std::optional<double>>& row) {
    for (std::size_t signal = 0; signal < steps.signals().size(); ++signal) {
        const core::DoubleView values = steps.values(signal);
        row.insert(row.end(), values.begin(), values.end());
    }
}

MergedReader::MergedReader(const core::Run& run, const std::vector<GroupSignals>& groups,
                           const TimeRange& range) {
    for (const GroupSignals& group : groups) {
        sources.push_back({StepReader(run, group, range), false, value_count(group)});
        sources.back().hasStep = sources.back().steps.next();
    }
}

bool MergedReader::next() {
    std::optional<double> least;
    for (const Source& source : sources) {
        // A time that is NaN is not compared, so its step comes at once.
        if (source.hasStep && (!least || !(source.steps.time() >= *least))) {
            least = source.steps.time();
        }
    }
    if (!least) {
        return false;
    }
    cells.assign(1, least);
    for (Source& source : sources) {
        if (source.hasStep && is_same_time(source.steps.time(), *least)) {
            append_values(source.steps, cells);
            source.hasStep = source.steps.next();
        } else {
            cells.resize(cells.size() + source.valueCount);
        }
    }
    return true;
}

} // namespace logging2::tools
