#include <tests/native/native_oracle.hpp>
#include <tests/native/native_writers.hpp>

#include <random>

// Random sequences of operations. The files' bytes are compared with a plain oracle.

namespace logging2::core::test {
namespace {

constexpr unsigned sequenceCount = 1500;

using Doubles = std::vector<double>;
using Random = std::mt19937;

std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

/// Channel numbers 0 to 5 that groups share, widths 0 to 4, aliases, channels without paths, paths
/// of foreign channels, and paths in several groups.
LoggedPathsSetupData randomGroup(Random& random) {
    std::vector<LoggedChannel> channels;
    std::vector<LoggedPath> paths;
    for (std::size_t i = below(random, 5); i > 0; --i) {
        channels.push_back({CoreDataId(below(random, 6)), below(random, 5)});
    }
    for (std::size_t i = below(random, 6); i > 0; --i) {
        paths.push_back(
            {ValuePath("p" + std::to_string(below(random, 12))), CoreDataId(below(random, 6))});
    }
    return {paths, channels};
}

GroupSetup randomSetup(Random& random) {
    static const std::size_t ids[] = {0, 1, 12, 200, std::size_t{1} << 32U};
    GroupSetup setup;
    for (std::size_t i = 1 + below(random, 4); i > 0; --i) {
        setup.insert(Group(ids[below(random, 5)]), randomGroup(random));
    }
    return setup;
}

/// A row that usually has the channels' total width and sometimes another length.
Doubles randomRow(Random& random, const LoggedPathsSetupData& data) {
    std::size_t length = 0;
    for (const LoggedChannel& channel : data.coreIds()) {
        length += channel.width;
    }
    if (below(random, 20) == 0) {
        length = below(random, 8);
    }
    Doubles row(length);
    for (double& value : row) {
        value = static_cast<double>(random());
    }
    return row;
}

class NativeModelTest : public ::testing::Test {
protected:
    void runSequence(unsigned seed) {
        Random random(seed);
        const SystemTempDirectory directory;
        const GroupSetup setup = randomSetup(random);
        const auto thread = below(random, 2) == 0 ? NativeOracle::Thread::takesAtOnce
                                                  : NativeOracle::Thread::takesAtStop;
        NativeStreamWriter writer(StreamingAttributes{}, setup);
        if (thread == NativeOracle::Thread::takesAtStop) {
            Access::startWhenStopIsRequested(writer);
        }
        NativeOracle oracle(setup, shrinkBuffers(random, setup, writer), thread);
        for (std::size_t i = below(random, 80); i > 0; --i) {
            step(random, setup, writer, oracle);
            if (thread == NativeOracle::Thread::takesAtOnce && Access::hasThread(writer)) {
                Access::waitUntilTaken(writer);
            }
        }
        writer.flush();
        oracle.flush();
        expectSameFiles(directory, oracle);
    }

private:
    static std::map<std::size_t, std::size_t> shrinkBuffers(Random& random, const GroupSetup& setup,
                                                            NativeStreamWriter& writer) {
        std::map<std::size_t, std::size_t> capacities;
        for (const auto& entry : setup) {
            const std::size_t capacity = 1 + below(random, 9);
            capacities.emplace(entry.first.id(), capacity);
            Access::setBufferSize(writer, entry.first.id(), capacity);
        }
        return capacities;
    }

    static void step(Random& random, const GroupSetup& setup, NativeStreamWriter& writer,
                     NativeOracle& oracle) {
        if (below(random, 12) == 0) {
            writer.flushIntermediate();
            oracle.flushIntermediate();
            return;
        }
        const auto& [group, data] = *(setup.begin() + below(random, setup.size()));
        const double time = static_cast<double>(below(random, 1000));
        const Doubles row = randomRow(random, data);
        EXPECT_TRUE(writer.write(group.id(), time, row.data(), row.size()));
        oracle.write(group.id(), time, row);
    }

    static void expectSameFiles(const SystemTempDirectory& directory, const NativeOracle& oracle) {
        std::map<std::string, Doubles> files;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
            if (!entry.is_directory()) {
                const std::string name = entry.path().filename();
                EXPECT_EQ(entry.file_size() % sizeof(double), 0U) << name;
                files.emplace(name.substr(name.find('_') + 1), doublesOf(entry.path()));
            }
        }
        EXPECT_EQ(files, oracle.files);
    }
};

TEST_F(NativeModelTest, randomSequencesMatchTheOracle) {
    for (unsigned seed = 1; seed <= sequenceCount && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        runSequence(seed);
    }
}

} // namespace
} // namespace logging2::core::test
