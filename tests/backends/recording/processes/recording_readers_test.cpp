#include <tests/backends/recording/processes/ChildProcess.hpp>
#include <tests/backends/recording/processes/SharedValue.hpp>
#include <tests/backends/recording/processes/directory_state.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/setups.hpp>

#include <grp.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

namespace logging2::core::test {
namespace {

namespace fs = std::filesystem;

/// A recording with ten steps, in a directory that every user may read.
class RecordingReadersTest : public testing::Test {
protected:
    RecordingReadersTest() {
        fs::permissions(directory.path(), fs::perms(0755));
        RecordingOptions options;
        options.directory = directory.path().string();
        options.mode = 0755;
        options.commitInterval = std::chrono::hours(1);
        writer.emplace(StreamingAttributes{}, scalarSetup(), options);
        location = writer->location();
        for (int i = 0; i < 10; ++i) {
            write(*writer, 0, i, {10.0 * i});
        }
        writer->flushIntermediate();
    }

    TemporaryDirectory directory;
    std::optional<RecordingStreamWriter> writer;
    std::string location;
};

void expect_ten_steps(const std::string& location, RunState state) {
    const auto run = open_recording(location);
    EXPECT_EQ(run->info().state, state);
    const auto [times, values, width] = run->series(ValuePath("x"));
    ASSERT_EQ(times.size(), 10U);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(times[i], static_cast<double>(i));
        EXPECT_EQ(values[i], 10.0 * static_cast<double>(i));
    }
    EXPECT_EQ(run->overview(ValuePath("x"), 0, 9, 1).greatest.front(), 90);
    EXPECT_FALSE(run->refresh());
}

/// Takes the permission to write to a directory and its files from everybody, for its lifetime.
class WriteProtection {
public:
    explicit WriteProtection(const fs::path& directory) {
        protect(directory);
        for (const fs::directory_entry& file : fs::directory_iterator(directory)) {
            protect(file);
        }
    }
    WriteProtection(const WriteProtection&) = delete;
    WriteProtection& operator=(const WriteProtection&) = delete;
    ~WriteProtection() {
        for (const auto& [file, permissions] : former) {
            std::error_code isGone;
            fs::permissions(file, permissions, isGone);
        }
    }

private:
    void protect(const fs::path& file) {
        former[file] = fs::status(file).permissions();
        fs::permissions(file,
                        fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                        fs::perm_options::remove);
    }

    std::map<fs::path, fs::perms> former;
};

/// Nothing holds root back, so root becomes another user.
void give_up_root() {
    constexpr unsigned nobody = 65534;
    if (setgroups(0, nullptr) != 0 || setgid(nobody) != 0 || setuid(nobody) != 0) {
        throw std::runtime_error("still the same user");
    }
}

/// Reads in a process that may not write there.
void expect_ten_steps_without_write_permission(const std::string& location, RunState state) {
    const WriteProtection protection(location);
    ChildProcess reader([&] {
        if (geteuid() == 0) {
            give_up_root();
        }
        if (access(location.c_str(), W_OK) == 0) {
            throw std::runtime_error("the reader may write");
        }
        expect_ten_steps(location, state);
        if (testing::Test::HasFailure()) {
            throw std::runtime_error("the reader sees something else");
        }
    });
    EXPECT_EQ(reader.wait(), 0);
}

TEST_F(RecordingReadersTest, readingLiveRecordingChangesNoFile) {
    const DirectoryState before(location);
    expect_ten_steps(location, RunState::running);
    EXPECT_EQ(DirectoryState(location), before);
}

TEST_F(RecordingReadersTest, readingFinishedRecordingChangesNoFile) {
    writer->flush();
    const DirectoryState before(location);
    expect_ten_steps(location, RunState::finished);
    EXPECT_EQ(DirectoryState(location), before);
}

TEST_F(RecordingReadersTest, finishedRecordingHasTwoFiles) {
    writer->flush();
    EXPECT_EQ(std::distance(fs::directory_iterator(location), {}), 2);
}

TEST_F(RecordingReadersTest, withoutWritePermissionLiveRecordingIsReadAndNotChanged) {
    const DirectoryState before(location);
    expect_ten_steps_without_write_permission(location, RunState::running);
    EXPECT_EQ(DirectoryState(location), before);
}

TEST_F(RecordingReadersTest, withoutWritePermissionFinishedRecordingIsReadAndNotChanged) {
    writer->flush();
    const DirectoryState before(location);
    expect_ten_steps_without_write_permission(location, RunState::finished);
    EXPECT_EQ(DirectoryState(location), before);
}

TEST_F(RecordingReadersTest, recordingOpenAtFlushIsReadWithoutWritePermission) {
    {
        const auto reader = open_recording(location);
        writer->flush();
        writer.reset();
    }
    const DirectoryState before(location);
    expect_ten_steps_without_write_permission(location, RunState::finished);
    EXPECT_EQ(DirectoryState(location), before);
}

TEST_F(RecordingReadersTest, readersSeeNothingBetweenTwoPartsOfRegression) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    RecordingOptions options;
    options.directory = directory.path().string();
    RecordingStreamWriter other(attributes, scalarSetup(), options);
    for (int i = 0; i < 5; ++i) {
        write(other, 0, i, {10.0 * i});
    }
    other.flushIntermediate();
    // The steps at 3 and 4 are later, and the one at 2 is at the time itself.
    write(other, 0, 2, {7});
    other.flushIntermediate();
    const auto run = open_recording(other.location());
    EXPECT_EQ(run->info().revision, 1U);
    EXPECT_EQ(run->series(ValuePath("x")).size(), 3U);
}

TEST_F(RecordingReadersTest, flushSucceedsWhileReaderHasRecordingOpen) {
    const auto reader = open_recording(location);
    EXPECT_NO_THROW(writer->flush());
    EXPECT_TRUE(reader->refresh());
    EXPECT_EQ(reader->info().state, RunState::finished);
    expect_ten_steps(location, RunState::finished);
}

TEST_F(RecordingReadersTest, flushSucceedsWhileReaderProcessHasRecordingOpen) {
    struct Steps {
        std::atomic<bool> isOpen{false};
        std::atomic<bool> isFlushed{false};
    };
    const SharedValue<Steps> steps;
    ChildProcess reader([&] {
        const auto run = open_recording(location);
        steps->isOpen = true;
        while (!steps->isFlushed) {
        }
        if (!run->refresh() || run->info().state != RunState::finished) {
            throw std::runtime_error("the run is not finished");
        }
    });
    while (!steps->isOpen) {
    }
    EXPECT_NO_THROW(writer->flush());
    steps->isFlushed = true;
    EXPECT_EQ(reader.wait(), 0);
}

TEST_F(RecordingReadersTest, copyOfLiveFilesWithoutSharedMemoryOpens) {
    const TemporaryDirectory copy;
    for (const char* name : {"samples.bin", "index.sqlite", "index.sqlite-wal"}) {
        fs::copy(location + "/" + name, copy.path());
    }
    const DirectoryState before(copy.path());
    expect_ten_steps(copy.path().string(), RunState::interrupted);
    EXPECT_EQ(DirectoryState(copy.path()), before);
}

TEST_F(RecordingReadersTest, withoutWritePermissionCopyWithoutSharedMemoryIsRead) {
    const TemporaryDirectory copy;
    fs::permissions(copy.path(), fs::perms(0755));
    for (const char* name : {"samples.bin", "index.sqlite", "index.sqlite-wal"}) {
        fs::copy(location + "/" + name, copy.path());
    }
    expect_ten_steps_without_write_permission(copy.path().string(), RunState::interrupted);
}

// ThreadSanitizer allows no threads in a child of a process with threads.
#ifndef __SANITIZE_THREAD__
/// Changes one of the two copies of what the log's shared memory says first, as a host leaves it
/// that is killed between them.
void tear_shared_memory(const std::string& location) {
    std::fstream file(location + "/index.sqlite-shm",
                      std::ios::in | std::ios::out | std::ios::binary);
    constexpr int secondCopy = 48;
    file.seekp(secondCopy + 8);
    file.put('x');
}

TEST_F(RecordingReadersTest, recordingOpensAfterKillInUpdateOfSharedMemory) {
    RecordingOptions options;
    options.directory = directory.path().string() + "/killed";
    const SharedValue<std::atomic<bool>> isStored;
    ChildProcess host([&] {
        RecordingStreamWriter other(StreamingAttributes{}, scalarSetup(), options);
        for (int i = 0; i < 10; ++i) {
            write(other, 0, i, {10.0 * i});
        }
        other.flushIntermediate();
        *isStored = true;
        pause();
    });
    while (!*isStored) {
    }
    const std::string killed = fs::directory_iterator(options.directory)->path().string();
    // While it is open, the shared memory counts as being in use.
    const auto reader = open_recording(killed);
    host.signal(SIGKILL);
    host.wait();
    tear_shared_memory(killed);
    expect_ten_steps(killed, RunState::interrupted);
    EXPECT_TRUE(reader->refresh());
    EXPECT_EQ(reader->info().state, RunState::interrupted);
}
#endif

TEST_F(RecordingReadersTest, recordingOpensAtEveryMomentOfFlush) {
    RecordingOptions options;
    options.directory = directory.path().string();
    for (int i = 0; i < 50; ++i) {
        RecordingStreamWriter other(StreamingAttributes{}, scalarSetup(), options);
        write(other, 0, 1, {2});
        other.flushIntermediate();
        struct Steps {
            std::atomic<int> opened{0};
            std::atomic<bool> isFlushed{false};
        };
        const SharedValue<Steps> steps;
        ChildProcess reader([&] {
            for (bool isLast = false; !isLast; ++steps->opened) {
                isLast = steps->isFlushed;
                if (open_recording(other.location())->series(ValuePath("x")).size() != 1) {
                    throw std::runtime_error("a step is missing");
                }
            }
        });
        while (steps->opened < 3 && !reader.hasEnded()) {
        }
        other.flush();
        steps->isFlushed = true;
        ASSERT_EQ(reader.wait(), 0) << "at recording " << i;
    }
}

} // namespace
} // namespace logging2::core::test
