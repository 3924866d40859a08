#include <examples/simulate/logging/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/integration/support/process.hpp>
#include <tests/integration/support/test_backends.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <regex>

namespace {

using integration::run_simulate;
using logging2::core::test::bytesOf;
using logging2::core::test::TemporaryDirectory;
using Names = std::vector<std::string>;

TEST(ProgramTest, listsModelsAndBackends) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "--list");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    Names names = integration::backend_names();
    names.insert(names.end(), {"bouncing-ball", "dc-motor", "lorenz"});
    for (const std::string& name : names) {
        EXPECT_TRUE(std::regex_search(result.out, std::regex("\n  " + name + " +[^ \n].*\n")))
            << name;
    }
    EXPECT_EQ(directory.names(), Names{});
}

TEST(ProgramTest, recordingIsListedOnlyIfTheBuildCanRecord) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "--list");
    EXPECT_EQ(result.out.find("\n  recording ") != std::string::npos, simulate::can_record());
}

TEST(ProgramTest, helpExplainsEveryOption) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "--help");
    EXPECT_EQ(result.status, 0);
    for (const std::string word :
         {"MODEL", "--backend NAME", "--backend-library FILE", "--default", "--checked",
          "--stop-time S", "--tolerance R", "--point-limit N", "--directory DIR", "--out DIR",
          "--no-plots", "--list", "Examples:"}) {
        EXPECT_NE(result.out.find(word), std::string::npos) << word;
    }
}

TEST(ProgramTest, printsTheTable) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "bouncing-ball --no-plots");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::regex format("path +samples +first \\[s\\] +last \\[s\\] +minimum +maximum +unit\n"
                            "ball\\.height +[0-9]+ +0 +5 +0 +1  m\n"
                            "ball\\.velocity +[0-9]+ +0 +5 +-4\\.429[0-9]+ +3\\.543[0-9]+  m/s\n"
                            "\n"
                            "steps logged      [0-9]+\n"
                            "steps taken back  28\n"
                            "rows per second   [0-9]+ \\(solving and logging: [-+.e0-9]+ s\\)\n"
                            "\n"
                            "wrote out/bouncing-ball_ball\\.csv\n");
    EXPECT_TRUE(std::regex_match(result.out, format)) << result.out;
}

TEST(ProgramTest, writesOneCsvPerGroup) {
    const TemporaryDirectory directory;
    EXPECT_EQ(run_simulate(directory.path(), "dc-motor --no-plots --out .").status, 0);
    EXPECT_EQ(directory.names(), (Names{"dc-motor_controller.csv", "dc-motor_motor.csv"}));
}

TEST(ProgramTest, drawsEveryGroupTwice) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "dc-motor --out .");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(directory.names(), (Names{"dc-motor_controller.csv", "dc-motor_controller.png",
                                        "dc-motor_controller.svg", "dc-motor_motor.csv",
                                        "dc-motor_motor.png", "dc-motor_motor.svg"}));
    const std::string svg = bytesOf(directory.path() / "dc-motor_motor.svg");
    for (const std::string text : {"current [A]", "speed [rad/s]", "time [s]", "load step"}) {
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    }
    EXPECT_EQ(bytesOf(directory.path() / "dc-motor_motor.png").substr(1, 3), "PNG");
}

TEST(ProgramTest, directoriesMayHaveOddNames) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "bouncing-ball --out \"it's a \\\"dir\"");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(directory.names(), Names{"it's a \"dir"});
}

TEST(ProgramTest, everyBackendWritesTheSameCsv) {
    const TemporaryDirectory directory;
    const std::string run = "bouncing-ball --no-plots --out ";
    EXPECT_EQ(run_simulate(directory.path(), run + "a --default").status, 0);
    EXPECT_EQ(run_simulate(directory.path(), run + "b --backend memory").status, 0);
    EXPECT_EQ(run_simulate(directory.path(), run + "c --backend memory-restricted").status, 0);
    const std::string file = "bouncing-ball_ball.csv";
    const std::string expected = bytesOf(directory.path() / "a" / file);
    EXPECT_GT(expected.size(), 10000u);
    EXPECT_EQ(bytesOf(directory.path() / "b" / file), expected);
    EXPECT_EQ(bytesOf(directory.path() / "c" / file), expected);
}

void expect_same_files(const std::filesystem::path& a, const std::filesystem::path& b) {
    for (const auto& entry : std::filesystem::directory_iterator(a)) {
        EXPECT_EQ(bytesOf(entry.path()), bytesOf(b / entry.path().filename())) << entry.path();
    }
}

TEST(ProgramTest, checkedRunsOfEveryModelWriteTheSameCsv) {
    for (const std::string model : {"bouncing-ball", "dc-motor", "lorenz"}) {
        for (const std::string& backend : integration::backend_names()) {
            const TemporaryDirectory directory;
            const std::string run = model + " --no-plots --stop-time 2 --backend " + backend;
            EXPECT_EQ(run_simulate(directory.path(), run + " --out plain").status, 0);
            const auto checked = run_simulate(directory.path(), run + " --checked --out checked");
            EXPECT_EQ(checked.status, 0) << run;
            EXPECT_EQ(checked.err, "") << run;
            expect_same_files(directory.path() / "plain", directory.path() / "checked");
        }
    }
}

/// The number of files below the directory, at any depth.
std::ptrdiff_t file_count(const std::filesystem::path& directory) {
    const std::filesystem::recursive_directory_iterator entries(directory);
    return std::count_if(begin(entries), end(entries),
                         [](const auto& entry) { return entry.is_regular_file(); });
}

TEST(ProgramTest, filesOfTheBackendAreDeletedAfterTheRun) {
    const TemporaryDirectory directory;
    const TemporaryDirectory backendFiles;
    const auto result =
        run_simulate(directory.path(), "dc-motor --no-plots --backend native --out .",
                     "TMPDIR='" + backendFiles.path().string() + "'");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(backendFiles.names().size(), 1u) << "the back-end did not use the directory";
    EXPECT_EQ(file_count(backendFiles.path()), 0);
}

TEST(ProgramTest, summaryReportsRejectedStepsThatWereKept) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "bouncing-ball --no-plots --backend native");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_NE(result.out.find("\nsteps taken back  0\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\nsteps kept        28 (RollbackNotSupported: "), std::string::npos)
        << result.out;
}

TEST(ProgramTest, backendOfALoadedLibraryIsListedAndUsed) {
    const TemporaryDirectory directory;
    const std::string load = "--backend-library '" LOGGING2_TEST_MODULES "/two_backends.so' ";
    const auto list = run_simulate(directory.path(), load + "--list");
    EXPECT_NE(list.out.find("\n  counting           stores the number of each step\n"),
              std::string::npos)
        << list.out;
    const auto result = run_simulate(
        directory.path(), load + "lorenz --backend counting --stop-time 1 --no-plots --out .");
    EXPECT_EQ(result.status, 0) << result.err;
    const std::string csv = bytesOf(directory.path() / "lorenz_state.csv");
    EXPECT_TRUE(std::regex_search(csv, std::regex("\n0,1,1,1\n[^,]+,2,2,2\n"))) << csv;
}

TEST(ProgramTest, pointLimitBoundsTheResult) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(
        directory.path(),
        "lorenz --stop-time 10 --no-plots --backend memory-restricted --point-limit 12");
    EXPECT_TRUE(std::regex_search(result.out, std::regex("lorenz\\.state\\.x +12 "))) << result.out;
}

TEST(ProgramTest, stopTimeEndsTheRun) {
    const TemporaryDirectory directory;
    const auto result =
        run_simulate(directory.path(), "lorenz --stop-time 2.5 --tolerance 1e-6 --no-plots");
    EXPECT_TRUE(std::regex_search(result.out, std::regex("lorenz\\.state\\.x +[0-9]+ +0 +2\\.5 ")))
        << result.out;
}

TEST(ProgramTest, drawsASingleSample) {
    const TemporaryDirectory directory;
    const auto result =
        run_simulate(directory.path(), "lorenz --stop-time 1 --backend memory-restricted "
                                       "--point-limit 1 --out .");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(directory.names(),
              (Names{"lorenz_state.csv", "lorenz_state.png", "lorenz_state.svg"}));
}

#ifndef INTEGRATION_WITH_SANITIZERS
// The run has 5.2 million rows or 166 MB, of which 134 MB are one full buffer. Reading them back
// takes 166 MB again.
TEST(ProgramTest, runLargerThanABufferStaysBelow448MiB) {
    const TemporaryDirectory directory;
    const auto result =
        run_simulate(directory.path(), "lorenz --backend native --stop-time 30000 --no-plots");
    EXPECT_EQ(result.status, 0) << result.err;
    std::smatch counts;
    ASSERT_TRUE(std::regex_search(
        result.out, counts, std::regex("lorenz\\.state\\.x +([0-9]+)[^]*steps logged +([0-9]+)")));
    EXPECT_EQ(counts[1], counts[2]);
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    EXPECT_LT(usage.ru_maxrss, 448 * 1024);
    EXPECT_GT(usage.ru_maxrss, 128 * 1024) << "the buffer was not filled";
}
#endif

} // namespace
