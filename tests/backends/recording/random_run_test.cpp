#include <tests/backends/recording/recordings.hpp>

#include <logging2/conformance/detail/memory_oracle.hpp>

#include <algorithm>
#include <random>

// Ranges and overviews of random recordings, compared with plain loops.

namespace logging2::core::test {
namespace {

constexpr std::size_t rowLength = 4;
constexpr std::size_t pairWidth = 2;
constexpr std::size_t pairOffset = 1;

/// The scalar "s", the pair "p" behind it, and a scalar without a path.
GroupSetup threeChannels() {
    return GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"s", 0}, {"p", 1}}),
                                                      channels({{0, 1}, {1, pairWidth}, {2, 1}}))}};
}

class RandomRunTest : public RecordingTest {
protected:
    std::size_t below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    }

    double special() {
        constexpr double values[] = {nan, infinity, -infinity, -0.0, 0.0};
        return values[below(5)];
    }

    double anyTime() { return below(20) == 0 ? special() : static_cast<double>(below(400)) / 8.0; }

    /// A recording of up to so many steps, with commits and rollbacks between them.
    void record(unsigned seed, std::size_t greatestStepCount) {
        random.seed(seed);
        options.chunkByteCount = (std::size_t{1} << below(12)) * (rowLength + 1) * sizeof(double);
        options.compression = below(2) == 0 ? Compression::lz4 : Compression::none;
        ascends = below(2) == 0;
        writer = makeWriter(threeChannels());
        held = std::make_unique<MemoryOracle>(threeChannels(), false, std::nullopt);
        for (std::size_t left = below(greatestStepCount); left > 0; --left) {
            step();
        }
        if (below(2) == 0) {
            writer->flush();
        } else {
            writer->flushIntermediate();
        }
        run = open(*writer);
    }

    /// Overviews, outlines and ranges of 30,000 steps in one chunk, which is shortened.
    void readLongChunk() {
        random.seed(1);
        ascends = true;
        options.chunkByteCount = std::size_t{4} << 20;
        writer = makeWriter(threeChannels());
        held = std::make_unique<MemoryOracle>(threeChannels(), false, std::nullopt);
        for (std::size_t s = 0; s < 30000; ++s) {
            const double time = static_cast<double>(s) / 8.0;
            const Doubles row{std::sin(time), std::cos(time), static_cast<double>(random()), 0.0};
            write(*writer, 0, time, row);
            held->write(0, time, row);
        }
        writer->flushIntermediate();
        // The chunk is shortened in the middle of a leaf.
        writer->rollback(0, 3333.0);
        held->rollbackToTime(0, 3333.0);
        run = open(*writer);
        for (int round = 0; round < 20; ++round) {
            const auto [from, to] = finiteRange();
            expectOverviews(from, to);
            expectOutlines(from, to);
            expectRange(from, to);
        }
        expectOverviews(0.0, 3333.0);
        expectOutlines(0.0, 3333.0);
        expectSummary();
    }

    void step() {
        const std::size_t pick = below(400);
        if (pick == 0) {
            writer->flushIntermediate();
        } else if (pick < 3 && !times().empty()) {
            const double time =
                times()[times().size() - 1 - below(std::min<std::size_t>(times().size(), 1000))];
            writer->rollback(0, time);
            held->rollbackToTime(0, time);
        } else {
            double time = anyTime();
            if (ascends) {
                time = (times().empty() ? 0.0 : times().back()) + static_cast<double>(below(3)) / 8;
            }
            Doubles row(rowLength);
            for (double& value : row) {
                value = below(20) == 0 ? special() : static_cast<double>(random());
            }
            write(*writer, 0, time, row);
            held->write(0, time, row);
        }
    }

    const Doubles& times() const { return held->times[0]; }

    void expectRange(double from, double to) {
        Doubles insideTimes;
        Doubles insideValues;
        for (std::size_t i = 0; i < times().size(); ++i) {
            if (from <= times()[i] && times()[i] <= to) {
                insideTimes.push_back(times()[i]);
                const auto first = held->rows[0][i].begin() + pairOffset;
                insideValues.insert(insideValues.end(), first, first + pairWidth);
            }
        }
        const Series series = run->series(ValuePath("p"), from, to);
        EXPECT_TRUE(sameBits(doubles(series.times()), insideTimes));
        EXPECT_TRUE(sameBits(doubles(series.values()), insideValues));
    }

    /// The steps of every range are those from the first to the last sample in it.
    void expectSteps(double from, double to) {
        StepRange expected;
        for (std::size_t i = 0; i < times().size(); ++i) {
            if (from <= times()[i] && times()[i] <= to) {
                expected.first = expected.count == 0 ? i : expected.first;
                expected.count = i + 1 - expected.first;
            }
        }
        const StepRange steps = run->steps(0, from, to);
        EXPECT_EQ(steps.first, expected.first);
        EXPECT_EQ(steps.count, expected.count);
        expectPart(steps);
    }

    /// The samples of the pair at these steps are those that were written.
    void expectPart(StepRange steps) {
        const Series part = run->series(ValuePath("p"), steps);
        const Series whole = run->series(ValuePath("p"));
        const auto first = static_cast<std::ptrdiff_t>(steps.first);
        const auto end = static_cast<std::ptrdiff_t>(steps.first + steps.count);
        EXPECT_TRUE(sameBits(doubles(part.times()),
                             Doubles(whole.times().begin() + first, whole.times().begin() + end)));
        EXPECT_TRUE(sameBits(doubles(part.values()), Doubles(whole.values().begin() + 2 * first,
                                                             whole.values().begin() + 2 * end)));
    }

    /// The summary of the pair is that of a plain loop over all samples.
    void expectSummary() {
        SignalSummary expected;
        expected.least.assign(pairWidth, infinity);
        expected.greatest.assign(pairWidth, -infinity);
        expected.nanCount.assign(pairWidth, 0);
        for (std::size_t i = 0; i < times().size(); ++i) {
            if (times()[i] == times()[i]) {
                expected.leastTime = std::min(expected.leastTime.value_or(infinity), times()[i]);
                expected.greatestTime =
                    std::max(expected.greatestTime.value_or(-infinity), times()[i]);
            }
            for (std::size_t e = 0; e < pairWidth; ++e) {
                const double value = held->rows[0][i][pairOffset + e];
                expected.nanCount[e] += value != value ? 1 : 0;
                expected.least[e] = std::min(expected.least[e], value);
                expected.greatest[e] = std::max(expected.greatest[e], value);
            }
        }
        const SignalSummary summary = run->summary(ValuePath("p"));
        EXPECT_EQ(summary.sampleCount, times().size());
        EXPECT_EQ(summary.leastTime, expected.leastTime);
        EXPECT_EQ(summary.greatestTime, expected.greatestTime);
        EXPECT_EQ(summary.least, expected.least);
        EXPECT_EQ(summary.greatest, expected.greatest);
        EXPECT_EQ(summary.nanCount, expected.nanCount);
    }

    /// The overview of elements [offset, offset + width) of the rows.
    Overview naiveOverview(double from, double to, std::size_t bucketCount, std::size_t offset,
                           std::size_t width) const {
        Overview result;
        result.width = width;
        result.least.assign(bucketCount * width, infinity);
        result.greatest.assign(bucketCount * width, -infinity);
        result.nanCount.assign(bucketCount * width, 0);
        result.sampleCount.assign(bucketCount, 0);
        for (std::size_t i = 0; i < times().size(); ++i) {
            if (!(from <= times()[i] && times()[i] <= to)) {
                continue;
            }
            const std::size_t bucket = bucket_of(times()[i], from, to, bucketCount);
            ++result.sampleCount[bucket];
            for (std::size_t e = 0; e < width; ++e) {
                const double value = held->rows[0][i][offset + e];
                const std::size_t place = bucket * width + e;
                if (value != value) {
                    ++result.nanCount[place];
                } else {
                    result.least[place] = std::min(result.least[place], value);
                    result.greatest[place] = std::max(result.greatest[place], value);
                }
            }
        }
        return result;
    }

    /// The outline of one element of the rows.
    Outline naiveOutline(double from, double to, std::size_t bucketCount,
                         std::size_t element) const {
        Outline result(bucketCount);
        for (std::size_t i = 0; i < times().size(); ++i) {
            if (from <= times()[i] && times()[i] <= to) {
                add(result[bucket_of(times()[i], from, to, bucketCount)], times()[i],
                    held->rows[0][i][element]);
            }
        }
        return result;
    }

    static void add(OutlineBucket& bucket, double time, double value) {
        bucket.firstTime = bucket.sampleCount == 0 ? time : bucket.firstTime;
        bucket.first = bucket.sampleCount == 0 ? value : bucket.first;
        bucket.lastTime = time;
        bucket.last = value;
        ++bucket.sampleCount;
        bucket.hasNan = bucket.hasNan || value != value;
        bucket.hasPositiveInfinity = bucket.hasPositiveInfinity || value == infinity;
        bucket.hasNegativeInfinity = bucket.hasNegativeInfinity || value == -infinity;
        if (std::isfinite(value)) {
            bucket.least = std::min(bucket.least, value);
            bucket.greatest = std::max(bucket.greatest, value);
        }
    }

    static void expectSame(const Outline& actual, const Outline& expected) {
        ASSERT_EQ(actual.size(), expected.size());
        for (std::size_t b = 0; b < actual.size(); ++b) {
            SCOPED_TRACE("bucket " + std::to_string(b));
            EXPECT_EQ(actual[b].sampleCount, expected[b].sampleCount);
            EXPECT_TRUE(
                sameBits({actual[b].firstTime, actual[b].first, actual[b].lastTime, actual[b].last},
                         {expected[b].firstTime, expected[b].first, expected[b].lastTime,
                          expected[b].last}));
            EXPECT_EQ(actual[b].least, expected[b].least);
            EXPECT_EQ(actual[b].greatest, expected[b].greatest);
            EXPECT_EQ(actual[b].hasNan, expected[b].hasNan);
            EXPECT_EQ(actual[b].hasPositiveInfinity, expected[b].hasPositiveInfinity);
            EXPECT_EQ(actual[b].hasNegativeInfinity, expected[b].hasNegativeInfinity);
        }
    }

    void expectOutlines(double from, double to) {
        const std::size_t bucketCount = 1 + below(30);
        SCOPED_TRACE(::testing::Message() << from << " to " << to << ", " << bucketCount);
        expectSame(run->outline(ValuePath("s"), 0, from, to, bucketCount),
                   naiveOutline(from, to, bucketCount, 0));
        expectSame(run->outline(ValuePath("p"), 1, from, to, bucketCount),
                   naiveOutline(from, to, bucketCount, pairOffset + 1));
    }

    static void expectSame(const Overview& actual, const Overview& expected) {
        EXPECT_EQ(actual.width, expected.width);
        EXPECT_EQ(actual.least, expected.least);
        EXPECT_EQ(actual.greatest, expected.greatest);
        EXPECT_EQ(actual.nanCount, expected.nanCount);
        EXPECT_EQ(actual.sampleCount, expected.sampleCount);
    }

    void expectOverviews(double from, double to) {
        const std::size_t bucketCount = 1 + below(30);
        SCOPED_TRACE(::testing::Message() << from << " to " << to << ", " << bucketCount);
        expectSame(run->overview(ValuePath("s"), from, to, bucketCount),
                   naiveOverview(from, to, bucketCount, 0, 1));
        expectSame(run->overview(ValuePath("p"), from, to, bucketCount),
                   naiveOverview(from, to, bucketCount, pairOffset, pairWidth));
    }

    /// A range that begins or ends at a sample, or between samples.
    std::pair<double, double> finiteRange() {
        double from = static_cast<double>(below(400)) / 8.0;
        double to = from + static_cast<double>(below(400)) / 9.0;
        if (ascends && !times().empty()) {
            from = times()[below(times().size())] - static_cast<double>(below(2)) / 16;
            to = from + times().back() / static_cast<double>(1 + below(10));
        }
        return {from, to};
    }

    std::mt19937 random;
    bool ascends = false;
    std::unique_ptr<RecordingStreamWriter> writer;
    std::unique_ptr<MemoryOracle> held;
    std::unique_ptr<core::Run> run;
};

TEST_F(RandomRunTest, seriesOfARangeEqualsAPlainFilter) {
    for (unsigned seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        for (int round = 0; round < 8; ++round) {
            const auto [from, to] = finiteRange();
            expectRange(from, to);
            expectRange(to, from);
            expectRange(special(), to);
            expectRange(from, special());
            expectRange(from, from);
        }
        expectRange(-infinity, infinity);
        expectRange(nan, nan);
    }
}

TEST_F(RandomRunTest, stepsOfARangeEqualAPlainLoop) {
    for (unsigned seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        for (int round = 0; round < 8; ++round) {
            const auto [from, to] = finiteRange();
            expectSteps(from, to);
            expectSteps(to, from);
            expectSteps(from, special());
            expectSteps(from, from);
        }
        expectSteps(-infinity, infinity);
        expectSteps(nan, nan);
    }
}

TEST_F(RandomRunTest, seriesOfStepsEqualsAPartOfAllSamples) {
    for (unsigned seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        for (int round = 0; round < 8; ++round) {
            const std::size_t first = below(times().size() + 1);
            expectPart({first, below(times().size() - first + 1)});
        }
        expectPart({0, times().size()});
        expectPart({times().size(), 0});
    }
}

TEST_F(RandomRunTest, summaryEqualsAPlainLoop) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        expectSummary();
    }
}

TEST_F(RandomRunTest, overviewEqualsAPlainLoop) {
    for (unsigned seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        for (int round = 0; round < 8; ++round) {
            const auto [from, to] = finiteRange();
            expectOverviews(from, to);
            expectOverviews(from, from);
        }
        expectOverviews(-std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
        expectOverviews(-0.0, 0.0);
    }
}

TEST_F(RandomRunTest, outlineEqualsAPlainLoop) {
    for (unsigned seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed, 3000);
        for (int round = 0; round < 8; ++round) {
            const auto [from, to] = finiteRange();
            expectOutlines(from, to);
            expectOutlines(from, from);
        }
        expectOutlines(-std::numeric_limits<double>::max(), std::numeric_limits<double>::max());
        expectOutlines(-0.0, 0.0);
    }
}

TEST_F(RandomRunTest, answersAboutALongChunkEqualAPlainLoop) {
    readLongChunk();
}

TEST_F(RandomRunTest, answersAboutALongPackedChunkEqualAPlainLoop) {
    options.compression = Compression::lz4;
    readLongChunk();
}

} // namespace
} // namespace logging2::core::test
