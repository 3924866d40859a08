#include <tools/plotting/curves.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace logging2::tools {
namespace {

/// Samples are drawn themselves if there are at most so many per interval.
constexpr std::size_t samplesPerBucket = 4;

std::vector<Curve> empty_curves(const core::SignalInfo& signal) {
    std::vector<Curve> curves;
    for (std::size_t element = 0; element < signal.width; ++element) {
        curves.push_back({signal.width == 1
                              ? signal.path.text()
                              : signal.path.text() + '[' + std::to_string(element) + ']',
                          {}});
    }
    return curves;
}

void add_samples(const core::Series& series, std::vector<Curve>& curves) {
    for (std::size_t sample = 0; sample < series.size(); ++sample) {
        for (std::size_t element = 0; element < series.width(); ++element) {
            curves[element].points.push_back(
                {series.times()[sample], series.values()[sample * series.width() + element]});
        }
    }
}

void add_buckets(const core::Overview& overview, const TimeRange& range,
                 std::vector<Curve>& curves) {
    const auto count = static_cast<double>(overview.sampleCount.size());
    for (std::size_t bucket = 0; bucket < overview.sampleCount.size(); ++bucket) {
        if (overview.sampleCount[bucket] == 0) {
            continue;
        }
        const double share = (static_cast<double>(bucket) + 0.5) / count;
        const double time = range.least() * (1 - share) + range.greatest() * share;
        for (std::size_t element = 0; element < overview.width; ++element) {
            const std::size_t place = bucket * overview.width + element;
            curves[element].points.push_back({time, overview.least[place]});
            curves[element].points.push_back({time, overview.greatest[place]});
        }
    }
}

} // namespace

TimeRange plotted_range(const core::Run& run, const std::vector<core::SignalInfo>& signals,
                        const TimeRange& range) {
    double least = std::numeric_limits<double>::infinity();
    double greatest = -least;
    for (const core::SignalInfo& signal : signals) {
        const core::SignalSummary summary = run.summary(signal.path);
        least = std::min(least, summary.leastTime.value_or(least));
        greatest = std::max(greatest, summary.greatestTime.value_or(greatest));
    }
    least = std::max(least, range.least());
    greatest = std::min(greatest, range.greatest());
    if (!(least <= greatest) || std::isinf(least) || std::isinf(greatest)) {
        return {0.0, 1.0};
    }
    return {least, greatest};
}

std::vector<Curve> curves_of(const core::Run& run, const core::SignalInfo& signal,
                             const TimeRange& range, std::size_t bucketCount) {
    std::vector<Curve> curves = empty_curves(signal);
    const core::StepRange steps = run.steps(signal.group, range.least(), range.greatest());
    if (steps.count <= samplesPerBucket * bucketCount) {
        add_samples(run.series(signal.path, range.least(), range.greatest()), curves);
    } else {
        add_buckets(run.overview(signal.path, range.least(), range.greatest(), bucketCount), range,
                    curves);
    }
    return curves;
}

} // namespace logging2::tools
