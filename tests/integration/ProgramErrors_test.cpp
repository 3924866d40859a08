#include <examples/simulate/logging/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/integration/support/process.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using integration::ProcessResult;
using integration::run_simulate;
using logging2::core::test::TemporaryDirectory;
using logging2::core::test::writeBytes;
using Names = std::vector<std::string>;

/// Expects exit status 2, nothing on standard output, and one line that says what was wrong.
void expect_error(const ProcessResult& result, const std::string& text) {
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("simulate: ", 0), 0u) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
    EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
}

struct BadCommand {
    const char* arguments;
    const char* text;
};

TEST(ProgramErrorsTest, badCommandLinesAreRefusedInOneLine) {
    const std::vector<BadCommand> commands{
        {"", "no model given"},
        {"nope", "there is no model \"nope\" (the models are: bouncing-ball, dc-motor, lorenz)"},
        {"\"$(printf 'a\\nb')\"", "there is no model \"a?b\""},
        {"lorenz extra", "extra"},
        {"lorenz --bogus", "--bogus"},
        {"lorenz --backend nope", "there is no back-end \"nope\" (the back-ends are: memory, "},
        {"lorenz --backend 'mem*'", "there is no back-end \"mem*\""},
        {"lorenz --backend memory --default", "--default"},
        {"lorenz --backend-library ./absent.so", "cannot load back-ends from \"./absent.so\": "},
        {"lorenz --checked --default", "--default"},
        {"lorenz --checked --backend nope", "there is no back-end \"nope\""},
        {"lorenz --checked --backend memory-restricted --point-limit 1152921504606846976",
         "the back-end \"checked:memory-restricted\" failed: a point limit of"},
        {"lorenz --stop-time", "--stop-time"},
        {"lorenz --stop-time 0", "--stop-time: 0 is out of range"},
        {"lorenz --stop-time -5", "--stop-time: -5 is out of range"},
        {"lorenz --stop-time nan", "--stop-time: nan is out of range"},
        {"lorenz --stop-time inf", "--stop-time: inf is out of range"},
        {"lorenz --stop-time 2e6", "--stop-time: 2e6 is out of range"},
        {"lorenz --stop-time 1x", "--stop-time: \"1x\" is not a number"},
        {"lorenz --stop-time ''", "--stop-time"},
        {"lorenz --tolerance 0", "--tolerance: 0 is out of range"},
        {"lorenz --tolerance 1", "--tolerance: 1 is out of range"},
        {"lorenz --tolerance -1e-9", "--tolerance: -1e-9 is out of range"},
        {"lorenz --tolerance nan", "--tolerance: nan is out of range"},
        {"lorenz --point-limit 0", "--point-limit: 0 is out of range"},
        {"lorenz --point-limit -1", "--point-limit: \"-1\" is not a whole number"},
        {"lorenz --point-limit 1.5", "--point-limit: \"1.5\" is not a whole number"},
        {"lorenz --point-limit 99999999999999999999", "is out of range"},
        {"lorenz --backend memory-restricted --point-limit 1152921504606846976",
         "the back-end \"memory-restricted\" failed: a point limit of 1152921504606846976 is too "
         "large for the memory"}};
    for (const BadCommand& command : commands) {
        SCOPED_TRACE(command.arguments);
        const TemporaryDirectory directory;
        expect_error(run_simulate(directory.path(), command.arguments), command.text);
        EXPECT_EQ(directory.names(), Names{});
    }
}

TEST(ProgramErrorsTest, fileIsRefusedAsOutputDirectory) {
    const TemporaryDirectory directory;
    writeBytes(directory.path() / "file", "mine");
    expect_error(run_simulate(directory.path(), "lorenz --stop-time 1 --out file"), "\"file\"");
    expect_error(run_simulate(directory.path(), "lorenz --stop-time 1 --out file/below"),
                 "\"file/below\"");
    EXPECT_EQ(directory.names(), Names{"file"});
}

TEST(ProgramErrorsTest, obstructedOutputFileLeavesNoOutput) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path() / "dc-motor_motor.csv");
    expect_error(run_simulate(directory.path(), "dc-motor --no-plots --out ."),
                 "\"dc-motor_motor.csv\" in it is a directory");
    EXPECT_EQ(directory.names(), Names{"dc-motor_motor.csv"});
}

TEST(ProgramErrorsTest, incompleteOutputFileLeavesNoOutput) {
    const TemporaryDirectory directory;
    expect_error(run_simulate(directory.path(), "lorenz --stop-time 100 --no-plots",
                              "trap '' XFSZ; ulimit -f 64;"),
                 "cannot write \"lorenz_state.csv\": File too large");
    EXPECT_EQ(directory.names(), Names{});
}

TEST(ProgramErrorsTest, directoryIsRefusedWithoutTheBackendRecording) {
    const std::string error = simulate::can_record() ? "--directory needs --backend recording"
                                                     : "--directory: this build cannot record";
    for (const std::string arguments :
         {"lorenz", "lorenz --default", "lorenz --checked", "lorenz --backend native", "--list"}) {
        SCOPED_TRACE(arguments);
        const TemporaryDirectory directory;
        expect_error(run_simulate(directory.path(), arguments + " --directory made"), error);
        EXPECT_EQ(directory.names(), Names{});
    }
}

TEST(ProgramErrorsTest, fullStandardOutputIsAnError) {
    const TemporaryDirectory directory;
    const auto result = run_simulate(directory.path(), "--list >/dev/full");
    expect_error(result, "cannot write to standard output");
}

TEST(ProgramErrorsTest, missingGnuplotIsReportedBeforeTheRun) {
    const TemporaryDirectory directory;
    expect_error(run_simulate(directory.path(), "lorenz --stop-time 1e6", "PATH=/nowhere"),
                 "gnuplot is not on the PATH; install it, or use --no-plots");
    EXPECT_EQ(directory.names(), Names{});
}

TEST(ProgramErrorsTest, gnuplotIsNotNeededWithoutPlots) {
    const TemporaryDirectory directory;
    const auto result =
        run_simulate(directory.path(), "lorenz --stop-time 1 --no-plots", "PATH=/nowhere");
    EXPECT_EQ(result.status, 0) << result.err;
}

/// Makes a program "gnuplot" that runs the shell text.
void make_gnuplot(const std::filesystem::path& directory, const std::string& text) {
    std::filesystem::create_directory(directory / "bin");
    writeBytes(directory / "bin" / "gnuplot", "#!/bin/sh\n" + text + '\n');
    std::filesystem::permissions(directory / "bin" / "gnuplot", std::filesystem::perms::owner_all);
}

TEST(ProgramErrorsTest, messageOfGnuplotIsShown) {
    const TemporaryDirectory directory;
    make_gnuplot(directory.path(), "cat >/dev/null; echo no terminal of that kind >&2; exit 1");
    expect_error(run_simulate(directory.path(), "bouncing-ball", "PATH=$PWD/bin:$PATH"),
                 "gnuplot failed: no terminal of that kind");
    EXPECT_EQ(directory.names(), Names{"bin"});
}

TEST(ProgramErrorsTest, gnuplotThatDoesNotReadIsAnError) {
    const TemporaryDirectory directory;
    make_gnuplot(directory.path(), "exit 3");
    expect_error(run_simulate(directory.path(), "lorenz --stop-time 200", "PATH=$PWD/bin:$PATH"),
                 "gnuplot failed: no message");
    EXPECT_EQ(directory.names(), Names{"bin"});
}

TEST(ProgramErrorsTest, incompletePictureIsAnError) {
    const TemporaryDirectory directory;
    make_gnuplot(directory.path(), "cat >/dev/null; echo '<svg>' >bouncing-ball_ball.svg");
    expect_error(run_simulate(directory.path(), "bouncing-ball", "PATH=$PWD/bin:$PATH"),
                 "cannot write \"bouncing-ball_ball.svg\"");
    EXPECT_EQ(directory.names(), Names{"bin"});
}

} // namespace
