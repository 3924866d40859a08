#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/integration/support/process.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace {

using integration::run_simulate;
using logging2::core::RunState;
using logging2::core::test::TemporaryDirectory;
using Names = std::vector<std::string>;
using Properties = std::map<std::string, std::string>;

/// The directory in the last line of the report; empty if that line names none.
std::string recording_in(const std::string& report) {
    std::smatch line;
    const bool found =
        std::regex_search(report, line, std::regex("\nwrote [^\n]+\nrecorded in ([^\n]+)\n$"));
    return found ? line[1].str() : "";
}

std::string recorded(const TemporaryDirectory& directory, const std::string& arguments) {
    const auto result =
        run_simulate(directory.path(), arguments + " --no-plots --backend recording");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return recording_in(result.out);
}

TEST(ProgramRecordingsTest, reportNamesTheRecording) {
    const TemporaryDirectory directory;
    const std::filesystem::path recording = recorded(directory, "dc-motor --directory a/b");
    EXPECT_EQ(recording.parent_path(), directory.path() / "a" / "b");
    EXPECT_EQ(logging2::core::open_recording(recording.string())->info().name, "dc-motor");
}

TEST(ProgramRecordingsTest, recordingOfACheckedRunIsNamedToo) {
    const TemporaryDirectory directory;
    const std::string recording = recorded(directory, "lorenz --stop-time 1 --checked");
    EXPECT_EQ(logging2::core::open_recording(recording)->info().state, RunState::finished);
}

TEST(ProgramRecordingsTest, recordingsAreMadeInRecordingsByDefault) {
    const TemporaryDirectory directory;
    const std::filesystem::path recording = recorded(directory, "bouncing-ball");
    EXPECT_EQ(recording.parent_path(), directory.path() / "recordings");
    EXPECT_EQ(directory.names(), (Names{"out", "recordings"}));
}

TEST(ProgramRecordingsTest, recordingHoldsTheWholeRun) {
    const TemporaryDirectory directory;
    const auto run = logging2::core::open_recording(recorded(directory, "bouncing-ball"));
    EXPECT_EQ(run->info().state, RunState::finished);
    const std::string csv =
        logging2::core::test::bytesOf(directory.path() / "out" / "bouncing-ball_ball.csv");
    const auto lines = static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n'));
    EXPECT_GT(lines, 200u);
    EXPECT_EQ(run->groups().at(0).stepCount, lines - 1);
}

TEST(ProgramRecordingsTest, propertiesTellHowTheModelWasSolved) {
    const TemporaryDirectory directory;
    const std::string given = recorded(directory, "lorenz --stop-time 1.0625 --tolerance 1.25e-7");
    EXPECT_EQ(
        logging2::core::open_recording(given)->info().properties,
        (Properties{{"model", "lorenz"}, {"stop time", "1.0625"}, {"tolerance", "1.25e-07"}}));
    const std::string byDefault = recorded(directory, "dc-motor");
    EXPECT_EQ(logging2::core::open_recording(byDefault)->info().properties,
              (Properties{{"model", "dc-motor"}, {"stop time", "0.8"}, {"tolerance", "1e-09"}}));
}

/// Expects that the run fails with exit status 2 and one line on standard error.
void expect_error(const TemporaryDirectory& directory, const std::string& arguments,
                  const std::string& text, const std::string& prefix = "") {
    const auto result =
        run_simulate(directory.path(), arguments + " --no-plots --backend recording", prefix);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
}

TEST(ProgramRecordingsTest, emptyDirectoryIsRefused) {
    const TemporaryDirectory directory;
    expect_error(directory, "lorenz --directory ''", "--directory needs the name of a directory");
    EXPECT_EQ(directory.names(), Names{});
}

TEST(ProgramRecordingsTest, fileIsRefusedAsDirectoryOfRecordings) {
    const TemporaryDirectory directory;
    logging2::core::test::writeBytes(directory.path() / "file", "mine");
    expect_error(directory, "lorenz --directory file", "file: cannot make the directory");
    EXPECT_EQ(directory.names(), Names{"file"});
}

TEST(ProgramRecordingsTest, refusedOutputDirectoryLeavesNoRecording) {
    const TemporaryDirectory directory;
    logging2::core::test::writeBytes(directory.path() / "file", "mine");
    expect_error(directory, "lorenz --out file", "cannot write to the directory \"file\"");
    EXPECT_EQ(directory.names(), Names{"file"});
}

TEST(ProgramRecordingsTest, fullDiskLeavesAnUnfinishedRecording) {
    const TemporaryDirectory directory;
    expect_error(directory, "lorenz --stop-time 1000", "samples.bin: cannot write to it",
                 "trap '' XFSZ; ulimit -f 512;");
    EXPECT_EQ(directory.names(), Names{"recordings"});
    const auto entries =
        logging2::core::list_recordings((directory.path() / "recordings").string());
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].info.state, RunState::interrupted);
}

} // namespace
