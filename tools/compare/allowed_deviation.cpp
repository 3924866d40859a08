#include <tools/compare/allowed_deviation.hpp>

#include <tools/compare/Extent.hpp>
#include <tools/reading/SignalSource.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

/// The least and the greatest value of each element.
struct Ranges {
    std::vector<double> least;
    std::vector<double> greatest;
};

bool has_infinity(const Ranges& ranges) {
    for (std::size_t element = 0; element < ranges.least.size(); ++element) {
        const bool hasNumber = ranges.least[element] <= ranges.greatest[element];
        if (hasNumber &&
            !(std::isfinite(ranges.least[element]) && std::isfinite(ranges.greatest[element]))) {
            return true;
        }
    }
    return false;
}

/// Reads all samples, because the summary counts infinities.
Ranges read_finite_ranges(const core::Run& run, const core::SignalInfo& signal) {
    Ranges result{std::vector<double>(signal.width, infinity),
                  std::vector<double>(signal.width, -infinity)};
    SignalSource source(run, signal, TimeRange());
    while (const Sample* const sample = source.next()) {
        for (std::size_t element = 0; element < signal.width; ++element) {
            const double value = sample->values[element];
            if (std::isfinite(value)) {
                result.least[element] = std::min(result.least[element], value);
                result.greatest[element] = std::max(result.greatest[element], value);
            }
        }
    }
    return result;
}

Ranges finite_ranges(const core::Run& run, const core::SignalInfo& signal) {
    const core::SignalSummary summary = run.summary(signal.path);
    const Ranges ranges{summary.least, summary.greatest};
    return has_infinity(ranges) ? read_finite_ranges(run, signal) : ranges;
}

} // namespace

std::vector<double> allowed_deviation(const core::Run& run, const core::SignalInfo& signal,
                                      const Tolerance& tolerance) {
    std::vector<double> result(signal.width, tolerance.absolute);
    if (tolerance.relative == 0) {
        return result;
    }
    const Ranges ranges = finite_ranges(run, signal);
    for (std::size_t element = 0; element < signal.width; ++element) {
        if (ranges.least[element] <= ranges.greatest[element]) {
            const double ofRange = tolerance.relative * ranges.greatest[element] -
                                   tolerance.relative * ranges.least[element];
            result[element] = std::max(result[element], ofRange);
        }
    }
    return result;
}

} // namespace logging2::tools
