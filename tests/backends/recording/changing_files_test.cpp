#include <tests/backends/recording/damaged_recordings.hpp>

#include <tests/support/FailingCalls.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// Recordings whose files change, or cannot be opened, at the moment when they are read.

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

/// Claims a data file as its host does.
class Claim {
public:
    explicit Claim(const fs::path& file) : descriptor(::open(file.c_str(), O_RDWR | O_CLOEXEC)) {
        flock(descriptor, LOCK_EX);
    }
    ~Claim() { close(descriptor); }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

private:
    int descriptor;
};

/// Sets the directory of temporary files while it lives.
class TemporaryFilesIn {
public:
    explicit TemporaryFilesIn(const char* directory) {
        if (const char* const value = std::getenv("TMPDIR")) {
            former = value;
        }
        setenv("TMPDIR", directory, 1);
    }
    ~TemporaryFilesIn() { former ? setenv("TMPDIR", former->c_str(), 1) : unsetenv("TMPDIR"); }
    TemporaryFilesIn(const TemporaryFilesIn&) = delete;
    TemporaryFilesIn& operator=(const TemporaryFilesIn&) = delete;

private:
    std::optional<std::string> former;
};

class ChangingFilesTest : public DamagedRecordingTest {
protected:
    fs::path journal() const { return location / "index.sqlite-journal"; }

    /// Makes it look as if a host had begun a commit without a log.
    void beginCommit() const { writeBytes(journal(), "not complete"); }

    auto endingCommit() const {
        return works([this] { fs::remove(journal()); });
    }
};

TEST_F(ChangingFilesTest, openingWithoutDescriptorsIsNoDamage) {
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        for (const std::size_t successCount : {std::size_t{0}, std::size_t{1}}) {
            std::vector<Outcome> outcomes(successCount, works());
            outcomes.push_back(fails(error));
            const FailingCalls calls(Call::open, "samples.bin", outcomes);
            EXPECT_THAT([this] { check_recording(location.string()); },
                        ThrowsMessage<RecordingError>(HasSubstr(std::strerror(error))))
                << successCount;
        }
    }
}

TEST_F(ChangingFilesTest, fileThatCannotBeAskedForItsSizeIsNamed) {
    const FailingCalls calls(Call::statOpen, "samples.bin", {fails(EIO), fails(EIO)});
    EXPECT_THAT([this] { readAll(); },
                ThrowsMessage<RecordingError>(HasSubstr("ask for its size")));
}

TEST_F(ChangingFilesTest, fileWhoseKindIsUnknownIsNamed) {
    const FailingCalls calls(Call::stat, "index.sqlite", {fails(EIO)});
    EXPECT_THAT([this] { readAll(); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot open it: Input/output error")));
}

TEST_F(ChangingFilesTest, logThatGoesBeforeItIsReadIsPassedOver) {
    const fs::path log = location / "index.sqlite-wal";
    writeBytes(log, std::string(100, 'x'));
    const FailingCalls calls(Call::open, "-wal", {works([&] { fs::remove(log); })});
    EXPECT_NO_THROW(readAll());
    EXPECT_EQ(calls.count(), 1U);
}

TEST_F(ChangingFilesTest, journalThatGoesBeforeItIsReadIsPassedOver) {
    beginCommit();
    const FailingCalls calls(Call::open, "-journal", {endingCommit()});
    EXPECT_NO_THROW(readAll());
    EXPECT_EQ(calls.count(), 1U);
}

TEST_F(ChangingFilesTest, commitWithoutALogIsWaitedFor) {
    const Claim claim(samples());
    beginCommit();
    const FailingCalls calls(Call::open, "-journal", {works(), works(), endingCommit()});
    EXPECT_NO_THROW(readAll());
    EXPECT_GE(calls.count(), 3U);
}

TEST_F(ChangingFilesTest, commitThatBeginsAtTheOpeningIsWaitedFor) {
    const Claim claim(samples());
    const FailingCalls indexOpens(Call::open, "index.sqlite", {works([this] { beginCommit(); })});
    const FailingCalls journalOpens(Call::open, "-journal", {works(), endingCommit()});
    EXPECT_NO_THROW(readAll());
    EXPECT_EQ(journalOpens.count(), 2U);
}

TEST_F(ChangingFilesTest, damagedIndexOfARunningHostIsNamed) {
    const Claim claim(samples());
    writeBytes(index(), std::string(5000, 'x'));
    EXPECT_THAT([this] { readAll(); },
                ThrowsMessage<RecordingError>(HasSubstr("file is not a database")));
}

TEST_F(ChangingFilesTest, logThatCannotBeCopiedAnywhereIsReported) {
    beginCommit();
    const TemporaryFilesIn nowhere("/proc");
    EXPECT_THAT([this] { readAll(); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot copy it and its log")));
}

TEST_F(ChangingFilesTest, dataThatIsCutOffAfterOpeningIsMissed) {
    const auto run = opened();
    run->series(ValuePath("x"), StepRange{0, 1});
    fs::resize_file(samples(), chunkOffset() + 200);
    EXPECT_THAT(
        [&] {
            run->series(ValuePath("x"), StepRange{0, longStepCount});
        },
        ThrowsMessage<RecordingError>(HasSubstr("bytes are missing")));
}

TEST_F(RecordingTest, thousandsOfChunksAreReadTogether) {
    constexpr std::size_t chunkCount = 1100;
    options.chunkByteCount = 1024;
    const auto writer = makeWriter();
    Doubles times;
    while (times.size() < chunkCount * options.chunkByteCount / sizeof(double) / 2) {
        times.push_back(static_cast<double>(times.size()));
    }
    writeTimes(*writer, times);
    writer->flush();
    EXPECT_GE(number_in(writer->location() + "/index.sqlite", "SELECT count(*) FROM chunk"),
              static_cast<std::int64_t>(chunkCount));
    EXPECT_EQ(timesOf(*open(*writer)), times);
}

} // namespace
} // namespace logging2::core::test
