#include <tools/compare/ElementTally.hpp>

#include <tuple>

namespace logging2::tools {

ElementComparison worst_of(const std::vector<ElementTally>& tallies, double totalAmount) {
    ElementComparison worst;
    bool hasWorst = false;
    for (const ElementTally& tally : tallies) {
        const ElementComparison candidate = tally.comparison(totalAmount);
        if (!hasWorst || std::make_tuple(candidate.first.has_value(), candidate.largest) >
                             std::make_tuple(worst.first.has_value(), worst.largest)) {
            worst = candidate;
            hasWorst = true;
        }
    }
    return worst;
}

} // namespace logging2::tools
