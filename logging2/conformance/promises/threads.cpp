#include <logging2/conformance/detail/Promise.hpp>
#include <logging2/conformance/detail/same_bits.hpp>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

// Several writers and readers on several threads. The threads of a promise share no lock and no
// reference count outside the back-end at first: either would order their operations, and
// ThreadSanitizer would not detect a data race between them.

namespace logging2::core::conformance {
namespace {

constexpr std::size_t threadCount = 4;
constexpr std::size_t stepCount = 200;

using Work = std::function<void(std::size_t number)>;

/// Threads wait at the barrier until all threads have arrived.
class Barrier {
public:
    explicit Barrier(std::size_t count) : missing(count) {}

    void wait() {
        std::unique_lock lock(mutex);
        --missing;
        changed.notify_all();
        changed.wait(lock, [this] { return missing == 0; });
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t missing; // guarded by mutex
};

/// Does the work. An exception makes the test fail.
void attempt(const Work& work, std::size_t number) {
    try {
        work(number);
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}

/// Does all of the work at the same time. Each piece runs on its own thread and receives its
/// number.
void at_once(const std::vector<Work>& works) {
    Barrier barrier(works.size());
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < works.size(); ++number) {
        threads.emplace_back([&works, &barrier, number] {
            barrier.wait();
            attempt(works[number], number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void on_threads(const Work& work) {
    at_once(std::vector<Work>(threadCount, work));
}

Doubles steps() {
    return numbers(stepCount);
}

/// The first value that the thread writes.
double first_call(std::size_t number) {
    return 1000.0 * static_cast<double>(number);
}

std::vector<std::unique_ptr<StreamWriter>> writers_for_threads(const Session& session) {
    std::vector<std::unique_ptr<StreamWriter>> writers(threadCount);
    for (auto& writer : writers) {
        writer = session.writer();
    }
    return writers;
}

boost::any store_of_steps(const Session& session) {
    const auto writer = session.writer();
    write_calls(*writer, 0, steps());
    writer->flush();
    return writer->dataStore(ValuePath("x"));
}

testing::AssertionResult holds_steps(const StreamReader& reader, double first = 1.0) {
    const auto times = test::sameBits(reader.times(), steps());
    return times ? holds(reader.timeseries(), steps(), numbers(stepCount, first)) : times;
}

/// Writes all steps. If the back-end rolls back, the last half is written, discarded and written
/// again.
void write_steps(StreamWriter& writer, double first, bool rollsBack) {
    write_calls(writer, 0, steps(), first);
    writer.flushIntermediate();
    if (rollsBack) {
        const std::size_t half = stepCount / 2;
        writer.rollback(0, static_cast<double>(half) - 1.0);
        write_calls(writer, 0, numbers(half, static_cast<double>(half)),
                    first + static_cast<double>(half));
    }
}

const Promise table[] = {
    {"simultaneousWritersAreIndependent", everyBackend,
     [](Session& session) {
         const auto first = session.writer();
         const auto second = session.writer();
         write_calls(*first, 0, {1.0});
         write_calls(*second, 0, {5.0, 6.0}, 50.0);
         write_calls(*first, 0, {2.0}, 2.0);
         second->flush();
         write_calls(*first, 0, {3.0}, 3.0);
         first->flush();
         EXPECT_TRUE(holds(session.read(*first, "x"), {1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}));
         EXPECT_TRUE(holds(session.read(*second, "x"), {5.0, 6.0}, {50.0, 51.0}));
     }},
    {"severalThreadsMayMakeWritersAtOnce", everyBackend,
     [](Session& session) {
         const auto service = session.writerService();
         on_threads([&service](std::size_t) {
             for (int i = 0; i < 20; ++i) {
                 const auto writer = service->createStreamWriter(attributes(), test::scalarSetup());
                 ASSERT_NE(writer, nullptr);
                 write_calls(*writer, 0, {1.0});
                 writer->flush();
                 EXPECT_FALSE(writer->dataStore(ValuePath("x")).empty());
             }
         });
     }},
    {"writersOfSeveralThreadsAreIndependent", everyBackend,
     [](Session& session) {
         const auto writers = writers_for_threads(session);
         std::vector<boost::any> stores(threadCount);
         on_threads([&](std::size_t number) {
             write_steps(*writers[number], first_call(number), rollsBack(session.subject()));
             writers[number]->flush();
             stores[number] = writers[number]->dataStore(ValuePath("x"));
         });
         for (std::size_t number = 0; number < threadCount; ++number) {
             EXPECT_TRUE(holds_steps(*session.reader(stores[number]), first_call(number)));
         }
     }},
    {"severalThreadsMayMakeReadersAtOnce", everyBackend,
     [](Session& session) {
         const auto service = session.readerService();
         std::vector<boost::any> stores(threadCount);
         std::generate(stores.begin(), stores.end(), [&] { return store_of_steps(session); });
         on_threads([&](std::size_t number) {
             const auto reader = service->createStreamReader(stores[number]);
             ASSERT_NE(reader, nullptr);
             EXPECT_TRUE(holds_steps(*reader));
         });
     }},
    {"severalThreadsMayCopyAndReadAStore", everyBackend,
     [](Session& session) {
         const auto service = session.readerService();
         const boost::any store = store_of_steps(session);
         std::vector<boost::any> copies(threadCount, store);
         std::vector<std::unique_ptr<StreamReader>> readers(threadCount);
         on_threads([&](std::size_t number) {
             readers[number] = service->createStreamReader(copies[number]);
             ASSERT_NE(readers[number], nullptr);
             EXPECT_TRUE(holds_steps(*readers[number]));
             copies[number] = store;
         });
     }},
    {"severalThreadsMayUseOneReader", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(store_of_steps(session));
         std::vector<std::unique_ptr<StreamReader>> clones(threadCount);
         on_threads([&](std::size_t number) {
             clones[number] = reader->clone();
             for (int i = 0; i < 20; ++i) {
                 EXPECT_TRUE(holds_steps(*reader));
                 EXPECT_TRUE(holds_steps(*clones[number]));
             }
         });
     }},
    {"readingMayOverlapWriting", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(store_of_steps(session));
         const auto writer = session.writer();
         at_once({[&](std::size_t) {
                      write_steps(*writer, first_call(0), rollsBack(session.subject()));
                  },
                  [&](std::size_t) {
                      for (int i = 0; i < 20; ++i) {
                          EXPECT_TRUE(holds_steps(*reader));
                      }
                  }});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), steps(), numbers(stepCount)));
     }},
    {"anotherThreadMayReadAndReleaseAStore", everyBackend,
     [](Session& session) {
         boost::any store = store_of_steps(session);
         at_once({[&](std::size_t) {
             const auto reader = session.reader(store);
             store = boost::any();
             EXPECT_TRUE(holds_steps(*reader));
         }});
     }},
};

} // namespace

std::vector<Promise> thread_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
