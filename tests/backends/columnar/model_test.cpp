#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <logging2/conformance/detail/memory_oracle.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>

// Random sequences of operations, compared with a plain oracle.

namespace logging2::core::test {
namespace {

using Random = std::mt19937;
using Series = std::pair<Doubles, Doubles>;

constexpr std::array<double, 4> specialNumbers{nan, -0.0, infinity, -infinity};

std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

std::string path_name(std::size_t number) {
    return "p" + std::to_string(number);
}

/// A store that was taken earlier, and what it must show.
struct TakenStore {
    std::unique_ptr<StreamReader> reader;
    Series expected;
};

class ColumnarModelTest : public ::testing::Test {
protected:
    void runSequence(unsigned seed) {
        random.seed(seed);
        prepare();
        for (std::size_t left = below(random, 60) * (below(random, 8) == 0 ? 30 : 1); left > 0;
             --left) {
            step();
        }
        endRun();
        for (std::size_t left = below(random, 8); left > 0; --left) {
            step();
        }
        writer->close();
        expectStores();
        const std::unique_ptr<StreamWriter> ended = std::move(writer);
        expectTakenStores();
    }

private:
    /// Widths 0 to 3, some large ones, channels that are listed twice, aliases, paths of foreign
    /// channels, and paths in several groups.
    LoggedPathsSetupData randomGroup() {
        std::vector<LoggedChannel> listed;
        std::vector<LoggedPath> logged;
        for (std::size_t i = below(random, 5); i > 0; --i) {
            const std::size_t width =
                below(random, 8) == 0 ? 20 + below(random, 150) : below(random, 4);
            listed.push_back({CoreDataId(below(random, 5)), width});
        }
        for (std::size_t i = below(random, 6); i > 0; --i) {
            logged.push_back(
                {ValuePath(path_name(below(random, 8))), CoreDataId(below(random, 5))});
        }
        return {logged, listed};
    }

    void prepare() {
        GroupSetup oracleSetup;
        GroupSetup setup;
        ids.clear();
        rowLengths.clear();
        for (std::size_t group = 0; group <= below(random, 4); ++group) {
            const std::size_t spread = below(random, 2) == 0 ? 1 : 0x9E3779B97F4A7C15;
            ids.push_back(group * spread);
            const LoggedPathsSetupData data = randomGroup();
            setup.insert(Group(ids.back()), data);
            oracleSetup.insert(Group(group), data);
            rowLengths.push_back(0);
            for (const LoggedChannel& channel : data.coreIds()) {
                rowLengths.back() += channel.width;
            }
        }
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = below(random, 2) == 0;
        ascends = below(random, 2) == 0;
        writer = std::make_unique<ColumnarStreamWriter>(attributes, setup);
        oracle.emplace(oracleSetup, attributes.rollbackOnTimeRegression, std::nullopt);
        run = writer->run();
        isMarked = false;
        marked.assign(ids.size(), 0);
        taken.clear();
    }

    double nextTime(std::size_t group) {
        const std::size_t pick = below(random, 60);
        if (pick < specialNumbers.size()) {
            return specialNumbers[pick];
        }
        const Doubles& held = oracle->times[group];
        const auto last = std::find_if(held.rbegin(), held.rend(),
                                       [](double time) { return std::isfinite(time); });
        if (ascends && last != held.rend() && pick < 57) {
            return *last + static_cast<double>(below(random, 3)) / 2.0;
        }
        return static_cast<double>(below(random, 24)) / 2.0;
    }

    void step() {
        const std::size_t group = below(random, ids.size());
        const std::size_t pick = below(random, 40);
        if (pick < 30) {
            Doubles row(rowLengths[group]);
            for (double& value : row) {
                value = below(random, 50) == 0
                            ? specialNumbers[below(random, specialNumbers.size())]
                            : static_cast<double>(random());
            }
            const double time = nextTime(group);
            EXPECT_TRUE(writer->write(ids[group], time, row.data(), row.size()));
            oracle->write(group, time, row);
            marked[group] = std::min(marked[group], oracle->times[group].size() - 1);
        } else if (pick < 36) {
            const double time = nextTime(group) - static_cast<double>(below(random, 6));
            writer->rollback(ids[group], time);
            oracle->rollbackToTime(group, time);
            marked[group] = std::min(marked[group], oracle->times[group].size());
        } else if (pick < 37) {
            writer->flushIntermediate();
            isMarked = true;
            for (std::size_t each = 0; each < ids.size(); ++each) {
                marked[each] = oracle->times[each].size();
            }
        } else if (pick < 39) {
            takeStores();
        } else {
            expectRun();
        }
    }

    /// Takes stores of the steps at the last flushIntermediate() that are still present.
    void takeStores() {
        if (!isMarked && !oracle->flushed) {
            EXPECT_THROW(writer->dataStore(ValuePath(path_name(0))), std::out_of_range);
            return;
        }
        MemoryOracle copy = *oracle;
        for (std::size_t group = 0; group < ids.size(); ++group) {
            const std::size_t count = std::min(marked[group], copy.times[group].size());
            copy.times[group].resize(count);
            copy.rows[group].resize(count);
        }
        copy.flush();
        for (const auto& [path, expected] : copy.stores) {
            taken.push_back(
                {std::make_unique<ColumnarStreamReader>(writer->dataStore(path)), expected});
        }
    }

    void endRun() {
        if (below(random, 2) == 0) {
            writer->flush();
        } else {
            writer->close();
        }
        oracle->flush();
        expectStores();
        expectRun();
        takeStores();
    }

    void expectStores() const {
        for (std::size_t number = 0; number < 8; ++number) {
            const ValuePath path(path_name(number));
            const auto expected = oracle->stores.find(path);
            if (expected == oracle->stores.end()) {
                EXPECT_THROW(writer->dataStore(path), std::out_of_range);
            } else {
                expectSame(ColumnarStreamReader(writer->dataStore(path)), expected->second);
            }
        }
    }

    void expectTakenStores() const {
        for (const TakenStore& each : taken) {
            expectSame(*each.reader, each.expected);
        }
    }

    static void expectSame(const StreamReader& reader, const Series& expected) {
        const Series found = reader.timeseries();
        EXPECT_TRUE(sameBits(found.first, expected.first));
        EXPECT_TRUE(sameBits(found.second, expected.second));
        EXPECT_TRUE(sameBits(reader.times(), expected.first));
    }

    void expectRun() {
        if (run == nullptr || below(random, 4) == 0) {
            run = writer->run();
        }
        run->refresh();
        MemoryOracle copy = *oracle;
        copy.flush();
        EXPECT_EQ(run->signals().size(), copy.stores.size());
        for (const auto& [path, expected] : copy.stores) {
            Series joined;
            for (const core::Series& piece : run->pieces(path)) {
                EXPECT_TRUE(piece.isView());
                joined.first.insert(joined.first.end(), piece.times().begin(), piece.times().end());
                joined.second.insert(joined.second.end(), piece.values().begin(),
                                     piece.values().end());
            }
            EXPECT_TRUE(sameBits(joined.first, expected.first));
            EXPECT_TRUE(sameBits(joined.second, expected.second));
        }
        if (below(random, 4) == 0) {
            run.reset(); // so that undone steps can be overwritten
        }
    }

    Random random;
    std::vector<std::size_t> ids; // by position
    std::vector<std::size_t> rowLengths;
    bool isMarked = false;
    std::vector<std::size_t> marked; // how many steps of each group stores may show
    bool ascends = false;
    std::unique_ptr<ColumnarStreamWriter> writer;
    std::optional<MemoryOracle> oracle;
    std::unique_ptr<core::Run> run;
    std::vector<TakenStore> taken;
};

TEST_F(ColumnarModelTest, randomSequencesMatchTheOracle) {
    for (unsigned seed = 1; seed <= sequenceCount && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        runSequence(seed);
    }
}

} // namespace
} // namespace logging2::core::test
