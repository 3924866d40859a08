#include <tools/compare/compare_exactly.hpp>

#include <tools/compare/CountingSource.hpp>
#include <tools/compare/ElementTally.hpp>
#include <tools/compare/Extent.hpp>

#include <cstdint>
#include <cstring>

namespace logging2::tools {
namespace {

std::uint64_t bits_of(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

bool has_same_bits(double a, double b) {
    return bits_of(a) == bits_of(b);
}

std::optional<std::size_t> step_of(const Sample* sample) {
    return sample == nullptr ? std::nullopt : std::optional<std::size_t>(sample->step);
}

class ExactComparison {
public:
    ExactComparison(SampleSource& sourceA, SampleSource& sourceB, std::size_t width)
        : a(sourceA, -infinity, infinity),
          b(sourceB, -infinity, infinity) {
        for (std::size_t element = 0; element < width; ++element) {
            tallies.emplace_back(element, 0);
        }
    }

    Comparison result() {
        double stepCount = 0;
        for (; readNext(); ++stepCount) {
            const bool hasSameTime =
                stepA != nullptr && stepB != nullptr && has_same_bits(stepA->time, stepB->time);
            hasTimeDifference = hasTimeDifference || !hasSameTime;
            for (std::size_t element = 0; element < tallies.size(); ++element) {
                if (!hasSameValue(element) || !hasSameTime) {
                    tallies[element].addDifference(place());
                    tallies[element].addAmount(1);
                }
            }
        }
        return {a.summary(), b.summary(), hasTimeDifference, worst_of(tallies, stepCount)};
    }

private:
    bool readNext() {
        stepA = a.next();
        stepB = b.next();
        return stepA != nullptr || stepB != nullptr;
    }

    bool hasSameValue(std::size_t element) {
        if (stepA == nullptr || stepB == nullptr) {
            return false;
        }
        const double valueA = stepA->values[element];
        const double valueB = stepB->values[element];
        if (has_same_bits(valueA, valueB)) {
            return true;
        }
        tallies[element].addDeviation(deviation_between(valueA, valueB), stepA->time);
        return false;
    }

    Place place() const {
        return {(stepA != nullptr ? stepA : stepB)->time, step_of(stepA), step_of(stepB)};
    }

    CountingSource a;
    CountingSource b;
    const Sample* stepA = nullptr;
    const Sample* stepB = nullptr;
    std::vector<ElementTally> tallies;
    bool hasTimeDifference = false;
};

} // namespace

Comparison compare_exactly(SampleSource& a, SampleSource& b, std::size_t width) {
    return ExactComparison(a, b, width).result();
}

} // namespace logging2::tools
