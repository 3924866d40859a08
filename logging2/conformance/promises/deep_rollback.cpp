#include <logging2/conformance/detail/Promise.hpp>

#include <utility>

// Rollback of very many samples: it reaches samples of any age, and the count is exact.

namespace logging2::core::conformance {
namespace {

constexpr std::size_t sampleCount = 300000;
constexpr std::size_t keptCount = 50000;

/// Sizes near those that are common for blocks, buffers and limits. They descend, so that no
/// rollback discards the place of an earlier mistake.
constexpr std::size_t depths[] = {200000, 100001, 100000, 65537, 65536, 65535, 5001, 5000,
                                  4999,   1025,   1024,   1023,  65,    64,    63,   1};

/// The times 0, 1, 2, ... with a much later time at the first sample of each depth. So a rollback
/// by a depth must also discard earlier times.
Doubles times_with_peaks() {
    Doubles times = numbers(sampleCount);
    for (const std::size_t depth : depths) {
        times[sampleCount - depth] += 2.0 * sampleCount;
    }
    return times;
}

/// Writes samples at these times and remembers which call wrote each of them.
class Log {
public:
    Log(StreamWriter& target, Doubles timesOfSteps)
        : writer(target),
          times(std::move(timesOfSteps)),
          calls(times.size()) {
        writeFrom(0);
    }

    /// Discards the newest samples and writes them again. No sample before them may be as late as
    /// the first of them.
    void replace(std::size_t count) {
        const std::size_t left = calls.size() - count;
        writer.rollback(0, times[left] - 0.5);
        writeFrom(left);
    }

    testing::AssertionResult isHeldBy(const Series& series) const {
        return holds(series, times, calls);
    }

private:
    void writeFrom(std::size_t begin) {
        for (std::size_t step = begin; step < calls.size(); ++step) {
            calls[step] = ++lastCall;
            writer.write(0, times[step], &calls[step], 1);
        }
    }

    StreamWriter& writer;
    Doubles times; // by step
    Doubles calls; // by step
    double lastCall = 0.0;
};

/// Replaces samples by each of the depths, and then reads all of them.
void check_depths(Session& session, Doubles times) {
    const auto writer = session.writer(test::scalarSetup(), attributes(sampleCount));
    Log log(*writer, std::move(times));
    for (const std::size_t depth : depths) {
        log.replace(depth);
    }
    writer->flush();
    EXPECT_TRUE(log.isHeldBy(session.read(*writer, "x")));
}

const Promise table[] = {
    {"rollbackDiscardsAnyNumberOfSamples", rollsBack,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), attributes(sampleCount));
         write_calls(*writer, 0, numbers(sampleCount));
         writer->rollback(0, static_cast<double>(keptCount) - 1.0);
         writer->flush();
         EXPECT_TRUE(
             holds(session.read(*writer, "x"), numbers(keptCount), numbers(keptCount, 1.0)));
     }},
    {"rollbackOfManySamplesIsExact", rollsBack,
     [](Session& session) { check_depths(session, numbers(sampleCount)); }},
    {"rollbackOfManyUnorderedSamplesIsExact", rollsBack,
     [](Session& session) { check_depths(session, times_with_peaks()); }},
    {"rollbackOfManySamplesIsExactAfterFlushIntermediate", rollsBack,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), attributes(sampleCount));
         Log log(*writer, numbers(sampleCount));
         writer->flushIntermediate();
         log.replace(sampleCount - keptCount);
         writer->flushIntermediate();
         log.replace(keptCount);
         writer->flush();
         EXPECT_TRUE(log.isHeldBy(session.read(*writer, "x")));
     }},
    {"earlierTimeReplacesAnyNumberOfSamples", obeysRegression,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), rolling_back(sampleCount));
         write_calls(*writer, 0, numbers(sampleCount));
         write_calls(*writer, 0, {static_cast<double>(keptCount) - 1.0}, 0.5);
         writer->flush();
         Doubles values = numbers(keptCount, 1.0);
         values.back() = 0.5;
         EXPECT_TRUE(holds(session.read(*writer, "x"), numbers(keptCount), values));
     }},
};

} // namespace

std::vector<Promise> deep_rollback_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
