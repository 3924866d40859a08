#include <tests/backends/recording/processes/ChildProcess.hpp>
#include <tests/backends/recording/processes/ScriptOracle.hpp>
#include <tests/backends/recording/processes/SharedValue.hpp>
#include <tests/backends/recording/processes/directory_state.hpp>
#include <tests/backends/recording/processes/scripted_recordings.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <set>
#include <thread>

// Hosts of recordings, and their readers, are killed at any instant. LOGGING2_KILLS sets how often,
// LOGGING2_KILLS_SEED where the random numbers begin (scripts/kills).

namespace logging2::core::test {
namespace {

unsigned long setting(const char* name, unsigned long otherwise) {
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return text != nullptr ? std::stoul(text) : otherwise;
}

/// What the host tells while it lives.
struct Progress {
    std::atomic<bool> isLogging{false};
    std::atomic<std::size_t> begun{0};    ///< operations that were begun
    std::atomic<std::size_t> returned{0}; ///< operations that have returned
    std::atomic<bool> isFlushing{false};
    std::atomic<bool> hasFlushed{false};
};

/// What a host does until it is killed.
struct Plan {
    unsigned seed;
    std::size_t operationCount; ///< then it flushes
    bool obeysRegression;
    RecordingOptions options;
};

template <class Value>
Value one_of(std::mt19937& random, std::initializer_list<Value> values) {
    return values.begin()[random() % values.size()];
}

Plan make_plan(std::mt19937& random, const std::filesystem::path& directory) {
    Plan plan{static_cast<unsigned>(random()), 1 + random() % 600, random() % 4 == 0, {}};
    if (random() % 8 == 0) {
        plan.operationCount *= 50; // long enough to empty the index's log
    } else if (random() % 8 == 0) {
        plan.options.durability = Durability::power;
    }
    plan.options.directory = directory.string();
    plan.options.chunkByteCount = one_of<std::size_t>(random, {256, 1024, 8192, 65536});
    plan.options.bufferByteCount = one_of<std::size_t>(random, {1 << 14, 1 << 18, 1 << 26});
    plan.options.commitInterval = std::chrono::milliseconds(one_of(random, {1, 2, 5, 20}));
    plan.options.compression = one_of(random, {Compression::none, Compression::lz4});
    plan.options.heldBackSteps = one_of<std::size_t>(random, {0, 3, 16, 100});
    return plan;
}

void log_script(const Plan& plan, Progress& progress) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = plan.obeysRegression;
    RecordingStreamWriter writer(attributes, script_setup(), plan.options);
    progress.isLogging = true;
    Script script(plan.seed);
    for (std::size_t i = 1; i <= plan.operationCount; ++i) {
        const Operation operation = script.next();
        progress.begun = i;
        perform(writer, operation, static_cast<double>(i));
        progress.returned = i;
    }
    progress.isFlushing = true;
    writer.flush();
    progress.hasFlushed = true;
}

/// What a series of kills came to.
struct Findings {
    std::size_t kills = 0;
    std::size_t beforeTheStart = 0; ///< while the writer was made
    std::size_t whileFlushing = 0;
    std::size_t written = 0; ///< samples that no rollback discarded
    std::size_t missing = 0; ///< of them, written since the last commit
    std::size_t revisions = 0;
    std::size_t copies = 0;
};

/// One host that is killed, and what is left of it.
class Kill {
public:
    Kill(std::mt19937& randomNumbers, Findings& sum)
        : random(randomNumbers),
          findings(sum),
          plan(make_plan(randomNumbers, directory.path())) {}

    /// The host alone is killed.
    void killHost() {
        ChildProcess host([this] { log_script(plan, *progress); });
        waitForMoment(host);
        kill(host);
        expectAllowedState();
    }

    /// The host is killed after this process has read what it had stored.
    void killHostThatIsRead() {
        ChildProcess host([this] { log_script(plan, *progress); });
        waitForMoment(host);
        Counts seen{};
        if (progress->isLogging) {
            const auto run = open_recording(recording_in(directory.path()));
            for (std::size_t reads = random() % 4; reads > 0; --reads) {
                run->refresh();
            }
            const Contents contents = contents_of(*run);
            for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
                seen[g] =
                    contents[g].empty() ? 0 : static_cast<std::size_t>(contents[g].back().number);
            }
        }
        kill(host);
        expectAllowedState(seen);
    }

    /// Readers are killed again and again; the host too, or it flushes at its end.
    void killReaders() {
        ChildProcess host([this] { log_script(plan, *progress); });
        waitForMoment(host);
        for (std::size_t readers = 1 + random() % 3; readers > 0; --readers) {
            ChildProcess reader([this] { readForEver(); });
            pause(random() % 8000);
            EXPECT_FALSE(reader.hasEnded()) << "a reader has found a fault";
        }
        if (random() % 2 == 0) {
            kill(host);
        } else {
            EXPECT_EQ(host.wait(), 0);
            EXPECT_TRUE(progress->hasFlushed);
        }
        expectAllowedState();
    }

private:
    void waitForMoment(ChildProcess& host) {
        // Every fourth kill comes while the host flushes, and some while the writer is made.
        const bool isEarly = random() % 32 == 0;
        const std::size_t target =
            random() % 4 == 0 ? plan.operationCount : random() % plan.operationCount;
        while (!isEarly && !host.hasEnded() && (!progress->isLogging || progress->begun < target)) {
            std::this_thread::yield();
        }
        pause(random() % 4 == 0 ? random() % 5000 : random() % 300);
    }

    static void pause(std::size_t microseconds) {
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::microseconds(microseconds);
        while (std::chrono::steady_clock::now() < until) {
            std::this_thread::yield();
        }
    }

    void kill(ChildProcess& host) {
        if (!host.hasEnded()) {
            host.signal(SIGKILL);
            host.wait();
        }
        ++findings.kills;
    }

    [[noreturn]] void readForEver() {
        for (;;) {
            if (!progress->isLogging) {
                continue;
            }
            const auto run = open_recording(recording_in(directory.path()));
            for (int reads = 0; reads < 5; ++reads) {
                contents_of(*run);
                run->refresh();
            }
        }
    }

    void expectAllowedState(const Counts& seen = {}) {
        if (!progress->isLogging) {
            ++findings.beforeTheStart;
            return;
        }
        const std::string location = recording_in(directory.path());
        const DirectoryState before(location);
        const auto run = open_recording(location);
        const Contents contents = contents_of(*run);
        findings.whileFlushing += progress->isFlushing && !progress->hasFlushed ? 1 : 0;
        findings.revisions += run->info().revision;
        findings.missing += expectAllowedContents(*run, contents, seen);
        for (const auto& samples : contents) {
            findings.written += samples.size();
        }
        const RecordingCheck check = check_recording(location);
        EXPECT_EQ(check.findingCount, 0U) << ::testing::PrintToString(check.findings);
        EXPECT_EQ(DirectoryState(location), before) << "reading has changed the recording";
        if (random() % 4 == 0) {
            expectSameInCopy(location, *run, contents);
            if (!progress->hasFlushed) {
                expectAllowedStateInRebuilt(location, seen);
            }
        }
    }

    /// Returns how many samples more than are found were written.
    std::size_t expectAllowedContents(const Run& run, const Contents& contents,
                                      const Counts& seen) {
        const RunState state = run.info().state;
        EXPECT_TRUE(state == RunState::interrupted ||
                    (state == RunState::finished && progress->isFlushing));
        EXPECT_TRUE(state == RunState::finished || !progress->hasFlushed);
        ScriptOracle oracle(plan.seed, plan.obeysRegression, progress->begun, progress->returned);
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            oracle.expectStored(g, state == RunState::finished ? plan.operationCount : seen[g]);
        }
        oracle.follow(contents);
        EXPECT_EQ(oracle.fault(contents), "");
        EXPECT_GE(run.info().revision, oracle.leastRevision());
        return oracle.missing(contents);
    }

    /// The data file alone gives a state that the host had, too.
    void expectAllowedStateInRebuilt(const std::string& location, const Counts& seen) {
        const TemporaryDirectory other;
        const std::string rebuilt = (other.path() / "rebuilt.recording").string();
        EXPECT_LE(rebuild_recording(location, rebuilt).lostSteps.size(), 1U);
        const auto run = open_recording(rebuilt);
        expectAllowedContents(*run, contents_of(*run), seen);
    }

    /// Whoever copies the files of a killed host may leave the shared memory behind.
    void expectSameInCopy(const std::string& location, const Run& run, const Contents& contents) {
        const TemporaryDirectory other;
        for (const char* name : {"samples.bin", "index.sqlite", "index.sqlite-wal"}) {
            if (std::filesystem::exists(location + "/" + name)) {
                std::filesystem::copy(location + "/" + name, other.path());
            }
        }
        const DirectoryState before(other.path());
        const auto copy = open_recording(other.path().string());
        EXPECT_EQ(copy->info().state, run.info().state);
        EXPECT_EQ(copy->info().revision, run.info().revision);
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            EXPECT_TRUE(is_equal(content_of(*copy, g), contents[g])) << "group " << g;
        }
        EXPECT_EQ(DirectoryState(other.path()), before);
        ++findings.copies;
    }

    std::mt19937& random;
    Findings& findings;
    const TemporaryDirectory directory;
    const Plan plan;
    const SharedValue<Progress> progress;
};

void kill_again_and_again(const char* what, void (Kill::*way)()) {
    Findings findings;
    const unsigned long count = setting("LOGGING2_KILLS", 100);
    const unsigned long firstSeed = setting("LOGGING2_KILLS_SEED", 1);
    for (unsigned long i = 0; i < count && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE("LOGGING2_KILLS_SEED=" + std::to_string(firstSeed + i));
        std::mt19937 random(static_cast<unsigned>(firstSeed + i));
        Kill one(random, findings);
        (one.*way)();
    }
    std::cout << what << ": " << count << " runs, " << findings.kills << " hosts killed, "
              << findings.beforeTheStart << " before and " << findings.whileFlushing
              << " at their end; " << findings.written << " samples found, " << findings.missing
              << " missing since the last commit, " << findings.revisions << " revisions, "
              << findings.copies << " copies opened\n";
}

TEST(RecordingKillTest, recordingOfKilledHostHoldsEverythingCommitted) {
    kill_again_and_again("hosts", &Kill::killHost);
}

TEST(RecordingKillTest, whatReadersSawIsNotMissingAfterKill) {
    kill_again_and_again("hosts that are read", &Kill::killHostThatIsRead);
}

TEST(RecordingKillTest, killedReadersLeaveTheRecordingAlone) {
    kill_again_and_again("readers", &Kill::killReaders);
}

} // namespace
} // namespace logging2::core::test
