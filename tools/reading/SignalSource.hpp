#pragma once

#include <tools/compare/SampleSource.hpp>
#include <tools/reading/StepReader.hpp>

#include <cstddef>
#include <functional>
#include <utility>

namespace logging2::tools {

/// The samples of one signal of a run.
class SignalSource : public SampleSource {
public:
    /// Those within a range of time, or those of some steps. The run must outlive the source.
    template <class Range>
    SignalSource(const core::Run& run, const core::SignalInfo& signal, const Range& range)
        : steps(run, {signal.group, {signal}}, range) {}

    /// Calls it with the number of samples that were given, now and then.
    void report(std::function<void(std::size_t)> progressSink) {
        progress = std::move(progressSink);
    }

    const Sample* next() override {
        if (!steps.next()) {
            return nullptr;
        }
        if (++givenCount % reportInterval == 0 && progress) {
            progress(givenCount);
        }
        sample = {steps.time(), steps.values(0), steps.step()};
        return &sample;
    }

private:
    static constexpr std::size_t reportInterval = std::size_t{1} << 16;

    StepReader steps;
    Sample sample;
    std::size_t givenCount = 0;
    std::function<void(std::size_t)> progress;
};

} // namespace logging2::tools
