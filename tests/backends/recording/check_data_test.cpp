#include <tests/backends/recording/answers.hpp>
#include <tests/backends/recording/checked_recordings.hpp>

// check_recording: chunks of the data file, and what the index says about them.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace fs = std::filesystem;

TEST_F(CheckRecordingTest, shortenedDataFileIsNamedWithItsEnd) {
    const std::string bytes = bytesOf(samples());
    writeBytes(samples(), bytes.substr(0, bytes.size() - 64));
    expectOnlyFinding(samples(), "(group 3, steps 600 to 699): the file ends at byte " +
                                     std::to_string(bytes.size() - 64) + ", but the chunk has ");
    writeBytes(samples(), bytes.substr(0, chunkOffset() + 5000));
    EXPECT_THAT(findings(),
                ElementsAre(HasSubstr("steps 0 to 599"), HasSubstr("steps 600 to 699")));
}

TEST_F(CheckRecordingTest, placeOfAChunkIsChecked) {
    const std::string former = bytesOf(index());
    const auto huge = std::uint64_t{1} << 62;
    changeRow("byte_count", "64");
    expectFinding(samples(), "in the index, its byte_count is 64 instead of ");
    writeBytes(index(), former);
    changeRow("offset", "65");
    expectFinding(samples(), "in the index, its offset is not a multiple of 64");
    writeBytes(index(), former);
    changeRow("offset", std::to_string(huge));
    expectFinding(samples(), "but the chunk has ");
    writeBytes(index(), former);
    changeRow("stored_steps", std::to_string(huge));
    expectFinding(samples(), "a chunk of a recording cannot be so large");
}

TEST_F(CheckRecordingTest, fieldsOfAHeaderAreComparedWithTheIndex) {
    const std::string former = bytesOf(samples());
    const auto expectOf = [&](const std::function<void(detail::RecordHeader&)>& change,
                              const char* finding) {
        writeBytes(samples(), former);
        changeHeader(change);
        expectOnlyFinding(samples(), finding);
    };
    expectOf([](auto& header) { header.kind = detail::RecordKind::rollback; },
             "in its header, kind is 3 instead of 2");
    expectOf([](auto& header) { header.run = {}; }, "it belongs to another run");
    expectOf([](auto& header) { header.sequence = 9; },
             "in its header, sequence is 9 instead of 1");
    expectOf([](auto& header) { header.group = 1; }, "in its header, group is 1 instead of 0");
    expectOf([](auto& header) { header.firstStep = 8; },
             "in its header, first_step is 8 instead of 0");
    expectOf([](auto& header) { header.stepCount = 5; },
             "in its header, step_count is 5 instead of 600");
    expectOf([](auto& header) { header.payloadByteCount = 64; },
             "in its header, payload_byte_count is 64 instead of ");
    expectOf([](auto& header) { header.payloadHash = 1; }, "its directory has another hash");
}

TEST_F(CheckRecordingTest, damagedHeaderLeavesTheSamplesToBeChecked) {
    flip(samples(), chunkOffset() + 40);
    flip(samples(), chunkOffset() + times);
    EXPECT_THAT(findings(), ElementsAre(HasSubstr("a record's header is damaged"),
                                        HasSubstr("samples have another hash")));
}

TEST_F(CheckRecordingTest, damagedSamplesAreNamedByStepsAndColumn) {
    const std::size_t values = (times + longStepCount * 8 + 3 * 32 + 63) / 64 * 64;
    flip(samples(), chunkOffset() + times + 8 * 256);
    flip(samples(), chunkOffset() + values + 8 * 599);
    EXPECT_THAT(
        findings(),
        ElementsAre(HasSubstr("samples have another hash (group 3, steps 256 to 511, column 0)"),
                    HasSubstr("samples have another hash (group 3, steps 512 to 599, column 1)")));
}

TEST_F(CheckRecordingTest, damagedNodesAreNamedBySteps) {
    flip(samples(), chunkOffset() + times + longStepCount * 8);
    expectOnlyFinding(
        samples(),
        "nodes of a column's tree have another hash (group 3, steps 0 to 599, column 0)");
}

TEST_F(CheckRecordingTest, rangesMustFitTheSamples) {
    // The root of the times says that they end with 60, and the directory's hash fits.
    std::string bytes = bytesOf(samples());
    const double greatest = 60.0;
    std::memcpy(&bytes[chunkOffset() + headerByteCount + 16], &greatest, sizeof greatest);
    writeBytes(samples(), bytes);
    changeHeader([&](detail::RecordHeader& header) {
        header.payloadHash = detail::hash_of(&bytes[chunkOffset() + headerByteCount], 128);
    });
    expectOnlyFinding(samples(), "the greatest value of element 0 of column 0 (group 3, steps 0 to "
                                 "599) is 60 instead of 59.89");
}

TEST_F(CheckRecordingTest, timesOfARowMustFitTheSamples) {
    const std::string former = bytesOf(index());
    const auto expectOf = [&](const char* column, const char* value) {
        writeBytes(index(), former);
        changeRow(column, value);
        expectOnlyFinding(samples(), std::string("in the index, its ") + column + " is ");
    };
    expectOf("first_time", "7");
    expectOf("last_time", "NULL");
    expectOf("least_time", "7");
    expectOf("greatest_time", "7");
    expectOf("nan_times", "7");
    expectOf("ascends", "0");
    expectOf("greatest_so_far", "7");
}

/// A finished recording of a few steps of "x" and "v", of which one was discarded.
class EveryByteTest : public DamagedRecordingTest {
protected:
    EveryByteTest() {
        const GroupSetup setup{{Group(3), LoggedPathsSetupData(paths({{"x", 0}, {"v", 1}}),
                                                               channels({{0, 1}, {1, 2}}))}};
        const auto writer = makeWriter(setup);
        location = writer->location();
        write(*writer, 3, 10.0, {1.0, 2.0, 3.0});
        write(*writer, 3, 20.0, {4.0, nan, -0.0});
        write(*writer, 3, 30.0, {5.0, 6.0, 7.0});
        writer->flushIntermediate();
        writer->rollback(3, 20.0);
        write(*writer, 3, 15.0, {8.0, 9.0, 10.0});
        writer->flush();
    }

    /// Every byte that is flipped is found, or does not matter to any reader.
    void expectFindingOrSameAnswers(const fs::path& file, std::size_t stride) {
        const std::vector<std::string> expected = answers_of(location.string());
        std::string bytes = bytesOf(file);
        std::size_t foundCount = 0;
        for (std::size_t i = 0; i < bytes.size() && !HasFailure(); ++i) {
            if (bytes[i] == 0 && i % stride != 0) {
                continue;
            }
            SCOPED_TRACE("byte " + std::to_string(i));
            const char former = bytes[i];
            bytes[i] = static_cast<char>(former ^ (1 << i % 8));
            writeBytes(file, bytes);
            const bool isFound = check_recording(location.string()).findingCount > 0;
            foundCount += isFound ? 1 : 0;
            EXPECT_TRUE(isFound || answers_of(location.string()) == expected);
            bytes[i] = former;
        }
        EXPECT_GT(foundCount, 500U);
    }
};

TEST_F(EveryByteTest, ofTheDataFileIsFoundOrDoesNotMatter) {
    expectFindingOrSameAnswers(samples(), 1);
}

TEST_F(EveryByteTest, ofTheIndexIsFoundOrDoesNotMatter) {
    // Most of its bytes are zeros that nothing uses.
    expectFindingOrSameAnswers(index(), 64);
}

} // namespace
} // namespace logging2::core::test
