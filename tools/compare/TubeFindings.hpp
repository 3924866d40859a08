#pragma once

#include <tools/compare/ElementTally.hpp>
#include <tools/compare/OutsidePart.hpp>
#include <tools/compare/Polyline.hpp>
#include <tools/compare/compare_tubes.hpp>

#include <optional>
#include <vector>

namespace logging2::tools {

/// What was found so far of how two curves differ.
class TubeFindings {
public:
    explicit TubeFindings(const TubeSettings& tubeSettings) : settings(tubeSettings) {
        for (std::size_t element = 0; element < settings.allowed.size(); ++element) {
            tallies.emplace_back(element, settings.allowed[element]);
        }
    }

    std::size_t width() const noexcept { return tallies.size(); }
    double allowed(std::size_t element) const { return settings.allowed[element]; }
    ElementTally& tally(std::size_t element) { return tallies[element]; }

    /// Only one side has a value at some time.
    void addTimeDifference() noexcept { timeDiffers = true; }

    /// Notes a deviation, which is empty if the other side has no value. Returns whether it is
    /// allowed.
    bool addDeviation(std::size_t element, const std::optional<double>& deviation, double time) {
        if (!deviation) {
            addTimeDifference();
            return false;
        }
        tallies[element].addDeviation(*deviation, time);
        return tallies[element].allows(*deviation);
    }

    /// This part of the time from begin to end is outside a tube. The present time of the curves is
    /// within it.
    void addOutside(std::size_t element, double begin, double end, const OutsidePart& part,
                    const Polyline& a, const Polyline& b) {
        if (part.isEmpty()) {
            return;
        }
        const double length = end - begin;
        const double headEnd = begin + length * part.head;
        const double tailBegin = begin + length * part.tail;
        tallies[element].addAmount(length * part.share());
        tallies[element].addProvisionalDifference(
            {part.head > 0 ? begin : tailBegin, a.lastStep(), b.lastStep()});
        if (part.head > 0) {
            tellDifference(begin, headEnd);
        }
        if (part.tail < 1) {
            tellDifference(tailBegin, end);
        }
    }

    /// Tells the settings' sink.
    void tellDifference(double from, double to) const {
        if (settings.differenceSink) {
            settings.differenceSink(from, to);
        }
    }

    bool hasTimeDifference() const noexcept { return timeDiffers; }

    /// The worst element, if so much time was compared.
    ElementComparison worst(double duration) const { return worst_of(tallies, duration); }

private:
    const TubeSettings& settings;
    std::vector<ElementTally> tallies;
    bool timeDiffers = false;
};

} // namespace logging2::tools
