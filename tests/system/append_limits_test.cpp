#include <tests/native/native_writers.hpp>
#include <tests/support/NoDescriptors.hpp>
#include <tests/support/OrdinaryPermissions.hpp>

#include <sys/resource.h>

#include <csignal>

// Limits of the machine that a writer reaches while it runs. No system call is replaced.

namespace logging2::core::test {
namespace {

using std::filesystem::perms;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AppendLimitsTest : public NativeStreamWriterTest {
protected:
    void append(const std::vector<double>& times, std::size_t group = 0) {
        writeTimes(writer, group, times);
        writer.flushIntermediate();
    }

    std::filesystem::path userDirectory() const { return timesFile(writer, "x0").parent_path(); }

    NativeStreamWriter writer{StreamingAttributes{}, scalarGroups({0, 1})};
};

/// Limits the size of files while it lives and ignores the signal that reports the limit.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t byteCount) {
        getrlimit(RLIMIT_FSIZE, &former);
        rlimit small = former;
        small.rlim_cur = byteCount;
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &former);
        std::signal(SIGXFSZ, handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit former{};
    void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(AppendLimitsTest, fileSizeLimitKeepsWhatWasWritten) {
    append({1.0, 2.0});
    {
        const FileSizeLimit limit(36);
        EXPECT_NO_THROW(append({3.0, 4.0, 5.0}));
        EXPECT_NO_THROW(append({6.0}));
    }
    EXPECT_EQ(std::filesystem::file_size(timesFile(writer, "x0")), 36U);
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "x0")), 36U);
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0, 3.0, 4.0));
    const NativeStreamReader reader(writer.dataStore(ValuePath("x0")));
    EXPECT_THAT(reader.timeseries().second, ElementsAre(10.0, 20.0, 30.0, 40.0));
}

TEST_F(AppendLimitsTest, fileSizeLimitDoesNotEndTheBackgroundThread) {
    Access::setBufferSize(writer, 0, 2);
    {
        const FileSizeLimit limit(20);
        writeTimes(writer, 0, {1.0, 2.0});
        Access::waitUntilTaken(writer);
        writeTimes(writer, 0, {3.0, 4.0});
        Access::waitUntilTaken(writer);
        EXPECT_NO_THROW(writer.flush());
    }
    EXPECT_EQ(std::filesystem::file_size(valuesFile(writer, "x0")), 20U);
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 20.0));
}

TEST_F(AppendLimitsTest, fullDeviceLosesOnlyTheSamplesOfItsFile) {
    std::filesystem::create_symlink("/dev/full", valuesFile(writer, "x0"));
    EXPECT_NO_THROW(append({1.0, 2.0}));
    EXPECT_NO_THROW(append(std::vector<double>(5000, 3.0)));
    EXPECT_EQ(timesIn(writer, "x0").size(), 5002U);
    append({1.0}, 1);
    EXPECT_THAT(valuesIn(writer, "x1"), ElementsAre(10.0));
}

TEST_F(AppendLimitsTest, onlyBatchesWithoutAFreeDescriptorAreLost) {
    append({1.0});
    {
        const NoDescriptors none;
        EXPECT_NO_THROW(append({2.0}));
    }
    append({3.0});
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 3.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 30.0));
}

TEST_F(AppendLimitsTest, deletedDirectoryIsNotCreatedAgain) {
    append({1.0});
    std::filesystem::remove_all(userDirectory());
    EXPECT_NO_THROW(append({2.0}));
    EXPECT_NO_THROW(append({2.0}, 1));
    EXPECT_NO_THROW(writer.flush());
    EXPECT_FALSE(std::filesystem::exists(userDirectory()));
    const NativeStreamReader reader(writer.dataStore(ValuePath("x0")));
    EXPECT_THAT(reader.times(), IsEmpty());
}

TEST_F(AppendLimitsTest, restoredDirectoryReceivesLaterBatches) {
    append({1.0});
    std::filesystem::remove_all(userDirectory());
    append({2.0});
    std::filesystem::create_directory(userDirectory());
    append({3.0});
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(3.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(30.0));
}

TEST_F(AppendLimitsTest, readOnlyDirectoryKeepsItsFilesButGetsNoMore) {
    append({1.0});
    std::filesystem::permissions(userDirectory(), perms::owner_read | perms::owner_exec);
    {
        const OrdinaryPermissions ordinary;
        EXPECT_NO_THROW(append({2.0}));
        EXPECT_NO_THROW(append({2.0}, 1));
    }
    std::filesystem::permissions(userDirectory(), perms::owner_all);
    EXPECT_THAT(fileNames(), ElementsAre("times_0", "values_0_0"));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0, 20.0));
}

TEST_F(AppendLimitsTest, readOnlyFileLosesOnlyItsOwnSamples) {
    append({1.0});
    std::filesystem::permissions(valuesFile(writer, "x0"), perms::owner_read);
    {
        const OrdinaryPermissions ordinary;
        EXPECT_NO_THROW(append({2.0}));
    }
    EXPECT_THAT(timesIn(writer, "x0"), ElementsAre(1.0, 2.0));
    EXPECT_THAT(valuesIn(writer, "x0"), ElementsAre(10.0));
}

} // namespace
} // namespace logging2::core::test
