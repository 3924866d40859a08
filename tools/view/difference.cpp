#include <tools/view/difference.hpp>

#include <tools/compare/Polyline.hpp>
#include <tools/compare/allowed_deviation.hpp>
#include <tools/compare/compare_exactly.hpp>
#include <tools/compare/compare_tubes.hpp>
#include <tools/compare/steps_around.hpp>
#include <tools/reading/SignalSource.hpp>
#include <tools/terminal/text.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/signals.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestComparedStepCount = 2'000'000;
constexpr std::size_t greatestIntervalCount = 1000;

// An answer has at most 200 kB.
constexpr std::size_t greatestTubePixelCount = 2000;

/// One element of a signal, with shifted times.
class ElementSource : public SampleSource {
public:
    template <class Range>
    ElementSource(const core::Run& run, const core::SignalInfo& signal, std::size_t elementOfSignal,
                  const Range& range, double timeShift)
        : source(run, signal, range),
          element(elementOfSignal),
          shift(timeShift) {}

    const Sample* next() override {
        const Sample* const whole = source.next();
        if (whole == nullptr) {
            return nullptr;
        }
        sample = {whole->time + shift, {whole->values.data() + element, 1}, whole->step};
        return &sample;
    }

private:
    SignalSource source;
    std::size_t element;
    double shift;
    Sample sample;
};

/// One of the two runs.
struct Side {
    const core::Run& run;
    core::SignalInfo signal;
    TimeRange range; ///< of its own times
    double shift;
};

/// The intervals of time that differ, joined where they touch.
class Intervals {
public:
    void add(double from, double to) {
        if (!all.empty() && from <= all.back().second) {
            all.back().second = std::max(all.back().second, to);
        } else if (all.size() == greatestIntervalCount) {
            isFull = true;
        } else if (!isFull) {
            all.emplace_back(from, to);
        }
    }

    void addTo(Json& answer) const {
        answer["intervals"] = Json::array();
        for (const auto& [from, to] : all) {
            answer["intervals"].push_back({json_number(from), json_number(to)});
        }
        answer["more"] = isFull;
    }

private:
    std::vector<std::pair<double, double>> all;
    bool isFull = false;
};

class Difference {
public:
    Difference(const core::Run& runA, const core::Run& runB, const DifferenceQuestion& asked)
        : question(asked),
          a(side(runA, 0)),
          b(side(runB, question.shift)) {
        checkCost();
        allowed = allowed_deviation(a.run, a.signal, question.tolerance)[question.element];
    }

    Json answer() {
        std::optional<Comparison> comparison = inTubes();
        const bool isOrdered = comparison.has_value();
        if (!isOrdered) {
            comparison = exactly();
        }
        const ElementComparison& worst = comparison->worst;
        Json result{{"schema", jsonSchema},
                    {"same", !comparison->differs()},
                    {"maximum", json_number(worst.largest)},
                    {"at", worst.at ? json_number(*worst.at) : Json()},
                    {"outside", json_number(worst.share)},
                    {"dy", json_number(allowed)},
                    {"dt", json_number(question.tolerance.time)}};
        intervals.addTo(result);
        result["tube"] = isOrdered ? tube() : emptyTube();
        return result;
    }

private:
    Side side(const core::Run& run, double shift) const {
        const core::SignalInfo signal = signal_of(run, question.signal);
        check_element(signal, question.element);
        return {run, signal, {question.range.from - shift, question.range.to - shift}, shift};
    }

    void checkCost() const {
        std::size_t stepCount = 0;
        for (const Side* const each : {&a, &b}) {
            const double reach = question.tolerance.time;
            stepCount += each->run
                             .steps(each->signal.group, each->range.least() - reach,
                                    each->range.greatest() + reach)
                             .count;
        }
        if (stepCount > greatestComparedStepCount) {
            throw HttpError(status::unprocessable, "Zoom in to compare: " + count_text(stepCount) +
                                                       " steps are in view, and at most " +
                                                       count_text(greatestComparedStepCount) +
                                                       " are compared.");
        }
        if (mustReadAll()) {
            throw HttpError(status::unprocessable,
                            "The signal has infinite values and too many steps to find the "
                            "relative tolerance: set that to 0, and use the absolute one.");
        }
    }

    /// Whether the relative tolerance is known only after all steps of a long run were read,
    /// because some values are infinite.
    bool mustReadAll() const {
        const core::SignalSummary summary = a.run.summary(a.signal.path);
        const auto isInfinite = [](double value) { return std::isinf(value); };
        return question.tolerance.relative > 0 && summary.sampleCount > greatestComparedStepCount &&
               (std::any_of(summary.least.begin(), summary.least.end(), isInfinite) ||
                std::any_of(summary.greatest.begin(), summary.greatest.end(), isInfinite));
    }

    /// Null if the times do not ascend.
    std::unique_ptr<ElementSource> source(const Side& from, double reach) const {
        const auto steps = steps_around(from.run, from.signal.group, from.range, reach);
        return steps ? std::make_unique<ElementSource>(from.run, from.signal, question.element,
                                                       *steps, from.shift)
                     : nullptr;
    }

    std::optional<Comparison> inTubes() {
        TubeSettings settings{
            {allowed}, question.tolerance.time, false, question.range.from, question.range.to};
        settings.differenceSink = [this](double from, double to) { intervals.add(from, to); };
        const auto sourceA = source(a, settings.timeTolerance);
        const auto sourceB = source(b, settings.timeTolerance);
        if (!sourceA || !sourceB) {
            return std::nullopt;
        }
        return compare_tubes(*sourceA, *sourceB, settings);
    }

    /// Without tubes, only the first difference is known.
    Comparison exactly() {
        ElementSource sourceA(a.run, a.signal, question.element, a.range, a.shift);
        ElementSource sourceB(b.run, b.signal, question.element, b.range, b.shift);
        Comparison result = compare_exactly(sourceA, sourceB, 1);
        intervals = Intervals();
        if (result.worst.first) {
            intervals.add(result.worst.first->time, result.worst.first->time);
        }
        return result;
    }

    static Json emptyTube() {
        return {{"times", Json::array()}, {"low", Json::array()}, {"high", Json::array()}};
    }

    Json tube() const {
        Json result = emptyTube();
        const std::size_t pixels = std::min(question.range.pixels, greatestTubePixelCount);
        const double length =
            (question.range.to - question.range.from) / static_cast<double>(pixels);
        const double reach = question.tolerance.time + length / 2;
        const auto sourceA = source(a, reach);
        if (!sourceA) {
            return result;
        }
        Polyline curve(*sourceA, {1, false, reach});
        for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
            const double time = question.range.from + (static_cast<double>(pixel) + 0.5) * length;
            curve.moveTo(time);
            const Extent extent = curve.extentOf(0);
            if (extent.low() <= extent.high()) {
                result["times"].push_back(json_number(time));
                result["low"].push_back(json_number(extent.low() - allowed));
                result["high"].push_back(json_number(extent.high() + allowed));
            }
        }
        return result;
    }

    const DifferenceQuestion& question;
    Side a;
    Side b;
    double allowed = 0;
    Intervals intervals;
};

} // namespace

Json difference_between(const core::Run& a, const core::Run& b,
                        const DifferenceQuestion& question) {
    return Difference(a, b, question).answer();
}

} // namespace logging2::tools::view
