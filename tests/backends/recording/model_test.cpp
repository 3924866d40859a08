#include <tests/backends/recording/recordings.hpp>

#include <logging2/memory/MemoryStreamWriter.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <thread>

// Random sequences of operations on a recording's writer, compared with the memory writer.

namespace logging2::core::test {
namespace {

using Random = std::mt19937;

std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

template <class Value>
Value one_of(Random& random, std::initializer_list<Value> values) {
    return *(values.begin() + below(random, values.size()));
}

std::size_t row_length_of(const LoggedPathsSetupData& data) {
    std::size_t length = 0;
    for (const LoggedChannel& channel : data.coreIds()) {
        length += channel.width;
    }
    return length;
}

/// Channels of widths 0 to 3, some of them listed twice, each with a path and some with aliases.
LoggedPathsSetupData random_group(Random& random, std::size_t group) {
    std::vector<LoggedChannel> channels;
    std::vector<LoggedPath> paths;
    for (std::size_t i = below(random, 4); i > 0; --i) {
        channels.push_back({CoreDataId(below(random, 5)), below(random, 4)});
    }
    for (std::size_t i = 0; i < channels.size() + below(random, 2); ++i) {
        const std::string name = 'g' + std::to_string(group) + "/p" + std::to_string(i);
        paths.push_back({ValuePath(name), CoreDataId(i < channels.size() ? channels[i].id() : 4)});
    }
    return {paths, channels};
}

/// What is known of the steps that readers see of a group.
struct Shown {
    std::size_t least = 0;    ///< so many have been seen
    std::size_t greatest = 0; ///< so many may be seen
};

class RecordingModelTest : public RecordingTest {
protected:
    void runSequence(unsigned seed) {
        random.seed(seed);
        prepare();
        for (std::size_t left = below(random, 60) * one_of<std::size_t>(random, {1, 1, 1, 20});
             left > 0 && !HasFailure(); --left) {
            step();
        }
        endRun();
    }

private:
    void prepare() {
        setup = GroupSetup();
        std::size_t sum = 0;
        std::size_t widest = 0;
        const std::size_t groupCount = 1 + below(random, 3);
        for (std::size_t group = 0; group < groupCount; ++group) {
            setup.insert(Group(group), random_group(random, group));
            const std::size_t length = 1 + row_length_of(setup.find(Group(group))->second);
            sum += length * sizeof(double);
            widest = std::max(widest, length * sizeof(double));
        }
        options.chunkByteCount = one_of<std::size_t>(random, {1, 40, 400, 40000});
        options.bufferByteCount =
            sum + widest + one_of<std::size_t>(random, {0, 100, 1000, 200000});
        options.heldBackSteps = one_of<std::size_t>(random, {0, 3, 100});
        options.commitInterval =
            below(random, 3) == 0 ? std::chrono::hours(1) : std::chrono::milliseconds(1);
        options.compression = below(random, 2) == 0 ? Compression::lz4 : Compression::none;
        options.durability = below(random, 20) == 0 ? Durability::power : Durability::process;
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = below(random, 2) == 0;
        ascends = below(random, 2) == 0;
        writer = makeWriter(setup, attributes);
        memory = std::make_unique<MemoryStreamWriter>(attributes, setup);
        reader = open(*writer);
        shown.assign(groupCount, {});
        leastRevision = greatestRevision = 0;
    }

    std::size_t heldCount(std::size_t group) const { return memory->times(group).size(); }

    double nextTime(std::size_t group) {
        const std::size_t pick = below(random, 40);
        if (pick < 4) {
            return one_of(random, {nan, infinity, -infinity, -0.0});
        }
        if (ascends && heldCount(group) > 0 && pick < 38) {
            return memory->times(group).back() + static_cast<double>(below(random, 3)) / 2.0;
        }
        return static_cast<double>(below(random, 24)) / 2.0;
    }

    void step() {
        const std::size_t group = below(random, shown.size());
        const std::size_t pick = below(random, 100);
        if (pick < 75) {
            write(group);
        } else if (pick < 85) {
            rollback(group);
        } else if (pick < 88) {
            std::this_thread::sleep_for(std::chrono::microseconds(1500));
        } else if (pick < 92) {
            writer->flushIntermediate();
            expectPresentState();
        } else {
            expectPrefixes();
        }
    }

    void write(std::size_t group) {
        Doubles row(row_length_of(setup.find(Group(group))->second));
        for (double& value : row) {
            value = below(random, 30) == 0 ? nan : static_cast<double>(random());
        }
        const double time = nextTime(group);
        EXPECT_TRUE(writer->write(group, time, row.data(), row.size()));
        memory->write(group, time, row.data(), row.size());
        // It may discard twice: what is later, and what is equal.
        keep(group, heldCount(group) - 1, 2);
        shown[group].greatest =
            std::max(shown[group].greatest,
                     heldCount(group) - std::min(heldCount(group), options.heldBackSteps));
    }

    void rollback(std::size_t group) {
        const double time = nextTime(group) - static_cast<double>(below(random, 6));
        writer->rollback(group, time);
        memory->rollback(group, time);
        keep(group, heldCount(group), 1);
    }

    /// Notes that only so many steps of the group are left, after this number of rollbacks at most.
    void keep(std::size_t group, std::size_t stepCount, std::uint64_t rollbackCount) {
        leastRevision += stepCount < shown[group].least ? 1 : 0;
        greatestRevision += stepCount < shown[group].greatest ? rollbackCount : 0;
        shown[group].least = std::min(shown[group].least, stepCount);
        shown[group].greatest = std::min(shown[group].greatest, stepCount);
    }

    void expectPresentState() {
        for (std::size_t group = 0; group < shown.size(); ++group) {
            shown[group] = {heldCount(group), heldCount(group)};
        }
        expectPrefixes();
    }

    /// Compares what readers see with what is held, as much of it as they may and must see.
    void expectPrefixes() {
        if (below(random, 3) == 0) {
            reader = open(*writer);
        } else {
            reader->refresh();
        }
        expectContent(*reader);
        const std::uint64_t revision = reader->info().revision;
        EXPECT_LE(leastRevision, revision);
        EXPECT_LE(revision, greatestRevision);
        leastRevision = greatestRevision = revision;
    }

    void expectContent(const core::Run& run) {
        const std::vector<GroupInfo> groups = run.groups();
        ASSERT_EQ(groups.size(), shown.size());
        for (std::size_t group = 0; group < groups.size(); ++group) {
            EXPECT_LE(shown[group].least, groups[group].stepCount);
            EXPECT_LE(groups[group].stepCount, shown[group].greatest);
            shown[group].least = groups[group].stepCount;
        }
        for (const SignalInfo& signal : run.signals()) {
            expectSignal(run, signal, groups[signal.group].stepCount);
        }
    }

    void expectSignal(const core::Run& run, const SignalInfo& signal, std::size_t stepCount) const {
        const Series series = run.series(signal.path);
        const auto first = memory->times(signal.group).begin();
        EXPECT_TRUE(sameBits(doubles(series.times()),
                             {first, first + static_cast<std::ptrdiff_t>(stepCount)}));
        Doubles values;
        const std::size_t offset = offsetOf(signal);
        for (std::size_t row = 0; row < stepCount; ++row) {
            const auto value =
                memory->data(signal.group)[row]->begin() + static_cast<std::ptrdiff_t>(offset);
            values.insert(values.end(), value, value + static_cast<std::ptrdiff_t>(signal.width));
        }
        EXPECT_TRUE(sameBits(doubles(series.values()), values));
    }

    std::size_t offsetOf(const SignalInfo& signal) const {
        std::size_t offset = 0;
        for (const LoggedChannel& channel : setup.find(Group(signal.group))->second.coreIds()) {
            if (channel.id() == signal.channel) {
                break;
            }
            offset += channel.width;
        }
        return offset;
    }

    void endRun() {
        const std::string location = writer->location();
        const std::size_t pick = below(random, 3);
        if (pick == 0) {
            writer->flush();
        } else if (pick == 1) {
            writer->close();
        } else {
            writer.reset();
        }
        for (std::size_t group = 0; group < shown.size(); ++group) {
            shown[group] = {heldCount(group), heldCount(group)};
        }
        const auto run = open_recording(location);
        expectContent(*run);
        EXPECT_EQ(run->info().state, pick < 2 ? RunState::finished : RunState::interrupted);
        reader->refresh();
        expectContent(*reader);
        EXPECT_EQ(reader->info().state, run->info().state);
        reader.reset();
        writer.reset();
    }

    Random random;
    GroupSetup setup;
    std::unique_ptr<RecordingStreamWriter> writer;
    std::unique_ptr<MemoryStreamWriter> memory;
    std::unique_ptr<core::Run> reader;
    std::vector<Shown> shown;
    std::uint64_t leastRevision = 0;
    std::uint64_t greatestRevision = 0;
    bool ascends = false; ///< whether most times follow the one before
};

/// LOGGING2_MODEL_SEEDS is how many sequences are tried.
unsigned seed_count() {
    const char* const text = std::getenv("LOGGING2_MODEL_SEEDS");
    return text == nullptr ? 200 : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

TEST_F(RecordingModelTest, randomSequencesEndAsInTheMemoryWriter) {
    for (unsigned seed = 1; seed <= seed_count() && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        runSequence(seed);
    }
}

} // namespace
} // namespace logging2::core::test
