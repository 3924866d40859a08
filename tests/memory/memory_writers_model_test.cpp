#include <logging2/conformance/detail/memory_oracle.hpp>
#include <logging2/conformance/detail/same_bits.hpp>
#include <tests/memory/memory_writers.hpp>

#include <cstdint>
#include <random>
#include <string>

// Random sequences of operations on both memory writers, compared with a plain oracle.

namespace logging2::core::test {
namespace {

constexpr unsigned sequenceCount = 20000;
// One in this many sequences is long enough to fill several blocks of rows.
constexpr std::size_t longSequenceEvery = 50;
constexpr std::size_t longFactor = 25;

using Doubles = std::vector<double>;
using Random = std::mt19937;

std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

double randomTime(Random& random) {
    const std::size_t pick = below(random, 24);
    return pick == 0 ? nan : pick == 1 ? -0.0 : static_cast<double>(pick) / 2.0;
}

Doubles randomRow(Random& random, std::size_t length) {
    Doubles row(length);
    for (double& value : row) {
        value = below(random, 50) == 0 ? nan : static_cast<double>(random());
    }
    return row;
}

/// Widths 0 to 3, channels that are listed twice, aliases, paths of foreign channels, and paths in
/// several groups.
LoggedPathsSetupData randomGroup(Random& random) {
    std::vector<LoggedChannel> channels;
    std::vector<LoggedPath> paths;
    for (std::size_t i = below(random, 4); i > 0; --i) {
        channels.push_back({CoreDataId(below(random, 5)), below(random, 4)});
    }
    for (std::size_t i = below(random, 5); i > 0; --i) {
        paths.push_back(
            {ValuePath("p" + std::to_string(below(random, 8))), CoreDataId(below(random, 5))});
    }
    return {paths, channels};
}

/// One to three groups, inserted in ascending or descending order of their ids.
GroupSetup randomSetup(Random& random) {
    GroupSetup setup;
    const std::size_t groupCount = 1 + below(random, 3);
    const bool backward = below(random, 2) == 0;
    for (std::size_t i = 0; i < groupCount; ++i) {
        setup.insert(Group(backward ? groupCount - 1 - i : i), randomGroup(random));
    }
    return setup;
}

std::size_t rowLength(const LoggedPathsSetupData& data) {
    std::size_t length = 0;
    for (const LoggedChannel& channel : data.coreIds()) {
        length += channel.width;
    }
    return length;
}

template <class Sequence>
Doubles flat(const Sequence& sequence) {
    return {sequence.begin(), sequence.end()};
}

template <class Writer>
class MemoryWritersModelTest : public ::testing::Test {
protected:
    static constexpr bool isRestricted = std::is_same_v<Writer, MemoryStreamRestrictedWriter>;

    void runSequence(unsigned seed) {
        Random random(seed);
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = below(random, 2) == 0;
        length = below(random, longSequenceEvery) == 0 ? longFactor : 1;
        attributes.pointLimit = below(random, 12 * length);
        ascending = below(random, 2) == 0;
        const GroupSetup setup = randomSetup(random);
        Writer writer(attributes, setup);
        MemoryOracle oracle(setup, attributes.rollbackOnTimeRegression,
                            isRestricted ? std::optional(attributes.pointLimit) : std::nullopt);
        operate(random, writer, oracle, below(random, 40 * length));
        end(random, writer, oracle);
        expectSame(writer, oracle);
        operate(random, writer, oracle, below(random, 10));
        writer.close();
        oracle.close();
        // A second flush is allowed for the unrestricted writer, whose flush removes the times.
        if (!isRestricted && below(random, 4) == 0) {
            writer.flush();
            oracle.flush();
        }
        expectSame(writer, oracle);
    }

private:
    void operate(Random& random, Writer& writer, MemoryOracle& oracle, std::size_t count) {
        for (; count > 0; --count) {
            step(random, writer, oracle);
        }
    }

    /// Any time, or a time like a solver's: the last time of the group or one soon after it.
    double nextTime(Random& random, const Doubles& held) const {
        const double any = randomTime(random);
        return ascending && !held.empty() && below(random, 20 * length) != 0
                   ? held.back() + static_cast<double>(below(random, 3)) / 2.0
                   : any;
    }

    static void changeATime(Random& random, Writer& writer, Doubles& held, std::size_t group) {
        if (!held.empty()) {
            const std::size_t position = below(random, held.size());
            held[position] = randomTime(random);
            writer.times(group)[position] = held[position];
        }
    }

    void step(Random& random, Writer& writer, MemoryOracle& oracle) {
        const std::size_t group = below(random, oracle.setup.size());
        const std::size_t pick = below(random, 20);
        if (pick < 14) {
            const double time = nextTime(random, oracle.times[group]);
            const Doubles row =
                randomRow(random, rowLength(oracle.setup.find(Group(group))->second));
            EXPECT_TRUE(writer.write(group, time, row.data(), row.size()));
            oracle.write(group, time, row);
        } else if (pick < 17) {
            const double time =
                nextTime(random, oracle.times[group]) - static_cast<double>(below(random, 4));
            writer.rollback(group, time);
            oracle.rollbackToTime(group, time);
        } else if (pick < 19) {
            const std::size_t steps = below(random, 6 * length);
            writer.rollback(group, steps);
            oracle.rollbackByCount(group, steps);
        } else if (below(random, 3 * length) == 0) {
            changeATime(random, writer, oracle.times[group], group);
        } else {
            writer.flushIntermediate();
        }
    }

    static void end(Random& random, Writer& writer, MemoryOracle& oracle) {
        if (below(random, 2) == 0) {
            writer.flush();
            oracle.flush();
        } else {
            writer.close();
            oracle.close();
        }
    }

    static void expectSame(Writer& writer, const MemoryOracle& oracle) {
        for (std::size_t g = 0; g < oracle.times.size(); ++g) {
            EXPECT_EQ(writer.numSteps(g), oracle.times[g].size());
            EXPECT_TRUE(sameBits(flat(writer.times(g)), oracle.times[g]));
            ASSERT_EQ(writer.data(g).size(), oracle.rows[g].size());
            for (std::size_t r = 0; r < oracle.rows[g].size(); ++r) {
                EXPECT_TRUE(sameBits(*writer.data(g)[r], oracle.rows[g][r]));
            }
        }
        for (std::size_t p = 0; p < 8; ++p) {
            expectSameStore(writer, oracle, ValuePath("p" + std::to_string(p)));
        }
    }

    static void expectSameStore(const Writer& writer, const MemoryOracle& oracle,
                                const ValuePath& path) {
        const auto expected = oracle.stores.find(path);
        if (expected == oracle.stores.end()) {
            EXPECT_THROW(writer.dataStore(path), std::out_of_range);
            return;
        }
        const auto series = MemoryStreamReader(writer.dataStore(path)).timeseries();
        EXPECT_TRUE(sameBits(series.first, expected->second.first));
        EXPECT_TRUE(sameBits(series.second, expected->second.second));
    }

    std::size_t length = 1; // factor of the sequence's length
    bool ascending = false; // whether most times are not before the previous one
};

TYPED_TEST_SUITE(MemoryWritersModelTest, MemoryWriters, WriterNames);

TYPED_TEST(MemoryWritersModelTest, randomSequencesMatchTheOracle) {
    for (unsigned seed = 1; seed <= sequenceCount && !this->HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        this->runSequence(seed);
    }
}

} // namespace
} // namespace logging2::core::test
