#include <tests/native/native_writers.hpp>
#include <tests/support/FailingCalls.hpp>
#include <tests/support/descriptors.hpp>

// A host may start other programs at any time and from any thread. They must not inherit a
// descriptor of the library.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class DescriptorsTest : public NativeStreamWriterTest {
protected:
    DescriptorsTest() {
        writeTimes(writer, 0, {1.0});
        writer.flushIntermediate();
    }

    /// Checks the descriptors of the file just before each call of that kind on it.
    void expectClosedOnExec(Call call, const std::filesystem::path& file,
                            const std::function<void()>& life) {
        const auto look = [&file] { EXPECT_THAT(closedOnExec(file), ElementsAre(true)) << file; };
        const FailingCalls calls(call, file, {works(look)});
        life();
        EXPECT_EQ(calls.count(), 1U);
    }

    NativeStreamWriter writer{StreamingAttributes{}, scalarSetup()};
};

TEST_F(DescriptorsTest, descriptorsOfFilesBeingWrittenAreClosedOnExec) {
    for (const auto& file : {timesFile(writer, "x"), valuesFile(writer, "x")}) {
        expectClosedOnExec(Call::write, file, [this] {
            writeTimes(writer, 0, {2.0});
            writer.flushIntermediate();
        });
    }
}

TEST_F(DescriptorsTest, descriptorsOfTheThreadsFilesAreClosedOnExec) {
    Access::setBufferSize(writer, 0, 2);
    for (const auto& file : {timesFile(writer, "x"), valuesFile(writer, "x")}) {
        expectClosedOnExec(Call::write, file, [this] {
            writeTimes(writer, 0, {2.0, 3.0});
            Access::waitUntilTaken(writer);
        });
    }
    writer.flush();
}

TEST_F(DescriptorsTest, descriptorsOfFilesBeingReadAreClosedOnExec) {
    const NativeStreamReader reader(writer.dataStore(ValuePath("x")));
    for (const auto& file : {timesFile(writer, "x"), valuesFile(writer, "x")}) {
        expectClosedOnExec(Call::read, file, [&reader] { reader.timeseries(); });
    }
}

} // namespace
} // namespace logging2::core::test
