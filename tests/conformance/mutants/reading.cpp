#include <tests/conformance/mutants/Mutant.hpp>

#include <iterator>

// Back-ends whose readers read once, differ from their clones, or die too early or too late.

namespace logging2::core::conformance {
namespace {

const Mutant table[] = {
    {"givesTheTimesWithTheValuesOnly", "timesAreThoseOfTheTimeseries", Base::memory,
     [](Faults& faults, Subject&) {
         faults.times = [](const StreamReader&) { return Doubles(); };
     }},
    {"givesTheDataAwayWithTheFirstReading", "aReaderReadsAnyNumberOfTimes", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [read = 0](Series series) mutable {
             return ++read == 1 ? std::move(series) : Series();
         };
     }},
    {"clonesAnEmptyReader", "aCloneReadsTheSame", Base::memory,
     [](Faults& faults, Subject&) {
         faults.clone = [](const StreamReader&) -> std::unique_ptr<StreamReader> {
             return std::make_unique<MemoryStreamReader>(boost::any());
         };
     }},
    {"movesTheStoreIntoItsFirstReader", "twoReadersOfOneStoreReadTheSame", Base::memory,
     [](Faults& faults, Subject&) {
         faults.opening = [](const boost::any& store) -> boost::any {
             const auto& shared = boost::any_cast<const MemoryDatastore&>(store);
             return MemoryDatastore{std::make_shared<Doubles>(std::move(*shared.times)),
                                    std::make_shared<Doubles>(std::move(*shared.values))};
         };
     }},
    {"takesTheStoresAlong", "storesAndReadersOutliveTheWriter", Base::memory,
     [](Faults& faults, Subject&) {
         const auto given = std::make_shared<std::vector<MemoryDatastore>>();
         faults.dataStore = [given](const StreamWriter& target, const ValuePath& path) {
             const boost::any store = target.dataStore(path);
             given->push_back(boost::any_cast<MemoryDatastore>(store));
             return store;
         };
         faults.gone = [given](StreamWriter&) {
             for (const MemoryDatastore& store : *given) {
                 store.values->clear();
             }
         };
     }},
    {"deletesUndeclared", "aCloneOutlivesItsReader", Base::native,
     [](Faults&, Subject& declared) { declared.supports.readersDelete = false; }},
    {"keepsWhatItDeclaresToDelete", "theDataGoesWithItsFirstReader", Base::memory,
     [](Faults&, Subject& declared) { declared.supports.readersDelete = true; }},
    {"refusesAnEmptyAny", "aReaderOfAnEmptyAnyHasNoData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.opening = [](const boost::any& store) -> boost::any {
             return boost::any_cast<const MemoryDatastore&>(store);
         };
     }},
    {"readsForeignStoresAsEmpty", "aStoreOfAnotherTypeIsRefused", Base::memory,
     [](Faults& faults, Subject&) {
         faults.opening = [](const boost::any& store) {
             return boost::any_cast<MemoryDatastore>(&store) ? store : boost::any();
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_reading() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
