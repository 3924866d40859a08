#include <tests/conformance/mutants/Mutant.hpp>

#include <iterator>

// Back-ends whose readers read only once, differ from their clones, or whose data lives too short
// or too long.

namespace logging2::core::conformance {
namespace {

const Mutant table[] = {
    {"returnsTimesOnlyInTimeseries", "timesMatchTheTimeseries", Base::memory,
     [](Faults& faults, Subject&) {
         faults.times = [](const StreamReader&) { return Doubles(); };
     }},
    {"readsOnlyOnce", "readerMayReadRepeatedly", Base::memory,
     [](Faults& faults, Subject&) {
         faults.timeseries = [read = 0](Series series) mutable {
             return ++read == 1 ? std::move(series) : Series();
         };
     }},
    {"clonesAnEmptyReader", "cloneReadsTheSameData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.clone = [](const StreamReader&) -> std::unique_ptr<StreamReader> {
             return std::make_unique<MemoryStreamReader>(boost::any());
         };
     }},
    {"movesTheStoreIntoItsFirstReader", "twoReadersOfOneStoreReadTheSameData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.opening = [](const boost::any& store) -> boost::any {
             const auto& shared = boost::any_cast<const MemoryDatastore&>(store);
             return MemoryDatastore{std::make_shared<Doubles>(std::move(*shared.times)),
                                    std::make_shared<Doubles>(std::move(*shared.values))};
         };
     }},
    {"clearsItsStoresOnDestruction", "storesAndReadersOutliveTheWriter", Base::memory,
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
    {"deletesDataWithoutDeclaringIt", "cloneOutlivesItsReader", Base::native,
     [](Faults&, Subject& declared) { declared.supports.readersDelete = false; }},
    {"keepsDataThatItDeclaresToDelete", "firstDestroyedReaderDeletesTheData", Base::memory,
     [](Faults&, Subject& declared) { declared.supports.readersDelete = true; }},
    {"refusesAnEmptyAny", "readerOfAnEmptyAnyHasNoData", Base::memory,
     [](Faults& faults, Subject&) {
         faults.opening = [](const boost::any& store) -> boost::any {
             return boost::any_cast<const MemoryDatastore&>(store);
         };
     }},
    {"readsForeignStoresAsEmpty", "storeOfAnotherTypeIsRefused", Base::memory,
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
