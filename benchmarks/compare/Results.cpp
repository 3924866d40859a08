#include <benchmarks/compare/Results.hpp>

#include <benchmarks/workload/Workload.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::core::bench {
namespace {

/// Between the two neighbours, in proportion.
double quantile(const std::vector<double>& sorted, double fraction) {
    const double position = fraction * static_cast<double>(sorted.size() - 1);
    const double below = std::floor(position);
    const auto index = static_cast<std::size_t>(below);
    const double next = sorted[std::min(index + 1, sorted.size() - 1)];
    return sorted[index] + (position - below) * (next - sorted[index]);
}

double time_of(const Run& run, Phase phase) {
    switch (phase) {
    case Phase::run:
        return run.runTime;
    case Phase::finish:
        return run.finishTime;
    case Phase::both:
        break;
    }
    return run.runTime + run.finishTime;
}

double units_per_row(const std::string& workload, Unit unit) {
    if (unit == Unit::row) {
        return 1;
    }
    const Workload full = workload_named(workload);
    return static_cast<double>(full.valueCount()) / static_cast<double>(full.rowCount());
}

} // namespace

Spread spread_of(std::vector<double> values) {
    if (values.empty()) {
        return {};
    }
    std::sort(values.begin(), values.end());
    return {quantile(values, 0.25), quantile(values, 0.5), quantile(values, 0.75)};
}

Summary summary_of(const Results& results, const Entry& entry, const std::string& workload,
                   Unit unit) {
    Summary summary;
    const auto found = results.find({entry.contender, workload});
    if (found == results.end()) {
        return summary;
    }
    std::vector<double> times;
    std::vector<double> peaks;
    double rowByteCount = 0;
    const double unitCount = units_per_row(workload, unit);
    for (const Run& run : found->second) {
        ++summary.runCount;
        if (!run.isVerified) {
            continue;
        }
        ++summary.verifiedCount;
        summary.rowCount = run.rowCount;
        summary.lostRowCount = std::max(summary.lostRowCount, run.lostRowCount);
        const auto rowCount = static_cast<double>(run.rowCount);
        times.push_back(time_of(run, entry.phase) / rowCount / unitCount);
        peaks.push_back(
            static_cast<double>(entry.phase == Phase::run ? run.runPeakKib : run.finishPeakKib));
        rowByteCount = static_cast<double>(run.byteCount) / rowCount;
    }
    summary.time = spread_of(times);
    summary.peakKib = static_cast<std::size_t>(spread_of(peaks).median);
    if (summary.time.median > 0) {
        summary.bytesPerSecond = 1e9 * rowByteCount / (summary.time.median * unitCount);
    }
    return summary;
}

} // namespace logging2::core::bench
