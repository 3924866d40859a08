#pragma once

#include <tools/compare/SampleSource.hpp>

#include <utility>
#include <vector>

namespace logging2::tools {

/// A sample of a test.
struct TestSample {
    double time;
    std::vector<double> values;
};

using TestSamples = std::vector<TestSample>;

/// Gives the samples of a vector; their steps count from 0.
class VectorSource : public SampleSource {
public:
    explicit VectorSource(TestSamples testSamples) : samples(std::move(testSamples)) {}

    const Sample* next() override {
        if (position == samples.size()) {
            return nullptr;
        }
        const TestSample& present = samples[position];
        sample = {present.time, {present.values.data(), present.values.size()}, position};
        ++position;
        return &sample;
    }

private:
    TestSamples samples;
    std::size_t position = 0;
    Sample sample;
};

/// Samples of a signal of width 1.
inline TestSamples scalar(const std::vector<std::pair<double, double>>& samples) {
    TestSamples result;
    for (const auto& [time, value] : samples) {
        result.push_back({time, {value}});
    }
    return result;
}

} // namespace logging2::tools
