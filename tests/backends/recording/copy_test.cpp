#include <tests/backends/recording/processes/scripted_recordings.hpp>
#include <tests/backends/recording/recordings.hpp>
#include <tests/backends/recording/same_runs.hpp>

#include <tests/support/OrdinaryPermissions.hpp>
#include <tests/support/Umask.hpp>
#include <tests/support/files.hpp>

#include <array>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

// copy_recording: what a reader sees, in a new recording.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class CopyRecordingTest : public RecordingTest {
protected:
    std::string copyName() const { return (copies.path() / "copy.recording").string(); }

    std::unique_ptr<core::Run> copied(const std::string& location) const {
        copy_recording(location, copyName());
        EXPECT_THAT(check_recording(copyName()).findings, IsEmpty());
        return open_recording(copyName());
    }

    /// A finished recording with an undone step.
    std::string record() {
        options.properties = {{"model", "ball"}};
        options.chunkByteCount = 1000;
        StreamingAttributes attributes;
        attributes.name = "ball";
        const auto writer = makeWriter(twoGroups(), attributes);
        for (int step = 0; step < 100; ++step) {
            write(*writer, 0, step, {10.0 * step});
            write(*writer, 5, step, {nan, -0.0, infinity, 1.0 * step});
        }
        writer->flushIntermediate();
        writer->rollback(5, 49.0);
        write(*writer, 5, 49.5, {1.0, 2.0, 3.0, 4.0});
        writer->flush();
        return writer->location();
    }

    void expectNothing(const std::function<void()>& copy, const char* reason) const {
        EXPECT_THAT(copy, ThrowsMessage<RecordingError>(HasSubstr(reason)));
        EXPECT_THAT(copies.names(), IsEmpty());
    }

    TemporaryDirectory copies;
};

TEST_F(CopyRecordingTest, finishedRecordingIsCopiedBitForBit) {
    const std::string location = record();
    const auto run = open_recording(location);
    const auto copy = copied(location);
    expectSameSamples(*copy, *run);
    expectSameStart(copy->info(), run->info());
    EXPECT_EQ(copy->info().state, RunState::finished);
    EXPECT_EQ(copy->info().end, run->info().end);
    EXPECT_EQ(copy->info().revision, 1U);
    EXPECT_THAT(copies.names(), ElementsAre("copy.recording"));
}

TEST_F(CopyRecordingTest, deadBytesAreLeftOut) {
    const std::string location = record();
    copied(location);
    EXPECT_LT(fs::file_size(copyName() + "/samples.bin"), fs::file_size(location + "/samples.bin"));
}

TEST_F(CopyRecordingTest, recordingWithoutSamplesIsCopied) {
    const auto writer = makeWriter(GroupSetup{});
    writer->flush();
    EXPECT_THAT(copied(writer->location())->signals(), IsEmpty());
}

TEST_F(CopyRecordingTest, chunksHaveTheSizeOfTheOptions) {
    const std::string location = record();
    const auto chunkCount = [&](std::size_t chunkByteCount) {
        RecordingOptions copyOptions;
        copyOptions.chunkByteCount = chunkByteCount;
        copy_recording(location, copyName(), copyOptions);
        expectSameSamples(*open_recording(copyName()), *open_recording(location));
        const std::size_t count = check_recording(copyName()).chunkCount;
        fs::remove_all(copyName());
        return count;
    };
    EXPECT_EQ(chunkCount(1), 151U);
    EXPECT_EQ(chunkCount(400), 4U + 6U);
    EXPECT_EQ(chunkCount(1 << 20), 2U);
}

TEST_F(CopyRecordingTest, copiesCanBePackedAndUnpacked) {
    const std::string location = record();
    const auto original = open_recording(location);
    RecordingOptions packing;
    packing.compression = Compression::lz4;
    const std::string packed = (copies.path() / "packed").string();
    copy_recording(location, packed, packing);
    EXPECT_THAT(check_recording(packed).findings, IsEmpty());
    EXPECT_LT(fs::file_size(packed + "/samples.bin"), fs::file_size(location + "/samples.bin") / 2);
    expectSameSamples(*open_recording(packed), *original);
    expectSameSamples(*copied(packed), *original);
}

/// A recording of steps that cannot be packed, but whose times can.
class CopyCompressionTest : public CopyRecordingTest,
                            public ::testing::WithParamInterface<Compression> {
protected:
    std::string recordNoise(int stepCount) {
        options.compression = GetParam();
        const auto writer = makeWriter();
        std::mt19937_64 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): every run is the same
        for (int step = 0; step < stepCount; ++step) {
            write(*writer, 0, step, {std::ldexp(static_cast<double>(random()), step % 1000)});
        }
        writer->flushIntermediate();
        writer->rollback(0, 0.25 * stepCount);
        writer->flush();
        return writer->location();
    }

    std::uintmax_t copySize(const std::string& location, Compression compression) const {
        RecordingOptions copyOptions;
        copyOptions.compression = compression;
        copy_recording(location, copyName(), copyOptions);
        const std::uintmax_t size = fs::file_size(copyName() + "/samples.bin");
        fs::remove_all(copyName());
        return size;
    }
};

std::string name_of_compression(const ::testing::TestParamInfo<Compression>& test) {
    const std::array<const char*, 3> names{"none", "lz4", "original"};
    return names.at(static_cast<std::size_t>(test.param));
}

INSTANTIATE_TEST_SUITE_P(Compressions, CopyCompressionTest,
                         ::testing::Values(Compression::none, Compression::lz4,
                                           Compression::original),
                         name_of_compression);

TEST_P(CopyCompressionTest, copyKeepsTheCompressionOfTheOriginalIfAsked) {
    const std::string location = recordNoise(4000);
    const bool isPacked = GetParam() == Compression::lz4;
    const std::uintmax_t size = copySize(location, Compression::original);
    EXPECT_EQ(size == copySize(location, Compression::lz4), isPacked);
    EXPECT_EQ(size == copySize(location, Compression::none), !isPacked);
}

TEST_F(CopyRecordingTest, longChunksAreTakenApart) {
    const auto writer = makeWriter();
    for (int step = 0; step < 20000; ++step) {
        write(*writer, 0, step, {0.5 * step});
    }
    writer->flush();
    RecordingOptions copyOptions;
    copyOptions.chunkByteCount = 300 * 16;
    copy_recording(writer->location(), copyName(), copyOptions);
    expectSameSamples(*open_recording(copyName()), *open(*writer));
    EXPECT_EQ(check_recording(copyName()).chunkCount, 79U);
}

TEST_F(CopyRecordingTest, copyOfALiveRecordingShowsWhatReadersSee) {
    options.heldBackSteps = 2;
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    writeTimes(*writer, {3.0, 4.0, 5.0});
    writer->rollback(0, 4.5);
    writer->rollback(0, 1.0);
    const auto copy = copied(writer->location());
    EXPECT_THAT(timesOf(*copy), ElementsAre(1.0));
    EXPECT_EQ(copy->info().state, RunState::interrupted);
    EXPECT_EQ(copy->info().end, std::nullopt);
    EXPECT_EQ(copy->info().revision, 1U);
    writer->flush();
    EXPECT_THAT(timesOf(*copy), ElementsAre(1.0));
}

TEST_F(CopyRecordingTest, interruptedRecordingStaysInterrupted) {
    const auto writer = makeWriter();
    const std::string location = writer->location();
    writeTimes(*writer, {1.0});
    { const RecordingStreamWriter ended = std::move(*writer); }
    const auto copy = copied(location);
    EXPECT_EQ(copy->info().state, RunState::interrupted);
    EXPECT_EQ(copy->info().end, open_recording(location)->info().end);
    EXPECT_NE(copy->info().end, std::nullopt);
}

TEST_F(CopyRecordingTest, copyOfACopyIsTheSame) {
    const std::string location = record();
    copied(location);
    copy_recording(copyName(), copyName() + "2");
    EXPECT_EQ(bytesOf(copyName() + "2/samples.bin"), bytesOf(copyName() + "/samples.bin"));
}

TEST_F(CopyRecordingTest, permissionsAreThoseOfTheOptions) {
    const Umask umask(077);
    const std::string location = record();
    RecordingOptions copyOptions;
    copyOptions.mode = 0755;
    copy_recording(location, copyName(), copyOptions);
    EXPECT_EQ(fs::status(copyName()).permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(copyName() + "/samples.bin").permissions(), fs::perms(0644));
    EXPECT_EQ(fs::status(copyName() + "/index.sqlite").permissions(), fs::perms(0644));
}

TEST_F(CopyRecordingTest, sourceNeedsNoWritePermission) {
    const std::string location = record();
    const OrdinaryPermissions ordinary;
    for (const char* file : {"/samples.bin", "/index.sqlite"}) {
        fs::permissions(location + file, fs::perms::owner_read);
    }
    fs::permissions(location, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(copied(location)->info().state, RunState::finished);
    fs::permissions(location, fs::perms::owner_all);
    EXPECT_EQ(std::distance(fs::directory_iterator(location), fs::directory_iterator()), 2);
}

TEST_F(CopyRecordingTest, existingPlaceIsRefusedAndLeftAlone) {
    const std::string location = record();
    const std::string before = bytesOf(location + "/index.sqlite");
    EXPECT_THAT([&] { copy_recording(location, location + "/"); },
                ThrowsMessage<RecordingError>(HasSubstr("it exists already")));
    EXPECT_EQ(bytesOf(location + "/index.sqlite"), before);
    fs::create_symlink("nowhere", copyName());
    EXPECT_THAT([&] { copy_recording(location, copyName()); },
                ThrowsMessage<RecordingError>(HasSubstr("it exists already")));
    EXPECT_THAT(copies.names(), ElementsAre("copy.recording"));
}

TEST_F(CopyRecordingTest, missingParentIsAnError) {
    const std::string location = record();
    expectNothing([&] { copy_recording(location, copyName() + "/a/b"); },
                  "cannot make the directory: No such file or directory");
}

TEST_F(CopyRecordingTest, missingRecordingIsAnError) {
    expectNothing([&] { copy_recording(copyName() + "1", copyName()); },
                  "it is not a directory, and so not a recording");
}

TEST_F(CopyRecordingTest, meaninglessOptionsAreRefused) {
    const std::string location = record();
    options.chunkByteCount = 0;
    EXPECT_THROW(copy_recording(location, copyName(), options), std::invalid_argument);
    EXPECT_THAT(copies.names(), IsEmpty());
}

TEST_F(CopyRecordingTest, everyDamagedByteIsAnErrorOrDoesNotMatter) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0, 3.0});
    writer->flush();
    const std::string file = writer->location() + "/samples.bin";
    std::string bytes = bytesOf(file);
    std::size_t errorCount = 0;
    for (char& byte : bytes) {
        byte = static_cast<char>(byte ^ 4);
        writeBytes(file, bytes);
        try {
            copy_recording(writer->location(), copyName());
            EXPECT_THAT(timesOf(*open_recording(copyName())), ElementsAre(1.0, 2.0, 3.0));
            EXPECT_THAT(valuesOf(*open_recording(copyName())), ElementsAre(10.0, 20.0, 30.0));
            fs::remove_all(copyName());
        } catch (const RecordingError&) {
            ++errorCount;
        }
        EXPECT_THAT(copies.names(), IsEmpty());
        byte = static_cast<char>(byte ^ 4);
    }
    EXPECT_GT(errorCount, 300U);
}

TEST_F(CopyRecordingTest, progressReachesTheTotal) {
    const std::string location = record();
    std::vector<std::pair<std::uint64_t, std::uint64_t>> calls;
    copy_recording(location, copyName(), {}, [&](std::uint64_t read, std::uint64_t total) {
        calls.emplace_back(read, total);
    });
    ASSERT_THAT(calls, SizeIs(::testing::Gt(3U)));
    EXPECT_TRUE(std::is_sorted(calls.begin(), calls.end()));
    EXPECT_EQ(calls.back().first, calls.back().second);
}

TEST_F(CopyRecordingTest, exceptionOfTheProgressLeavesNothing) {
    const std::string location = record();
    const auto stop = [](std::uint64_t, std::uint64_t) { throw std::runtime_error("stopped"); };
    EXPECT_THROW(copy_recording(location, copyName(), {}, stop), std::runtime_error);
    EXPECT_THAT(copies.names(), IsEmpty());
}

/// Whether the group had these samples and perhaps newer ones, which readers may not see yet.
bool was_state(const std::vector<ModelSample>& content, const std::vector<ModelSample>& held) {
    return content.size() <= held.size() &&
           (content.empty() || content.back().number == held[content.size() - 1].number) &&
           is_equal(content,
                    {held.begin(), held.begin() + static_cast<std::ptrdiff_t>(content.size())});
}

TEST_F(CopyRecordingTest, copiesOfALiveRecordingAreStatesThatItHad) {
    options.chunkByteCount = 1024;
    options.heldBackSteps = 3;
    options.commitInterval = std::chrono::milliseconds(1);
    const auto writer = makeWriter(script_setup());
    std::atomic<bool> isStopping{false};
    std::vector<Operation> operations;
    std::thread host([&] {
        Script script(7);
        while (!isStopping || operations.size() < 1000) {
            operations.push_back(script.next());
            perform(*writer, operations.back(), static_cast<double>(operations.size()));
        }
    });
    std::vector<Contents> copiesOfRuns;
    for (int i = 0; i < 15; ++i) {
        copiesOfRuns.push_back(contents_of(*copied(writer->location())));
        fs::remove_all(copyName());
    }
    isStopping = true;
    host.join();
    // The state of a group before each operation.
    Model model(false);
    std::array<std::set<std::size_t>, scriptGroups.size()> found;
    for (std::size_t i = 0; i <= operations.size(); ++i) {
        for (std::size_t group = 0; group < scriptGroups.size(); ++group) {
            for (std::size_t copy = 0; copy < copiesOfRuns.size(); ++copy) {
                if (was_state(copiesOfRuns[copy][group], model[group])) {
                    found[group].insert(copy);
                }
            }
        }
        if (i < operations.size()) {
            model.discard(operations[i]);
            model.append(operations[i], static_cast<double>(i + 1));
        }
    }
    EXPECT_THAT(found, ::testing::Each(SizeIs(copiesOfRuns.size())));
}

} // namespace
} // namespace logging2::core::test
