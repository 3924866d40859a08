#include <tests/allocation/ChildProcess.hpp>
#include <tests/backends/checked_backends.hpp>

#include <filesystem>

// The destruction of a checked writer that was not flushed.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CheckedDestructionTest : public CheckedBackendsTest {
protected:
    CheckedDestructionTest() { registerWithChecks(double_backend(script)); }

    const std::shared_ptr<Script> script = std::make_shared<Script>();
};

std::vector<std::string> keys_of(const WarningRecorder& recorder) {
    std::vector<std::string> keys;
    for (const foundation::Message& warning : recorder.warnings) {
        EXPECT_EQ(warning.catalog(), "vantrel:common:logging2:core:common");
        keys.push_back(warning.key());
    }
    return keys;
}

/// The sizes of all files below the directory, in bytes.
std::vector<std::uintmax_t> file_sizes(const std::filesystem::path& directory) {
    std::vector<std::uintmax_t> sizes;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            sizes.push_back(entry.file_size());
        }
    }
    return sizes;
}

/// One scalar channel with so many paths that the file-backed writer's buffer holds 1024 rows.
GroupSetup many_aliases() {
    constexpr std::size_t pathCount = 64 * 1024 * 1024 / (8 * 1024) - 1;
    std::vector<LoggedPath> aliases;
    for (std::size_t i = 0; i < pathCount; ++i) {
        aliases.push_back({ValuePath(std::to_string(i)), CoreDataId(0)});
    }
    return GroupSetup{{Group(0), LoggedPathsSetupData(aliases, channels({{0, 1}}))}};
}

/// Writes until the file-backed writer has started its thread, and then abandons the run with an
/// exception.
void abandon_a_run(const std::string& name) {
    const auto writer = get_stream_writer(name, {}, many_aliases());
    for (int step = 0; step < 1025; ++step) {
        (*writer)->write(0, step, row, 1);
    }
    throw std::runtime_error("the solver has diverged");
}

TEST_P(CheckedBackendTest, unflushedWriterIsFlushedWithAWarning) {
    const WarningRecorder recorder;
    checkedWriter()->write(0, 1.0, row, 3);
    EXPECT_THAT(keys_of(recorder), ElementsAre("DestroyedWithoutFlush"));
    EXPECT_THAT(recorder.warnings.front().arguments(), ElementsAre(u"größe"));
}

TEST_P(CheckedBackendTest, destroyingAFlushedWriterIssuesNoWarning) {
    const WarningRecorder recorder;
    checkedWriter()->flush();
    EXPECT_THAT(keys_of(recorder), IsEmpty());
}

TEST_P(CheckedBackendTest, exceptionPropagatesDespiteAnUnflushedWriter) {
    const auto run = [name = checkedName()] {
        const WarningRecorder recorder;
        try {
            abandon_a_run(name);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "the solver has diverged");
        }
        EXPECT_THAT(keys_of(recorder), ElementsAre("DestroyedWithoutFlush"));
    };
    EXPECT_TRUE(exitedWithSuccess(status_of_child(run)));
}

TEST_F(CheckedDestructionTest, exceptionEndsTheProcessWithoutTheChecks) {
    const auto run = [] {
        try {
            abandon_a_run("native");
        } catch (const std::runtime_error&) {
        }
    };
    EXPECT_TRUE(wasAborted(status_of_child(run)));
}

TEST_F(CheckedDestructionTest, unflushedSamplesAreWrittenToFiles) {
    {
        const WarningRecorder recorder;
        const auto target = writer("checked:native", scalarSetup());
        target->write(0, 1.0, row, 1);
        target->write(0, 2.0, row, 1);
    }
    EXPECT_THAT(file_sizes(directory.path()), ElementsAre(16, 16));
}

TEST_F(CheckedDestructionTest, flushHappensOnce) {
    const WarningRecorder recorder;
    writer("checked:double");
    EXPECT_EQ(script->flushCount, 1);
    writer("checked:double")->flush();
    EXPECT_EQ(script->flushCount, 2);
    EXPECT_THAT(recorder.warnings, SizeIs(1));
}

TEST_F(CheckedDestructionTest, destroyingAClosedMemoryWriterIssuesNoWarning) {
    const WarningRecorder recorder;
    writer("checked:memory")->close();
    EXPECT_THAT(keys_of(recorder), IsEmpty());
}

TEST_F(CheckedDestructionTest, closedFileWriterIsFlushed) {
    const WarningRecorder recorder;
    writer("checked:native")->close();
    EXPECT_THAT(keys_of(recorder), ElementsAre("DestroyedWithoutFlush"));
}

TEST_F(CheckedDestructionTest, failedFlushBecomesAWarning) {
    const WarningRecorder recorder;
    script->onFlush = [] { throw std::runtime_error("the disk is full"); };
    writer("checked:double");
    EXPECT_THAT(keys_of(recorder), ElementsAre("DestroyedWithoutFlush", "FlushInDestructorFailed"));
    EXPECT_THAT(recorder.warnings.back().arguments(), ElementsAre(u"größe", u"the disk is full"));
}

TEST_F(CheckedDestructionTest, exceptionOfAnyTypeBecomesAWarning) {
    const WarningRecorder recorder;
    script->onFlush = [] { throw 1; };
    writer("checked:double");
    EXPECT_THAT(recorder.warnings.back().arguments(),
                ElementsAre(u"größe", u"an exception of an unknown type"));
}

TEST_F(CheckedDestructionTest, failedFlushIsNotRepeated) {
    const WarningRecorder recorder;
    script->onFlush = [] { throw std::bad_alloc(); };
    EXPECT_THROW(writer("checked:double")->flush(), std::bad_alloc);
    EXPECT_EQ(script->flushCount, 1);
    EXPECT_THAT(keys_of(recorder), IsEmpty());
}

TEST_F(CheckedDestructionTest, exceptionOfTheWarningHandlerIsIgnored) {
    const WarningRecorder recorder;
    foundation::setWarningHandler(
        [](const foundation::Message&) { throw std::runtime_error("no log"); });
    writer("checked:double");
    EXPECT_EQ(script->flushCount, 1);
}

} // namespace
} // namespace logging2::core::test
