#include <tests/native/native_writers.hpp>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// The memory of a long run. Sanitizers use memory of their own, so this is not built with them.

namespace logging2::core::test {
namespace {

constexpr std::size_t rowCount = 30000000;
constexpr std::size_t rowByteCount = 4 * sizeof(double);

class NativeResidentTest : public NativeStreamWriterTest {};

GroupSetup wideSetup() {
    return GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"state", 0}}), channels({{0, 3}}))}};
}

void logLongRun(NativeStreamWriter& writer) {
    for (std::size_t i = 0; i < rowCount; ++i) {
        const auto x = static_cast<double>(i);
        const double row[] = {x, x + 1.0, x + 2.0};
        writer.write(0, x, row, 3);
    }
    writer.flush();
}

// Writes 960 MB through seven hand-overs; the buffer, the slot and the columns are 128 MiB each.
TEST_F(NativeResidentTest, longRunStaysBelow512MiB) {
    const pid_t child = fork();
    if (child == 0) {
        NativeStreamWriter writer(StreamingAttributes{}, wideSetup());
        logLongRun(writer);
        _exit(Access::hasThread(writer) ? 0 : 1);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const auto residentByteCount = static_cast<std::size_t>(usage.ru_maxrss) * 1024;
    EXPECT_LT(residentByteCount, std::size_t{512} * 1024 * 1024);
    EXPECT_LT(residentByteCount, rowCount * rowByteCount * 6 / 10);
    // The last rows are in the files even if a batch was replaced on a slow disk.
    std::size_t fileByteCount = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
        fileByteCount += entry.is_directory() ? 0 : entry.file_size();
    }
    EXPECT_EQ(fileByteCount % rowByteCount, 0U);
    EXPECT_GT(fileByteCount, std::size_t{128} * 1024 * 1024);
}

} // namespace
} // namespace logging2::core::test
