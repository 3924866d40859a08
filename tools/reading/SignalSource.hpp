#pragma once

#include <tools/compare/SampleSource.hpp>
#include <tools/reading/StepReader.hpp>

namespace logging2::tools {

/// The samples of one signal of a run.
class SignalSource : public SampleSource {
public:
    /// Those within a range of time, or those of some steps. The run must outlive the source.
    template <class Range>
    SignalSource(const core::Run& run, const core::SignalInfo& signal, const Range& range)
        : steps(run, {signal.group, {signal}}, range) {}

    const Sample* next() override {
        if (!steps.next()) {
            return nullptr;
        }
        sample = {steps.time(), steps.values(0), steps.step()};
        return &sample;
    }

private:
    StepReader steps;
    Sample sample;
};

} // namespace logging2::tools
