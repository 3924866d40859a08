#include <tests/conformance/mutants/Mutant.hpp>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

// Back-ends that work only on one thread or with one writer at a time. Each is found in every run.
// data_races_test.cpp contains data races, which are found only under ThreadSanitizer.

namespace logging2::core::conformance {
namespace {

/// Whether the calling thread is the first that ever called.
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
    {"writesToTheLastWriterMade", "simultaneousWritersAreIndependent", Base::memory,
     [](Faults& faults, Subject&) {
         const auto last = std::make_shared<StreamWriter*>();
         faults.made = [last](StreamWriter& target) { *last = &target; };
         faults.write = [last](StreamWriter&, auto... arguments) {
             return (*last)->write(arguments...);
         };
     }},
    {"makesWritersOnlyOnOneThread", "severalThreadsMayMakeWritersAtOnce", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.making = [isFirst](StreamingAttributes&, GroupSetup&) {
             if (!(*isFirst)()) {
                 throw std::logic_error("another thread");
             }
         };
     }},
    {"writesOnlyOnOneThread", "writersOfSeveralThreadsAreIndependent", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.write = [isFirst](StreamWriter& target, auto... arguments) {
             return (*isFirst)() && target.write(arguments...);
         };
     }},
    {"makesReadersOnlyOnOneThread", "severalThreadsMayMakeReadersAtOnce", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.opening = [isFirst](const boost::any& store) {
             return (*isFirst)() ? store : boost::any();
         };
     }},
    {"opensAStoreOnlyOnOneThread", "severalThreadsMayCopyAndReadAStore", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.opening = [isFirst](const boost::any& store) {
             return (*isFirst)() ? store : boost::any();
         };
     }},
    {"readsNothingBeforeAllWritersAreFlushed", "readingMayOverlapWriting", Base::memory,
     [](Faults& faults, Subject&) {
         const auto unflushed = std::make_shared<std::atomic<int>>(0);
         faults.made = [unflushed](StreamWriter&) { ++*unflushed; };
         faults.flush = [unflushed](StreamWriter& target) {
             target.flush();
             --*unflushed;
         };
         faults.timeseries = [unflushed](Series series) {
             return *unflushed == 0 ? std::move(series) : Series();
         };
     }},
    {"readsOnlyOnOneThread", "severalThreadsMayUseOneReader", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.timeseries = [isFirst](Series series) {
             if (!(*isFirst)()) {
                 throw std::logic_error("another thread");
             }
             return series;
         };
     }},
    {"readsOnlyOnTheWritersThread", "anotherThreadMayReadAndReleaseAStore", Base::memory,
     [](Faults& faults, Subject&) {
         const auto isFirst = std::make_shared<FirstThread>();
         faults.made = [isFirst](StreamWriter&) { (*isFirst)(); };
         faults.timeseries = [isFirst](Series series) {
             return (*isFirst)() ? std::move(series) : Series();
         };
     }},
};

} // namespace

std::vector<Mutant> mutants_of_threads() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
