#include <tests/conformance/mutants/Mutant.hpp>

#include <climits>
#include <mutex>
#include <stdexcept>
#include <thread>

// Back-ends that are registered badly, need their service, or cannot bear company.

namespace logging2::core::conformance {
namespace {

/// Whether the calling thread is the first one that ever asked.
class FirstThread {
public:
    bool operator()() {
        const std::lock_guard lock(mutex);
        if (first == std::thread::id()) {
            first = std::this_thread::get_id();
        }
        return first == std::this_thread::get_id();
    }

private:
    std::mutex mutex;
    std::thread::id first; // guarded by mutex
};

const Mutant table[] = {
    {"isRegisteredUnderAnotherName", "writerAndReaderAreFoundByTheName", Base::memory,
     [](Faults& faults, Supports&) { faults.names = {"mutants"}; }},
    {"answersToOtherNamesToo", "anotherNameFindsNothing", Base::memory,
     [](Faults& faults, Supports&) { faults.names.emplace_back("mutant-absent"); }},
    {"cannotBeOutranked", "aServiceOfHigherRankingIsAskedInstead", Base::memory,
     [](Faults& faults, Supports&) { faults.ranking = INT_MAX; }},
    {"writesThroughItsService", "aWriterOutlivesItsService", Base::memory,
     [](Faults& faults, Supports&) {
         const auto alive = std::make_shared<bool>(true);
         faults.serviceGone = [alive] { *alive = false; };
         faults.flush = [alive](StreamWriter& target) {
             if (*alive) {
                 target.flush();
             }
         };
     }},
    {"readsThroughItsService", "aReaderOutlivesItsService", Base::memory,
     [](Faults& faults, Supports&) {
         const auto alive = std::make_shared<bool>(true);
         faults.serviceGone = [alive] { *alive = false; };
         faults.timeseries = [alive](Series series) {
             return *alive ? std::move(series) : Series();
         };
     }},
    {"writesToTheWriterThatWasMadeLast", "twoWritersAtOnceAreIndependent", Base::memory,
     [](Faults& faults, Supports&) {
         const auto last = std::make_shared<StreamWriter*>();
         faults.made = [last](StreamWriter& target) { *last = &target; };
         faults.write = [last](StreamWriter&, auto... arguments) {
             return (*last)->write(arguments...);
         };
     }},
    {"writesOnOneThreadOnly", "writersOfSeveralThreadsAreIndependent", Base::memory,
     [](Faults& faults, Supports&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.write = [isFirst](StreamWriter& target, auto... arguments) {
             return (*isFirst)() && target.write(arguments...);
         };
     }},
    {"readsOnOneThreadOnly", "oneReaderServesSeveralThreads", Base::memory,
     [](Faults& faults, Supports&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.timeseries = [isFirst](Series series) {
             if (!(*isFirst)()) {
                 throw std::logic_error("another thread");
             }
             return series;
         };
     }},
    {"readsOnTheWritersThreadOnly", "aStoreMayBeReadAndReleasedOnAnotherThread", Base::memory,
     [](Faults& faults, Supports&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.made = [isFirst](StreamWriter&) { (*isFirst)(); };
         faults.timeseries = [isFirst](Series series) {
             return (*isFirst)() ? std::move(series) : Series();
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_services() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
