#include <tests/conformance/mutants/Mutant.hpp>

#include <climits>

// Back-ends that are registered incorrectly or depend on their service.

namespace logging2::core::conformance {
namespace {

const Mutant table[] = {
    {"isRegisteredUnderAnotherName", "writerAndReaderAreFoundByName", Base::memory,
     [](Faults& faults, Subject&) { faults.names = {"mutants"}; }},
    {"isAlsoFoundByAnotherName", "otherNamesFindNothing", Base::memory,
     [](Faults& faults, Subject&) { faults.names.emplace_back("mutant-absent"); }},
    {"cannotBeOutranked", "serviceOfHigherRankingIsUsedInstead", Base::memory,
     [](Faults& faults, Subject&) { faults.ranking = INT_MAX; }},
    {"writesThroughItsService", "writerOutlivesItsService", Base::memory,
     [](Faults& faults, Subject&) {
         const auto alive = std::make_shared<bool>(true);
         faults.serviceGone = [alive] { *alive = false; };
         faults.flush = [alive](StreamWriter& target) {
             if (*alive) {
                 target.flush();
             }
         };
     }},
    {"readsThroughItsService", "readerOutlivesItsService", Base::memory,
     [](Faults& faults, Subject&) {
         const auto alive = std::make_shared<bool>(true);
         faults.serviceGone = [alive] { *alive = false; };
         faults.timeseries = [alive](Series series) {
             return *alive ? std::move(series) : Series();
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_services() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
