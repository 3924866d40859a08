#include <tests/backends/recording/processes/ChildProcess.hpp>
#include <tests/backends/recording/processes/LiveScript.hpp>
#include <tests/backends/recording/processes/SharedValue.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/setups.hpp>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

// Processes read a recording while another one writes it as fast as it can. LOGGING2_LIVE_SAMPLES
// sets how much it writes, LOGGING2_LIVE_READERS how many processes read.

namespace logging2::core::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uintmax_t greatestLogByteCount = std::uintmax_t{64} * 1024 * 1024;

std::size_t setting(const char* name, std::size_t otherwise) {
    const char* const text = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return text != nullptr ? std::stoul(text) : otherwise;
}

struct Progress {
    std::atomic<bool> isLogging{false};
    std::atomic<std::size_t> writes{0};
    std::atomic<double> seconds{0};
    std::atomic<std::size_t> changes{0};   ///< that readers saw
    std::atomic<std::size_t> revisions{0}; ///< that readers saw
};

/// Whether a host that lingers lets readers look before it undoes steps for this write.
bool lingers_before(std::size_t write) {
    return write % deepPeriod == 0 || write % (300 * shallowPeriod) == 0;
}

void log_script(const RecordingOptions& options, std::size_t writeCount, bool lingers,
                Progress& progress) {
    RecordingStreamWriter writer({}, scalarSetup(), options);
    progress.isLogging = true;
    const auto start = Clock::now();
    std::size_t steps = 0;
    for (std::size_t i = 1; i <= writeCount; ++i) {
        if (lingers && lingers_before(i)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
        if (const std::size_t undone = std::min(undone_before(i), steps); undone > 0) {
            steps -= undone;
            writer.rollback(0, static_cast<double>(steps) - 1);
        }
        const auto value = static_cast<double>(i);
        writer.write(0, static_cast<double>(steps++), &value, 1);
        progress.writes.store(i, std::memory_order_relaxed);
    }
    writer.flush();
    progress.seconds = std::chrono::duration<double>(Clock::now() - start).count();
}

void expect(bool condition, const char* otherwise) {
    if (!condition) {
        throw std::runtime_error(otherwise);
    }
}

/// Compares each state of a growing recording with the model and with the state before it.
class LiveReader {
public:
    /// The recording may already be finished.
    explicit LiveReader(const std::string& location) : run(open_recording(location)) {
        compareState();
    }

    /// Whether anything has changed.
    bool look() {
        if (!run->refresh()) {
            return false;
        }
        compareState();
        return true;
    }

    bool isRunning() const { return run->info().state == RunState::running; }
    std::uint64_t revision() const { return shownRevision; }

    /// Reads everything once more.
    void expectAll(std::size_t writeCount) {
        expect(run->info().state == RunState::finished, "the run is not finished");
        expect(model.writeCount() == writeCount, "the last write is missing");
        compareFrom(0, run->series(ValuePath("x")), model.stepCount());
    }

private:
    /// How many known steps are read again.
    static constexpr std::size_t overlap = 10000;

    void compareState() {
        const std::size_t count = run->groups().front().stepCount;
        const std::uint64_t revision = run->info().revision;
        if (count > 0) {
            compare(count, revision > shownRevision);
        }
        expect(revision >= shownRevision, "the revision has decreased");
        expect(count >= shownCount || revision > shownRevision,
               "visible steps have gone, and the revision is the same");
        shownCount = count;
        shownRevision = revision;
    }

    void compare(std::size_t count, bool isOtherRevision) {
        const std::size_t known = std::min(count, shownCount);
        const std::size_t first = known - std::min(known, overlap);
        const Series series = run->series(ValuePath("x"), static_cast<double>(first),
                                          std::numeric_limits<double>::infinity());
        expect(first + series.size() == count, "the number of steps is another one");
        const auto newest = static_cast<std::size_t>(series.values()[series.size() - 1]);
        if (newest >= model.writeCount()) {
            const std::size_t least = model.advance(newest);
            expect(model.stepCount() == count, "this is no state that the group had");
            expect(least >= shownCount || isOtherRevision,
                   "visible steps were undone, and the revision is the same");
        } else {
            expect(isOtherRevision, "visible steps have gone, and the revision is the same");
        }
        compareFrom(first, series, count);
    }

    void compareFrom(std::size_t first, const Series& series, std::size_t count) const {
        expect(first + series.size() == count, "the number of steps is another one");
        for (std::size_t s = 0; s < series.size(); ++s) {
            expect(series.times()[s] == static_cast<double>(first + s), "a time is wrong");
        }
        expect(model.hasValues(first, series.values().data(), series.size()), "a value is wrong");
    }

    std::unique_ptr<Run> run;
    LiveModel model; ///< after the newest write that was visible
    std::size_t shownCount = 0;
    std::uint64_t shownRevision = 0;
};

void read_until_finished(const std::string& location, std::size_t writeCount, Progress& progress) {
    LiveReader reader(location);
    for (bool isRunning = true; isRunning;) {
        isRunning = reader.isRunning();
        progress.changes += reader.look() ? 1 : 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    progress.revisions += reader.revision();
    reader.expectAll(writeCount);
}

class RecordingLiveTest : public testing::Test {
protected:
    RecordingLiveTest() { options.directory = directory.path().string(); }

    /// Lets one process write and others read, the first of which is stopped most of the time.
    void readWhileWriting() {
        ChildProcess host([this] { log_script(options, writeCount, lingers, *progress); });
        while (!progress->isLogging && !host.hasEnded()) {
        }
        location = std::filesystem::directory_iterator(directory.path())->path().string();
        std::vector<ChildProcess> readers;
        while (readers.size() < readerCount) {
            readers.emplace_back([this] { read_until_finished(location, writeCount, *progress); });
        }
        watchLog(host, readers);
        ASSERT_EQ(host.wait(), 0);
        for (ChildProcess& reader : readers) {
            EXPECT_EQ(reader.wait(), 0);
        }
        print();
    }

    const TemporaryDirectory directory;
    RecordingOptions options;
    bool lingers = false;
    const std::size_t writeCount = setting("LOGGING2_LIVE_SAMPLES", 10000000);
    const std::size_t readerCount = setting("LOGGING2_LIVE_READERS", 4);
    const SharedValue<Progress> progress;

private:
    void watchLog(ChildProcess& host, const std::vector<ChildProcess>& readers) {
        while (progress->writes < writeCount / 10 && !host.hasEnded()) {
            measureLog();
        }
        if (!readers.empty()) {
            readers.front().signal(SIGSTOP);
        }
        while (!host.hasEnded()) {
            measureLog();
        }
        if (!readers.empty()) {
            readers.front().signal(SIGCONT);
        }
        EXPECT_LT(logByteCount, greatestLogByteCount);
    }

    void measureLog() {
        std::error_code isMissing;
        const auto byteCount =
            std::filesystem::file_size(location + "/index.sqlite-wal", isMissing);
        if (!isMissing) {
            logByteCount = std::max(logByteCount, byteCount);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void print() const {
        std::cout << writeCount << " samples, " << progress->seconds / double(writeCount) * 1e9
                  << " ns each" << (lingers ? " with pauses; " : "; ") << readerCount
                  << " readers saw " << progress->changes << " changes and " << progress->revisions
                  << " revisions; the log grew to " << logByteCount / 1024 << " KiB\n";
    }

    std::string location;
    std::uintmax_t logByteCount = 0;
};

TEST_F(RecordingLiveTest, readersSeeOnlyStatesThatTheGroupHad) {
    readWhileWriting();
}

TEST_F(RecordingLiveTest, readersOfPackedChunksSeeStatesThatTheGroupHad) {
    options.compression = Compression::lz4;
    readWhileWriting();
}

TEST_F(RecordingLiveTest, readersOfManySmallCommitsSeeFormerStates) {
    options.chunkByteCount = 65536;
    options.commitInterval = std::chrono::milliseconds(2);
    lingers = true;
    readWhileWriting();
}

} // namespace
} // namespace logging2::core::test
