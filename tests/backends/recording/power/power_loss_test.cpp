#include <tests/backends/recording/power/Disk.hpp>
#include <tests/backends/recording/power/FileJournal.hpp>
#include <tests/backends/recording/processes/ScriptOracle.hpp>
#include <tests/backends/recording/processes/scripted_recordings.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <random>
#include <set>
#include <string>
#include <vector>

// The machine loses its power at any moment: the files are in any state that a file system may
// leave. LOGGING2_POWER_LOSSES sets how many states are tried, LOGGING2_POWER_SEED where the random
// numbers begin (scripts/kills --power).

namespace logging2::core::test {
namespace {

namespace fs = std::filesystem;

unsigned long setting(const char* name, unsigned long otherwise) {
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return text != nullptr ? std::stoul(text) : otherwise;
}

template <class Value>
Value one_of(std::mt19937& random, std::initializer_list<Value> values) {
    return values.begin()[random() % values.size()];
}

/// How far a host has come.
struct Progress {
    bool isMade = false;
    std::size_t begun = 0;    ///< operations that were begun
    std::size_t returned = 0; ///< operations that have returned
    bool isFlushing = false;
    bool hasFlushed = false;
};

/// A recording whose every change was kept, together with the progress of its host.
class JournaledRun {
public:
    JournaledRun(std::mt19937& random, Durability durability)
        : scriptSeed(static_cast<unsigned>(random())),
          operationCount(1 + random() % 400),
          isObeyed(random() % 4 == 0) {
        options.directory = (root() / "results" / "today").string();
        options.durability = durability;
        options.chunkByteCount = one_of<std::size_t>(random, {256, 1024, 8192});
        options.commitInterval = std::chrono::milliseconds(one_of(random, {1, 5, 3600000}));
        options.heldBackSteps = one_of<std::size_t>(random, {0, 3, 16});
        isFlushed = random() % 4 != 0;
        failsPercent = one_of<std::size_t>(random, {0, 5, 30});
        const FileJournal journal(root());
        host();
        changes = FileJournal::events();
    }

    const std::vector<FileEvent>& events() const { return changes; }
    const Progress& progressAt(const FileEvent& note) const { return notes[note.number]; }
    fs::path root() const { return fs::canonical(directory.path()); }
    unsigned seed() const { return scriptSeed; }
    bool obeysRegression() const { return isObeyed; }
    std::size_t lastOperation() const { return operationCount; }

private:
    void host() {
        StreamingAttributes attributes;
        attributes.rollbackOnTimeRegression = isObeyed;
        RecordingStreamWriter writer(attributes, script_setup(), options);
        Progress progress;
        progress.isMade = true;
        note(progress);
        FileJournal::failSynchronizations([this, faults = std::mt19937(scriptSeed)]() mutable {
            return faults() % 100 < failsPercent;
        });
        Script script(scriptSeed);
        for (std::size_t i = 1; i <= operationCount; ++i) {
            const Operation operation = script.next();
            progress.begun = i;
            note(progress);
            insist([&] { perform(writer, operation, static_cast<double>(i)); });
            progress.returned = i;
            note(progress);
        }
        if (isFlushed) {
            progress.isFlushing = true;
            note(progress);
            insist([&] { writer.flush(); });
            progress.hasFlushed = true;
            note(progress);
        }
    }

    /// Repeats the call until the disk does what it should.
    template <class Function>
    static void insist(const Function& call) {
        for (;;) {
            try {
                call();
                return;
            } catch (const RecordingError&) {
            }
        }
    }

    void note(const Progress& progress) {
        FileJournal::note(notes.size());
        notes.push_back(progress);
    }

    const TemporaryDirectory directory;
    const unsigned scriptSeed;
    const std::size_t operationCount;
    const bool isObeyed;
    bool isFlushed = false;
    std::size_t failsPercent = 0; ///< of the synchronizations
    RecordingOptions options;
    std::vector<FileEvent> changes;
    std::vector<Progress> notes;
};

fs::path recording_below(const fs::path& directory) {
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.path().extension() == ".recording") {
            return entry.path();
        }
    }
    return directory / "none.recording";
}

/// What a series of losses came to.
struct Findings {
    std::size_t states = 0;
    std::size_t opened = 0;
    std::size_t damaged = 0; ///< reported as such, when it was opened or read
    std::size_t samples = 0; ///< found
    std::size_t missing = 0;
};

/// The disk of one run, on which the power is lost again and again.
class PowerLosses {
public:
    PowerLosses(std::mt19937& randomNumbers, Durability promised, Findings& sum)
        : random(randomNumbers),
          durability(promised),
          findings(sum),
          run(randomNumbers, promised),
          disk(run.root()) {}

    void tryStates(std::size_t count) {
        const std::size_t eventCount = run.events().size();
        const std::size_t eventsPerWriteBack = one_of<std::size_t>(random, {10, 100, 1000000});
        for (std::size_t k = 0; k < eventCount && !::testing::Test::HasFailure(); ++k) {
            SCOPED_TRACE("event " + std::to_string(k) + " of " + std::to_string(eventCount));
            happen(run.events()[k]);
            if (random() % eventsPerWriteBack == 0) {
                disk.writeBack(random);
            }
            // Spread over the events, none of which changes as much as a note.
            for (std::size_t n = count * (k + 1) / eventCount - count * k / eventCount; n > 0;
                 --n) {
                losePower();
            }
        }
        if (!::testing::Test::HasFailure()) {
            expectEverythingNoted();
        }
    }

private:
    void happen(const FileEvent& event) {
        disk.happen(event, random);
        if (event.kind == FileEvent::Kind::note) {
            progress = run.progressAt(event);
        } else if (event.kind == FileEvent::Kind::failedSynchronization) {
            uncertain.insert(event.path);
        } else if (event.kind == FileEvent::Kind::synchronize && durability == Durability::power &&
                   progress.isMade) {
            uncertain.erase(event.path);
            noteDurable();
        }
    }

    ScriptOracle oracle() const {
        return {run.seed(), run.obeysRegression(), progress.begun, progress.returned};
    }

    /// What a synchronization has brought to the disk is stored for certain. After one that has
    /// failed, it may be there by chance, and be overwritten later.
    void noteDurable() {
        if (!uncertain.empty()) {
            return;
        }
        const TemporaryDirectory place;
        disk.leaveCertain(place.path());
        const Contents contents = contents_of(*open_recording(recording_below(place.path())));
        ScriptOracle expected = oracle();
        expected.follow(contents);
        ASSERT_EQ(expected.fault(contents), "");
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            if (!contents[g].empty()) {
                stored[g] = static_cast<std::size_t>(contents[g].back().number);
            }
        }
    }

    void losePower() {
        const TemporaryDirectory place;
        disk.leaveSome(place.path(), random);
        const fs::path recording = recording_below(place.path());
        leaveSharedMemory(recording);
        ++findings.states;
        try {
            const auto opened = open_recording(recording);
            expectAllowedState(*opened, contents_of(*opened));
            ++findings.opened;
        } catch (const RecordingError& error) {
            ++findings.damaged;
            EXPECT_TRUE(durability == Durability::process || !progress.isMade) << error.what();
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
    }

    /// The shared memory of the log holds anything after a loss of power.
    void leaveSharedMemory(const fs::path& recording) {
        const std::size_t pick = random() % 4;
        if (fs::exists(recording) && pick > 0) {
            std::string bytes(pick == 1 ? 0 : 32768, '\0');
            for (std::size_t i = 0; pick == 3 && i < bytes.size(); ++i) {
                bytes[i] = static_cast<char>(random());
            }
            writeBytes(recording / "index.sqlite-shm", bytes);
        }
    }

    void expectAllowedState(const Run& found, const Contents& contents) {
        const RunState state = found.info().state;
        EXPECT_TRUE(state == RunState::interrupted ||
                    (state == RunState::finished && progress.isFlushing));
        ScriptOracle expected = oracle();
        for (std::size_t g = 0; g < scriptGroups.size() && durability == Durability::power; ++g) {
            expected.expectStored(g, progress.hasFlushed ? run.lastOperation() : stored[g]);
        }
        expected.follow(contents);
        if (durability == Durability::power) {
            EXPECT_TRUE(state == RunState::finished || !progress.hasFlushed);
            EXPECT_EQ(expected.fault(contents), "");
            EXPECT_GE(found.info().revision, expected.leastRevision());
        }
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            EXPECT_TRUE(expected.operationOf(g)) << "group " << g << " never was in this state";
            findings.samples += contents[g].size();
        }
        findings.missing += expected.missing(contents);
    }

    /// Every change of the files is in the journal: together they make the files, except the one
    /// that is mapped.
    void expectEverythingNoted() const {
        const TemporaryDirectory place;
        disk.leaveAll(place.path());
        const fs::path copy = recording_below(place.path());
        for (const auto& entry : fs::directory_iterator(recording_below(run.root()))) {
            const fs::path name = entry.path().filename();
            if (name != "index.sqlite-shm") {
                EXPECT_TRUE(bytesOf(entry.path()) == bytesOf(copy / name)) << entry.path();
            }
        }
    }

    std::mt19937& random;
    const Durability durability;
    Findings& findings;
    const JournaledRun run;
    Disk disk;
    Progress progress;
    std::set<std::string> uncertain; ///< files whose last synchronization has failed
    std::array<std::size_t, scriptGroups.size()> stored{}; ///< what each group has for certain
};

void lose_power_again_and_again(const char* what, Durability durability) {
    constexpr std::size_t statesPerRun = 200;
    Findings findings;
    const unsigned long count = setting("LOGGING2_POWER_LOSSES", 400);
    for (unsigned long seed = setting("LOGGING2_POWER_SEED", 1);
         findings.states < count && !::testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("LOGGING2_POWER_SEED=" + std::to_string(seed));
        std::mt19937 random(static_cast<unsigned>(seed));
        PowerLosses losses(random, durability, findings);
        losses.tryStates(statesPerRun);
    }
    std::cout << what << ": " << findings.states << " states, " << findings.opened << " opened, "
              << findings.damaged << " reported as damaged; " << findings.samples
              << " samples found, " << findings.missing << " missing\n";
}

TEST(PowerLossTest, everythingCommittedIsThereWithPowerDurability) {
    lose_power_again_and_again("power", Durability::power);
}

TEST(PowerLossTest, noWrongNumbersAreShownWithProcessDurability) {
    lose_power_again_and_again("process", Durability::process);
}

} // namespace
} // namespace logging2::core::test
