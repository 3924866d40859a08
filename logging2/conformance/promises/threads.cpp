#include <logging2/conformance/Promise.hpp>

#include <exception>
#include <functional>
#include <thread>

// Several writers, several threads. A writer is driven from one thread at a time.

namespace logging2::core::conformance {
namespace {

constexpr std::size_t threadCount = 4;
constexpr std::size_t stepCount = 200;

/// A thread that does the work; what that throws is a failure of the test.
std::thread thread_of(const std::function<void()>& work) {
    return std::thread([work] {
        try {
            work();
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
    });
}

/// Runs the work on several threads at once, each told its number, and waits for all.
void on_threads(const std::function<void(std::size_t)>& work) {
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < threadCount; ++number) {
        threads.push_back(thread_of([&work, number] { work(number); }));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

Doubles steps() {
    Doubles result;
    for (std::size_t step = 0; step < stepCount; ++step) {
        result.push_back(static_cast<double>(step));
    }
    return result;
}

/// What write_calls makes of steps().
Doubles calls(double first = 1.0) {
    Doubles result = steps();
    for (double& call : result) {
        call += first;
    }
    return result;
}

boost::any store_of_steps(const Session& session) {
    const auto writer = session.writer();
    write_calls(*writer, 0, steps());
    writer->flush();
    return writer->dataStore(ValuePath("x"));
}

const Promise table[] = {
    {"twoWritersAtOnceAreIndependent", everyone,
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
    {"writersOfSeveralThreadsAreIndependent", everyone,
     [](Session& session) {
         on_threads([&session](std::size_t number) {
             const double first = 1000.0 * static_cast<double>(number);
             const auto writer = session.writer();
             write_calls(*writer, 0, steps(), first);
             writer->flush();
             const auto reader = session.reader(writer->dataStore(ValuePath("x")));
             EXPECT_TRUE(holds(reader->timeseries(), steps(), calls(first)));
         });
     }},
    {"oneReaderServesSeveralThreads", everyone,
     [](Session& session) {
         const auto reader = session.reader(store_of_steps(session));
         std::vector<std::unique_ptr<StreamReader>> clones(threadCount);
         on_threads([&](std::size_t number) {
             clones[number] = reader->clone();
             for (int i = 0; i < 20; ++i) {
                 EXPECT_TRUE(holds(reader->timeseries(), steps(), calls()));
                 EXPECT_TRUE(holds(clones[number]->timeseries(), steps(), calls()));
             }
         });
     }},
    {"aStoreMayBeReadAndReleasedOnAnotherThread", everyone,
     [](Session& session) {
         boost::any store = store_of_steps(session);
         Series series;
         thread_of([&] {
             const auto reader = session.reader(store);
             store = boost::any();
             series = reader->timeseries();
         }).join();
         EXPECT_TRUE(holds(series, steps(), calls()));
     }},
};

} // namespace

std::vector<Promise> thread_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
