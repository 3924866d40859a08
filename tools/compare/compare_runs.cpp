#include <tools/compare/compare_runs.hpp>

#include <tools/UsageError.hpp>
#include <tools/compare/allowed_deviation.hpp>
#include <tools/compare/compare_exactly.hpp>
#include <tools/compare/compare_tubes.hpp>
#include <tools/compare/steps_around.hpp>
#include <tools/reading/SignalSource.hpp>
#include <tools/selection/SignalChoice.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>
#include <utility>

namespace logging2::tools {
namespace {

using Signals = std::vector<core::SignalInfo>;
using SignalsByPath = std::map<std::string, core::SignalInfo>;

Signals signals_without(const core::Run& run, const std::vector<std::string>& ignored) {
    Signals signals = run.signals();
    signals.erase(std::remove_if(signals.begin(), signals.end(),
                                 [&ignored](const core::SignalInfo& signal) {
                                     return matches_any(ignored, signal.path.text());
                                 }),
                  signals.end());
    return signals;
}

SignalsByPath by_path(const Signals& signals) {
    SignalsByPath result;
    for (const core::SignalInfo& signal : signals) {
        result.emplace(signal.path.text(), signal);
    }
    return result;
}

void check_all_patterns(const core::Run& a, const core::Run& b,
                        const RunComparisonSettings& settings) {
    Signals all = a.signals();
    const Signals ofB = b.signals();
    all.insert(all.end(), ofB.begin(), ofB.end());
    check_patterns(all, settings.held, "A and B");
    check_patterns(all, settings.ignored, "A and B");
}

class RunComparer {
public:
    RunComparer(const core::Run& runA, const core::Run& runB,
                const RunComparisonSettings& runSettings, std::function<void(std::size_t)> sink)
        : a(runA),
          b(runB),
          settings(runSettings),
          progress(std::move(sink)) {}

    SignalComparison compare(const core::SignalInfo& ofA, const core::SignalInfo& ofB) const {
        SignalComparison result;
        result.path = ofA.path.text();
        result.width = ofA.width;
        result.tolerance = settings.tolerances.of(result.path);
        result.method = methodOf(result.path);
        if (result.method != Method::exact) {
            if (const auto comparison = inTubes(ofA, ofB, result)) {
                result.comparison = *comparison;
                return result;
            }
            result.method = Method::exact;
            result.isOrdered = false;
        }
        result.comparison = exactly(ofA, ofB);
        return result;
    }

private:
    Method methodOf(const std::string& path) const {
        if (settings.isExact) {
            return Method::exact;
        }
        return matches_any(settings.held, path) ? Method::hold : Method::linear;
    }

    std::optional<Comparison> inTubes(const core::SignalInfo& ofA, const core::SignalInfo& ofB,
                                      const SignalComparison& signal) const {
        const double timeTolerance = signal.tolerance.time;
        const TubeSettings tube{allowed_deviation(a, ofA, signal.tolerance), timeTolerance,
                                signal.method == Method::hold, settings.range.least(),
                                settings.range.greatest()};
        const auto stepsA = steps_around(a, ofA.group, settings.range, timeTolerance);
        const auto stepsB = steps_around(b, ofB.group, settings.range, timeTolerance);
        if (!stepsA || !stepsB) {
            return std::nullopt;
        }
        SignalSource sourceA(a, ofA, *stepsA);
        sourceA.report(progress);
        SignalSource sourceB(b, ofB, *stepsB);
        return compare_tubes(sourceA, sourceB, tube);
    }

    Comparison exactly(const core::SignalInfo& ofA, const core::SignalInfo& ofB) const {
        SignalSource sourceA(a, ofA, settings.range);
        sourceA.report(progress);
        SignalSource sourceB(b, ofB, settings.range);
        return compare_exactly(sourceA, sourceB, ofA.width);
    }

    const core::Run& a;
    const core::Run& b;
    const RunComparisonSettings& settings;
    std::function<void(std::size_t)> progress; ///< within one signal
};

std::size_t sample_count_of(const core::Run& run, const Signals& signals) {
    return std::accumulate(signals.begin(), signals.end(), std::size_t{0},
                           [&run](std::size_t count, const core::SignalInfo& signal) {
                               return count + step_count_of(run, signal.group);
                           });
}

void check_content(const RunComparison& result, const TimeRange& range) {
    if (result.signalCount() == 0) {
        throw UsageError("there is no signal to compare");
    }
    const bool hasStep = std::any_of(
        result.signals.begin(), result.signals.end(), [](const SignalComparison& signal) {
            return signal.comparison.a.stepCount + signal.comparison.b.stepCount > 0;
        });
    if (!range.isWhole() && !hasStep && !result.signals.empty()) {
        throw UsageError("no signal that both runs have has a step between --from and --to");
    }
}

} // namespace

bool RunComparison::differs() const {
    return differenceCount() > 0;
}

std::size_t RunComparison::differenceCount() const {
    const auto differing =
        std::count_if(signals.begin(), signals.end(),
                      [](const SignalComparison& signal) { return signal.comparison.differs(); });
    return onlyA.size() + onlyB.size() + widths.size() + static_cast<std::size_t>(differing);
}

std::size_t RunComparison::signalCount() const {
    return onlyA.size() + onlyB.size() + widths.size() + signals.size();
}

RunComparison compare_runs(const core::Run& a, const core::Run& b,
                           const RunComparisonSettings& settings,
                           const ComparisonProgress& progress) {
    check_all_patterns(a, b, settings);
    const Signals signalsA = signals_without(a, settings.ignored);
    SignalsByPath signalsB = by_path(signals_without(b, settings.ignored));
    const std::size_t sampleCount = sample_count_of(a, signalsA);
    std::size_t doneCount = 0; // by the signals before
    const RunComparer comparer(
        a, b, settings, [&](std::size_t count) { progress(doneCount + count, sampleCount); });
    RunComparison result;
    for (const core::SignalInfo& ofA : signalsA) {
        const std::string path = ofA.path.text();
        const auto ofB = signalsB.find(path);
        if (ofB == signalsB.end()) {
            result.onlyA.push_back(path);
            continue;
        }
        if (ofA.width != ofB->second.width) {
            result.widths.push_back({path, ofA.width, ofB->second.width});
        } else {
            result.signals.push_back(comparer.compare(ofA, ofB->second));
        }
        signalsB.erase(ofB);
        doneCount += step_count_of(a, ofA.group);
        progress(doneCount, sampleCount);
    }
    for (const auto& [path, signal] : signalsB) {
        result.onlyB.push_back(path);
    }
    check_content(result, settings.range);
    return result;
}

} // namespace logging2::tools
