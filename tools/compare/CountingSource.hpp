#pragma once

#include <tools/compare/Comparison.hpp>
#include <tools/compare/SampleSource.hpp>

#include <cmath>

namespace logging2::tools {

/// Passes on the samples of a source, and sums up those that are not outside a range of time.
class CountingSource : public SampleSource {
public:
    /// The source must outlive this.
    CountingSource(SampleSource& countedSource, double leastTime, double greatestTime)
        : source(countedSource),
          least(leastTime),
          greatest(greatestTime) {}

    const Sample* next() override {
        const Sample* const sample = source.next();
        if (sample != nullptr && !(sample->time < least) && !(sample->time > greatest)) {
            count(*sample);
        }
        return sample;
    }

    const SideSummary& summary() const noexcept { return sum; }

private:
    void count(const Sample& sample) {
        if (sum.stepCount++ == 0) {
            sum.firstTime = sample.time;
        }
        sum.lastTime = sample.time;
        for (const double value : sample.values) {
            sum.nanCount += std::isnan(value) ? 1 : 0;
        }
    }

    SampleSource& source;
    double least;
    double greatest;
    SideSummary sum;
};

} // namespace logging2::tools
