#include <tests/native/native_writers.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <iostream>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

/// Sends the process's error output to a full device while it lives.
class FullErrorOutput {
public:
    FullErrorOutput() {
        const int full = open("/dev/full", O_WRONLY);
        dup2(full, STDERR_FILENO);
        close(full);
    }
    ~FullErrorOutput() {
        dup2(former, STDERR_FILENO);
        close(former);
        std::cerr.clear();
    }
    FullErrorOutput(const FullErrorOutput&) = delete;
    FullErrorOutput& operator=(const FullErrorOutput&) = delete;

private:
    int former = dup(STDERR_FILENO);
};

class WarningErrorsTest : public NativeStreamWriterTest {};

TEST_F(WarningErrorsTest, unprintableWarningDoesNotThrowAndLosesNothing) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    writeTimes(writer, 0, {1.0});
    {
        const FullErrorOutput full;
        EXPECT_NO_THROW(writer.rollback(0, 0.5));
        EXPECT_FALSE(std::cerr.good()) << "the warning was printed";
    }
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0));
}

} // namespace
} // namespace logging2::core::test
