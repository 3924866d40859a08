#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/native/NativeStreamReader.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <new>
#include <thread>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NativeStreamReaderTest : public ::testing::Test {
protected:
    NativeDatastore store() const {
        return {foundation::utf8_string_to_ustring(times.string()),
                foundation::utf8_string_to_ustring(values.string())};
    }

    SystemTempDirectory directory{"-\xc3\xbc"};
    std::filesystem::path times = directory.path() / "u_times_0";
    std::filesystem::path values = directory.path() / "u_values_0_0";
};

TEST_F(NativeStreamReaderTest, returnsTheContentOfTheFiles) {
    writeDoubles(times, {1.0, 2.0});
    writeDoubles(values, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
    const NativeStreamReader reader{boost::any(store())};
    EXPECT_THAT(reader.times(), ElementsAre(1.0, 2.0));
    const auto series = reader.timeseries();
    EXPECT_THAT(series.first, ElementsAre(1.0, 2.0));
    EXPECT_THAT(series.second, ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0, 6.0));
}

TEST_F(NativeStreamReaderTest, everyCallReadsTheFilesAgain) {
    writeDoubles(times, {1.0});
    const NativeStreamReader reader{boost::any(store())};
    EXPECT_THAT(reader.times(), ElementsAre(1.0));
    writeDoubles(times, {1.0, 2.0});
    EXPECT_THAT(reader.times(), ElementsAre(1.0, 2.0));
}

TEST_F(NativeStreamReaderTest, bytesAfterTheLastWholeDoubleAreIgnored) {
    writeDoubles(times, {1.0, 2.0, 3.0});
    writeDoubles(values, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
    std::ofstream(values, std::ios::binary | std::ios::app) << "1234";
    const NativeStreamReader reader{boost::any(store())};
    EXPECT_THAT(reader.times(), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(reader.timeseries().second, ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0, 6.0));
}

TEST_F(NativeStreamReaderTest, fileShorterThanADoubleGivesAnEmptyVector) {
    writeBytes(times, "1234567");
    writeBytes(values, "");
    const NativeStreamReader reader{boost::any(store())};
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
}

TEST_F(NativeStreamReaderTest, missingFilesGiveEmptyVectors) {
    const NativeStreamReader reader{boost::any(store())};
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.timeseries().first, IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
}

TEST_F(NativeStreamReaderTest, readsAnyFile) {
    writeDoubles(values, {4.0});
    const NativeStreamReader reader{boost::any()};
    const auto file = foundation::utf8_string_to_ustring(values.string());
    EXPECT_THAT(reader.read(fl::filesystem::detail::make_native_form(file)), ElementsAre(4.0));
    EXPECT_THAT(reader.read({}), IsEmpty());
}

// A socket exists and cannot be opened by any user.
TEST_F(NativeStreamReaderTest, failedOpenThrowsBadAlloc) {
    const std::filesystem::path current = std::filesystem::current_path();
    std::filesystem::current_path(directory.path());
    const int socketDescriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    values.filename().string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socketDescriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    std::filesystem::current_path(current);
    writeDoubles(times, {1.0});
    {
        const NativeStreamReader reader{boost::any(store())};
        EXPECT_THROW(reader.timeseries(), std::bad_alloc);
        EXPECT_THAT(reader.times(), ElementsAre(1.0));
    }
    EXPECT_FALSE(std::filesystem::exists(values));
    close(socketDescriptor);
}

TEST_F(NativeStreamReaderTest, emptyAnyMakesAReaderWithoutFiles) {
    writeDoubles(times, {1.0});
    {
        const NativeStreamReader reader{boost::any()};
        EXPECT_THAT(reader.times(), IsEmpty());
        EXPECT_THAT(reader.timeseries().first, IsEmpty());
        EXPECT_THAT(reader.timeseries().second, IsEmpty());
    }
    EXPECT_TRUE(std::filesystem::exists(times));
}

TEST_F(NativeStreamReaderTest, storeOfAnotherTypeThrowsBadAnyCast) {
    EXPECT_THROW(NativeStreamReader{boost::any(MemoryDatastore{})}, boost::bad_any_cast);
    EXPECT_THROW(NativeStreamReader{boost::any(1)}, boost::bad_any_cast);
}

TEST_F(NativeStreamReaderTest, destructionDeletesBothFiles) {
    writeDoubles(times, {1.0});
    writeDoubles(values, {1.0});
    {
        std::unique_ptr<StreamReader> reader =
            std::make_unique<NativeStreamReader>(boost::any(store()));
        reader.reset();
    }
    EXPECT_FALSE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

TEST_F(NativeStreamReaderTest, cloneReadsTheSameFiles) {
    writeDoubles(times, {1.0});
    writeDoubles(values, {2.0});
    const NativeStreamReader reader{boost::any(store())};
    const std::unique_ptr<StreamReader> clone = reader.clone();
    EXPECT_NE(dynamic_cast<NativeStreamReader*>(clone.get()), nullptr);
    EXPECT_THAT(clone->timeseries().second, ElementsAre(2.0));
}

TEST_F(NativeStreamReaderTest, destroyingOneCloneDeletesTheFilesOfAll) {
    writeDoubles(times, {1.0});
    writeDoubles(values, {2.0});
    const NativeStreamReader reader{boost::any(store())};
    reader.clone().reset();
    EXPECT_FALSE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
}

TEST_F(NativeStreamReaderTest, destructorIgnoresMissingFiles) {
    writeDoubles(times, {1.0});
    auto reader = std::make_unique<NativeStreamReader>(boost::any(store()));
    std::filesystem::remove(times);
    EXPECT_NO_THROW(reader.reset());
}

// A directory that is not empty cannot be removed: deleting the times file fails, and the values
// file is still deleted.
TEST_F(NativeStreamReaderTest, failedDeletionOfOneFileStillDeletesTheOther) {
    std::filesystem::create_directories(times / "inner");
    writeDoubles(values, {1.0});
    auto reader = std::make_unique<NativeStreamReader>(boost::any(store()));
    EXPECT_NO_THROW(reader.reset());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

TEST_F(NativeStreamReaderTest, directoryInPlaceOfAFileIsNotDeleted) {
    std::filesystem::create_directory(times);
    writeDoubles(values, {1.0});
    auto reader = std::make_unique<NativeStreamReader>(boost::any(store()));
    EXPECT_NO_THROW(reader.reset());
    EXPECT_TRUE(std::filesystem::exists(times));
    EXPECT_FALSE(std::filesystem::exists(values));
}

// The values file can be reached only while the times file exists, so it is out of reach if the
// times file is deleted first.
TEST_F(NativeStreamReaderTest, timesFileIsDeletedBeforeTheValuesFile) {
    std::filesystem::create_directory(directory.path() / "d");
    writeDoubles(directory.path() / "d" / "values", {1.0});
    std::filesystem::create_directory_symlink("d", times);
    values = times / "values";
    auto reader = std::make_unique<NativeStreamReader>(boost::any(store()));
    ASSERT_TRUE(std::filesystem::exists(values));
    reader.reset();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(times)));
    EXPECT_TRUE(std::filesystem::exists(directory.path() / "d" / "values"));
}

TEST_F(NativeStreamReaderTest, severalThreadsMayReadThroughClones) {
    writeDoubles(times, std::vector<double>(1000, 1.0));
    writeDoubles(values, std::vector<double>(1000, 2.0));
    const NativeStreamReader reader{boost::any(store())};
    std::vector<std::unique_ptr<StreamReader>> clones;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        clones.push_back(reader.clone());
        threads.emplace_back([clone = clones.back().get()] {
            EXPECT_EQ(clone->timeseries().second, std::vector<double>(1000, 2.0));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A name of 300 characters makes the check for existence fail.
TEST_F(NativeStreamReaderTest, failedExistenceCheckThrowsAndDoesNotPreventDeletion) {
    times = directory.path() / std::string(300, 't');
    writeDoubles(values, {1.0});
    {
        const NativeStreamReader reader{boost::any(store())};
        EXPECT_THROW(reader.times(), std::filesystem::filesystem_error);
    }
    EXPECT_FALSE(std::filesystem::exists(values));
}

} // namespace
} // namespace logging2::core::test
