#pragma once

#include <logging2/runs/runs.hpp>

#include <algorithm>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace logging2::tools::view {

/// A run with one group, whose id is 7, and one signal, "x", in memory. It answers by plain loops.
class PlainRun : public core::Run {
public:
    using Doubles = std::vector<double>;

    PlainRun(Doubles stepTimes, Doubles stepValues, std::size_t signalWidth = 1)
        : times(std::move(stepTimes)),
          values(std::move(stepValues)),
          width(signalWidth) {}

    core::RunInfo info() const override {
        core::RunInfo result;
        result.revision = 3;
        return result;
    }

    std::vector<core::GroupInfo> groups() const override { return {{7, times.size(), {}, {}}}; }

    std::vector<core::SignalInfo> signals() const override {
        return {{lang::core::ValuePath("x"), 7, 0, width}};
    }

    core::Series series(const lang::core::ValuePath& path) const override {
        return series(path, core::StepRange{0, times.size()});
    }

    core::Series series(const lang::core::ValuePath&, double, double) const override {
        throw std::logic_error("nobody asks for that");
    }

    core::Series series(const lang::core::ValuePath&, core::StepRange steps) const override {
        ++readCount;
        return {{times.data() + steps.first, steps.count},
                {values.data() + steps.first * width, steps.count * width},
                width,
                nullptr,
                false};
    }

    core::StepRange steps(std::size_t, double from, double to) const override {
        ++searchCount;
        core::StepRange result;
        for (std::size_t step = 0; step < times.size(); ++step) {
            if (from <= times[step] && times[step] <= to) {
                result.first = result.count == 0 ? step : result.first;
                result.count = step + 1 - result.first;
            }
        }
        return result;
    }

    core::SignalSummary summary(const lang::core::ValuePath&) const override {
        ++summaryCount;
        core::SignalSummary result;
        result.sampleCount = times.size();
        result.least.assign(width, std::numeric_limits<double>::infinity());
        result.greatest.assign(width, -std::numeric_limits<double>::infinity());
        for (std::size_t place = 0; place < values.size(); ++place) {
            double& least = result.least[place % width];
            double& greatest = result.greatest[place % width];
            least = std::min(least, values[place]);
            greatest = std::max(greatest, values[place]);
        }
        for (const double time : times) {
            if (time == time) {
                result.leastTime = std::min(result.leastTime.value_or(time), time);
                result.greatestTime = std::max(result.greatestTime.value_or(time), time);
            }
        }
        return result;
    }

    core::Overview overview(const lang::core::ValuePath&, double, double,
                            std::size_t) const override {
        throw std::logic_error("nobody asks for that");
    }

    bool refresh() override { return false; }

    core::Outline outline(const lang::core::ValuePath&, std::size_t element, double from, double to,
                          std::size_t bucketCount) const override {
        core::Outline result(bucketCount);
        for (std::size_t step = 0; step < times.size(); ++step) {
            if (from <= times[step] && times[step] <= to) {
                add(result[core::bucket_of(times[step], from, to, bucketCount)], times[step],
                    values[step * width + element]);
            }
        }
        return result;
    }

    mutable std::size_t readCount = 0;    ///< how often steps were read
    mutable std::size_t searchCount = 0;  ///< how often steps were searched
    mutable std::size_t summaryCount = 0; ///< how often a summary was asked for

private:
    static void add(core::OutlineBucket& bucket, double time, double value) {
        if (bucket.sampleCount++ == 0) {
            bucket.firstTime = time;
            bucket.first = value;
        }
        bucket.lastTime = time;
        bucket.last = value;
        bucket.hasNan = bucket.hasNan || value != value;
        constexpr double infinity = std::numeric_limits<double>::infinity();
        bucket.hasPositiveInfinity = bucket.hasPositiveInfinity || value == infinity;
        bucket.hasNegativeInfinity = bucket.hasNegativeInfinity || value == -infinity;
        if (value - value == 0) {
            bucket.least = std::min(bucket.least, value);
            bucket.greatest = std::max(bucket.greatest, value);
        }
    }

    Doubles times;
    Doubles values;
    std::size_t width;
};

/// A run with steps at 0, 1, 2, ..., whose values are ten times as great.
inline PlainRun run_of_steps(std::size_t count) {
    PlainRun::Doubles times;
    PlainRun::Doubles values;
    for (std::size_t step = 0; step < count; ++step) {
        times.push_back(static_cast<double>(step));
        values.push_back(10.0 * static_cast<double>(step));
    }
    return {times, values};
}

} // namespace logging2::tools::view
