#include <tests/conformance/mutants/Mutant.hpp>

#include <fstream>

// Back-ends that end badly: flush, close, stores, and what they leave behind.

namespace logging2::core::conformance {
namespace {

const Mutant table[] = {
    {"takesFlushIntermediateForTheEnd", "flushIntermediateLosesAndDoublesNothing", Base::memory,
     [](Faults& faults, Supports&) {
         faults.flushIntermediate = [](StreamWriter& target) { target.flush(); };
     }},
    {"givesNoStoresAfterClose", "closeAfterFlushChangesNothing", Base::memory,
     [](Faults& faults, Supports&) {
         const auto closed = std::make_shared<bool>(false);
         faults.close = [closed](StreamWriter&) { *closed = true; };
         faults.dataStore = [closed](const StreamWriter& target, const ValuePath& path) {
             return *closed ? boost::any() : target.dataStore(path);
         };
     }},
    {"forgetsToFlushOnClose", "closeAloneMakesTheSamplesFinal", Base::memory,
     [](Faults& faults, Supports&) { faults.close = [](StreamWriter&) {}; }},
    {"tellsAnInfoThatWasNotDeclared", "dataStoreInfoIsEmpty", Base::memory,
     [](Faults& faults, Supports&) { faults.dataStoreInfo = [] { return DataStoreInfo(); }; }},
    {"tellsNoInfo", "dataStoreInfoTellsSomethingAfterTheFlush", Base::memory,
     [](Faults&, Supports& supports) { supports.dataStoreInfo = true; }},
    {"givesEachStoreOnce", "aStoreMayBeAskedForAgain", Base::memory,
     [](Faults& faults, Supports&) {
         faults.dataStore = [given = 0](const StreamWriter& target, const ValuePath& path) mutable {
             return ++given == 1 ? target.dataStore(path) : boost::any();
         };
     }},
    {"leavesSamplesToTheNextWriter", "samplesThatWereNotFlushedDoNotTurnUpElsewhere", Base::memory,
     [](Faults& faults, Supports&) {
         const auto left = std::make_shared<Doubles>();
         faults.made = [left](StreamWriter& target) { write_calls(target, 0, *left); };
         faults.gone = [left](StreamWriter& target) {
             *left = dynamic_cast<MemoryStreamWriter&>(target).times(0);
         };
     }},
    {"leavesAFile", "noFileIsLeftWhenEveryPathWasRead", Base::memory,
     [](Faults& faults, Supports&) {
         faults.flush = [](StreamWriter& target) {
             target.flush();
             const auto directory = fl::filesystem::temp_directory_name();
             std::ofstream(foundation::ustring_to_utf8_string(directory) + "/journal") << "flushed";
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_ending() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
