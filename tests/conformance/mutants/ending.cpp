#include <tests/conformance/mutants/Mutant.hpp>

#include <logging2/logging2.hpp>

#include <cstdlib>
#include <filesystem>
#include <fstream>

// Back-ends with faults at the end of a run: in flush, close and stores, and in the files that they
// leave.

namespace logging2::core::conformance {
namespace {

const Mutant table[] = {
    {"treatsFlushIntermediateAsFlush", "flushIntermediateNeitherLosesNorRepeatsSamples",
     Base::memory,
     [](Faults& faults, Subject&) {
         faults.flushIntermediate = [](StreamWriter& target) { target.flush(); };
     }},
    {"givesNoStoresAfterClose", "closeAfterFlushChangesNothing", Base::memory,
     [](Faults& faults, Subject&) {
         const auto closed = std::make_shared<bool>(false);
         faults.close = [closed](StreamWriter&) { *closed = true; };
         faults.dataStore = [closed](const StreamWriter& target, const ValuePath& path) {
             return *closed ? boost::any() : target.dataStore(path);
         };
     }},
    {"forgetsToFlushOnClose", "closeWithoutFlushMakesTheSamplesFinal", Base::memory,
     [](Faults& faults, Subject&) { faults.close = [](StreamWriter&) {}; }},
    {"returnsAnUndeclaredDataStoreInfo", "dataStoreInfoIsEmpty", Base::memory,
     [](Faults& faults, Subject&) { faults.dataStoreInfo = [] { return DataStoreInfo(); }; }},
    {"returnsNoDataStoreInfo", "dataStoreInfoHasAValueAfterTheFlush", Base::memory,
     [](Faults&, Subject& declared) { declared.supports.dataStoreInfo = true; }},
    {"givesAStoreOnlyOnce", "dataStoreMayBeCalledRepeatedly", Base::memory,
     [](Faults& faults, Subject&) {
         faults.dataStore = [given = 0](const StreamWriter& target, const ValuePath& path) mutable {
             return ++given == 1 ? target.dataStore(path) : boost::any();
         };
     }},
    {"passesSamplesToTheNextWriter", "unflushedSamplesDoNotAppearInAnotherWriter", Base::memory,
     [](Faults& faults, Subject&) {
         const auto left = std::make_shared<Doubles>();
         faults.made = [left](StreamWriter& target) { write_calls(target, 0, *left); };
         faults.gone = [left](StreamWriter& target) {
             *left = dynamic_cast<MemoryStreamWriter&>(target).times(0);
         };
     }},
    {"leavesAFileInTheHostsDirectory", "noFileRemainsAfterEveryPathWasRead", Base::memory,
     [](Faults& faults, Subject&) {
         faults.flush = [](StreamWriter& target) {
             target.flush();
             const auto directory = fl::filesystem::temp_directory_name();
             std::ofstream(foundation::ustring_to_utf8_string(directory) + "/journal") << "flushed";
         };
     }},
    {"leavesAFileInTheSystemsDirectory", "noFileRemainsAfterEveryPathWasRead", Base::memory,
     [](Faults& faults, Subject&) {
         faults.flush = [](StreamWriter& target) {
             target.flush();
             std::ofstream(std::filesystem::temp_directory_path() / "journal") << "flushed";
         };
     }},
    {"leavesAFileInTmpdir", "noFileRemainsAfterEveryPathWasRead", Base::memory,
     [](Faults& faults, Subject&) {
         faults.made = [](StreamWriter&) {
             const char* const directory = std::getenv("TMPDIR");
             std::ofstream(std::string(directory == nullptr ? "/tmp" : directory) + "/journal");
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_ending() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
