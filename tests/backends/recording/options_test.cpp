#include <tests/backends/recording/recordings.hpp>

#include <tests/support/Umask.hpp>
#include <tests/support/files.hpp>

#include <stdexcept>

namespace logging2::core::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

namespace fs = std::filesystem;

class RecordingOptionsTest : public RecordingTest {
protected:
    /// The writer is refused with the text, and nothing is made.
    void expectRefusal(const char* text) const {
        EXPECT_THAT([this] { makeWriter(); },
                    ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
        EXPECT_THAT(directory.names(), IsEmpty());
    }

    static mode_t modeOf(const fs::path& file) {
        return static_cast<mode_t>(fs::status(file).permissions());
    }
};

TEST_F(RecordingOptionsTest, directoryMustBeNamed) {
    options.directory = "";
    expectRefusal("RecordingOptions::directory is empty");
}

TEST_F(RecordingOptionsTest, directoryHasNoZeroByte) {
    options.directory += std::string("/a\0b", 4);
    expectRefusal("RecordingOptions::directory has a zero byte");
}

TEST_F(RecordingOptionsTest, enumerationsHaveOneOfTheirValues) {
    options.durability = static_cast<Durability>(77);
    expectRefusal("RecordingOptions::durability");
    options.durability = Durability::process;
    options.compression = static_cast<Compression>(77);
    expectRefusal("RecordingOptions::compression");
}

TEST_F(RecordingOptionsTest, channelsHaveAGreatestWidth) {
    options.bufferByteCount = std::numeric_limits<std::size_t>::max();
    for (const std::size_t width :
         {(std::size_t{1} << 32) + 1, (std::size_t{1} << 61) - 1, std::size_t{1} << 61,
          std::numeric_limits<std::size_t>::max()}) {
        const GroupSetup setup{
            {Group(4), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 1}, {2, width}}))}};
        EXPECT_THAT([&] { makeWriter(setup); },
                    ThrowsMessage<std::invalid_argument>(AllOf(HasSubstr("channel 2 of group 4"),
                                                               HasSubstr(std::to_string(width)),
                                                               HasSubstr("at most 4294967296"))));
        EXPECT_THAT(directory.names(), IsEmpty());
    }
}

TEST_F(RecordingOptionsTest, modeMustLetTheOwnerIn) {
    for (const mode_t mode : {0000U, 0600U, 0500U, 0300U, 0077U}) {
        options.mode = mode;
        expectRefusal("RecordingOptions::mode");
    }
}

TEST_F(RecordingOptionsTest, modeHasNoSpecialBits) {
    for (const mode_t mode : {01700U, 02700U, 04700U, 010700U}) {
        options.mode = mode;
        expectRefusal("RecordingOptions::mode");
    }
}

TEST_F(RecordingOptionsTest, chunksMustHoldSomething) {
    options.chunkByteCount = 0;
    expectRefusal("RecordingOptions::chunkByteCount is 0");
}

TEST_F(RecordingOptionsTest, buffersMustHoldTwoRows) {
    options.bufferByteCount = 31;
    expectRefusal("RecordingOptions::bufferByteCount is 31, but these groups need at least 32");
}

TEST_F(RecordingOptionsTest, commitIntervalMustBePositive) {
    options.commitInterval = std::chrono::milliseconds(0);
    expectRefusal("RecordingOptions::commitInterval must be positive");
    options.commitInterval = std::chrono::milliseconds(-1);
    expectRefusal("RecordingOptions::commitInterval must be positive");
}

TEST_F(RecordingOptionsTest, longestCommitIntervalMeansNever) {
    options.commitInterval = std::chrono::milliseconds::max();
    const auto writer = makeWriter();
    const auto run = open(*writer);
    writeTimes(*writer, {1.0});
    for (int round = 0; round < 1000; ++round) {
        ASSERT_FALSE(run->refresh());
    }
    writer->flush();
    EXPECT_TRUE(run->refresh());
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0));
}

TEST_F(RecordingOptionsTest, greatestSizesAreAllowed) {
    options.bufferByteCount = std::numeric_limits<std::size_t>::max();
    options.heldBackSteps = std::numeric_limits<std::size_t>::max();
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0});
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0));
}

TEST_F(RecordingOptionsTest, permissionsDoNotDependOnTheUmask) {
    for (const mode_t mask : {0000U, 0022U, 0077U}) {
        for (const mode_t mode : {0700U, 0755U, 0777U, 0750U}) {
            const Umask umask(mask);
            options.mode = mode;
            const auto writer = makeWriter();
            EXPECT_EQ(modeOf(writer->location()), mode);
            for (const auto& entry : fs::directory_iterator(writer->location())) {
                EXPECT_EQ(modeOf(entry.path()), mode & 0666U) << entry.path();
            }
            writer->flush();
            for (const auto& entry : fs::directory_iterator(writer->location())) {
                EXPECT_EQ(modeOf(entry.path()), mode & 0666U) << entry.path();
            }
        }
    }
}

TEST_F(RecordingOptionsTest, missingDirectoryIsMade) {
    options.directory = (directory.path() / "a" / "b").string();
    const auto writer = makeWriter();
    EXPECT_THAT(writer->location(), StartsWith(options.directory + "/run-"));
}

TEST_F(RecordingOptionsTest, directoryThatCannotBeMadeIsAnError) {
    writeBytes(directory.path() / "file", "x");
    options.directory = (directory.path() / "file" / "below").string();
    EXPECT_THAT([this] { makeWriter(); },
                ThrowsMessage<RecordingError>(StartsWith(options.directory + ": cannot make")));
}

TEST_F(RecordingOptionsTest, synchronizedCommitsKeepTheSameSamples) {
    options.durability = Durability::power;
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    writer->rollback(0, 1.0);
    writeTimes(*writer, {3.0});
    writer->flush();
    EXPECT_THAT(timesOf(*open(*writer)), ElementsAre(1.0, 3.0));
}

TEST_F(RecordingOptionsTest, samplesArePackedOnlyIfAskedFor) {
    const auto byteCount = [this] {
        const auto writer = makeWriter();
        writeTimes(*writer, Doubles(1000, 1.0));
        writer->flush();
        return fs::file_size(fs::path(writer->location()) / "samples.bin");
    };
    EXPECT_GT(byteCount(), 16000U);
    options.compression = Compression::lz4;
    EXPECT_LT(byteCount(), 2000U);
}

TEST_F(RecordingOptionsTest, backendRefusesThemAtRegistration) {
    options.chunkByteCount = 0;
    EXPECT_THROW(register_recording_backend({}, options), std::invalid_argument);
}

} // namespace
} // namespace logging2::core::test
