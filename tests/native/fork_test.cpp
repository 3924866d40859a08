#include <tests/allocation/ChildProcess.hpp>
#include <tests/native/native_writers.hpp>

// The effect of fork on a writer. docs/using/threads.md tells hosts not to use a writer in a
// child process.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class NativeForkTest : public NativeStreamWriterTest {
protected:
    /// Writes three samples, the first two of them to files, and leaves a waiting thread.
    void startThread() {
        Access::setBufferSize(*writer, 0, 2);
        writeTimes(*writer, 0, {1.0, 2.0});
        Access::waitUntilTaken(*writer);
        writeTimes(*writer, 0, {3.0});
    }

    std::unique_ptr<NativeStreamWriter> writer =
        std::make_unique<NativeStreamWriter>(StreamingAttributes{}, scalarSetup());
};

TEST_F(NativeForkTest, childThatIgnoresTheWriterDoesNoHarm) {
    startThread();
    EXPECT_TRUE(exitedWithSuccess(status_of_child([] {})));
    writer->flush();
    EXPECT_THAT(timesIn(*writer, "x"), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(valuesIn(*writer, "x"), ElementsAre(10.0, 20.0, 30.0));
}

TEST_F(NativeForkTest, childThatFlushesAppendsItsCopyOfTheSamples) {
    writeTimes(*writer, 0, {1.0});
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        writeTimes(*writer, 0, {2.0});
        writer->flush();
    })));
    writeTimes(*writer, 0, {3.0});
    writer->flush();
    EXPECT_THAT(timesIn(*writer, "x"), ElementsAre(1.0, 2.0, 1.0, 3.0));
}

TEST_F(NativeForkTest, batchesThatAChildHandsOverAreLost) {
    startThread();
    EXPECT_TRUE(exitedWithSuccess(status_of_child([this] {
        writeTimes(*writer, 0, {4.0, 5.0, 6.0, 7.0, 8.0});
    })));
    writer->flush();
    EXPECT_THAT(timesIn(*writer, "x"), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(NativeForkTest, destructionInAChildEndsTheChild) {
    startThread();
    EXPECT_TRUE(wasAborted(status_of_child([this] {
        alarm(20); // ends a child that hangs
        writer.reset();
    })));
    writer->flush();
    EXPECT_THAT(timesIn(*writer, "x"), ElementsAre(1.0, 2.0, 3.0));
}

} // namespace
} // namespace logging2::core::test
