#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <algorithm>
#include <array>
#include <random>
#include <string>

// Random sequences of operations of a writer that discards its oldest steps, with snapshots.

namespace logging2::core::test {
namespace {

/// The times of a group, and the plain rules by which they change.
struct PlainTimes {
    Doubles times;

    double next() const { return times.empty() ? 0.0 : times.back() + 1.0; }

    void rollback(double time) {
        times.erase(
            std::find_if(times.begin(), times.end(), [time](double each) { return each > time; }),
            times.end());
    }

    void write(double time, bool obeysRegression) {
        if (obeysRegression && !times.empty() && times.back() >= time) {
            rollback(time);
            if (!times.empty() && times.back() == time) {
                times.pop_back();
            }
        }
        times.push_back(time);
    }

    Doubles between(double from, double to) const {
        Doubles result;
        std::copy_if(times.begin(), times.end(), std::back_inserter(result),
                     [=](double time) { return from <= time && time <= to; });
        return result;
    }
};

constexpr std::size_t groupCount = 3;
constexpr std::array<const char*, groupCount> names{"x", "y", "z"};

struct Snapshot {
    double from;
    double to;
    std::unique_ptr<core::Run> run;
};

class ColumnarSnapshotSequences : public ::testing::Test {
protected:
    void runSequence(unsigned seed) {
        random.seed(seed);
        prepare();
        for (int operation = 0; operation < 60 && !HasFailure(); ++operation) {
            step();
        }
    }

private:
    double upTo(std::size_t end) { return static_cast<double>(random() % end); }

    void prepare() {
        widths = {1, random() % 2 == 0 ? 3U : 40U, 0};
        GroupSetup setup;
        for (std::size_t group = 0; group < groupCount; ++group) {
            setup.insert(Group(group), LoggedPathsSetupData(paths({{names[group], 0}}),
                                                            channels({{0, widths[group]}})));
        }
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = random() % 2 == 0;
        obeysRegression = attributes.rollbackOnTimeRegression;
        writer = std::make_unique<ColumnarStreamWriter>(
            attributes, setup,
            ColumnarOptions{4 * kibibyte << (random() % 3), BeyondLimit::discardOldest});
        plain = {};
        snapshots.clear();
        for (int i = 0; i < 2; ++i) {
            const double from = upTo(600);
            const double to = from + upTo(600);
            snapshots.push_back({from, to, writer->snapshot(from, to)});
        }
    }

    void step() {
        const std::size_t group = random() % groupCount;
        const std::size_t pick = random() % 10;
        if (pick < 6) {
            for (std::size_t left = random() % 400; left > 0; --left) {
                writeStep(group, plain[group].next());
            }
        } else if (pick < 7) {
            const double time = plain[group].next() - 1.0 - back();
            writer->rollback(group, time);
            plain[group].rollback(time);
        } else if (pick < 8 && obeysRegression) {
            writeStep(group, std::max(0.0, plain[group].next() - back()));
        } else {
            expectSnapshot(snapshots[random() % snapshots.size()]);
        }
    }

    /// How far to go back: mostly a few steps.
    double back() { return upTo(random() % 3 == 0 ? 1500 : 5); }

    void writeStep(std::size_t group, double time) {
        write(*writer, group, time, Doubles(widths[group], 10.0 * time));
        plain[group].write(time, obeysRegression);
    }

    void expectSnapshot(Snapshot& snapshot) const {
        std::array<Doubles, groupCount> before;
        for (std::size_t group = 0; group < groupCount; ++group) {
            before[group] = timesOf(*snapshot.run, names[group]);
        }
        const bool hasChanged = snapshot.run->refresh();
        for (std::size_t group = 0; group < groupCount; ++group) {
            const Doubles times = timesOf(*snapshot.run, names[group]);
            ASSERT_EQ(times, plain[group].between(snapshot.from, snapshot.to));
            ASSERT_TRUE(hasChanged || times == before[group]);
            const core::Series series = snapshot.run->series(ValuePath(names[group]));
            for (std::size_t i = 0; i < series.values().size(); ++i) {
                ASSERT_EQ(series.values()[i], 10.0 * times[i / widths[group]]);
            }
        }
    }

    std::mt19937 random;
    std::array<std::size_t, groupCount> widths{};
    bool obeysRegression = false;
    std::unique_ptr<ColumnarStreamWriter> writer;
    std::array<PlainTimes, groupCount> plain;
    std::vector<Snapshot> snapshots;
};

TEST_F(ColumnarSnapshotSequences, snapshotsKeepExactlyTheStepsOfTheirIntervals) {
    for (unsigned seed = 1; seed <= sequenceCount / 20 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        runSequence(seed);
    }
}

} // namespace
} // namespace logging2::core::test
