#include <tools/view/HttpError.hpp>
#include <tools/view/RunCatalog.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <logging2/conformance/detail/setups.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>

namespace logging2::tools::view {
namespace {

namespace fs = std::filesystem;

/// A directory with one finished recording.
class RunCatalogTest : public ::testing::Test {
protected:
    RunCatalogTest() {
        core::RecordingOptions options;
        options.directory = directory.path().string();
        core::RecordingStreamWriter writer(core::StreamingAttributes(), core::test::scalarSetup(),
                                           options);
        core::test::write(writer, 0, 1.0, {2.0});
        writer.flush();
        location = writer.location();
        id = core::open_recording(location)->info().id;
    }

    /// Of a request for the run; 200 if it is answered.
    int statusOfRun() {
        try {
            catalog().run(id);
            catalog().ownRun(id);
            return 200;
        } catch (const HttpError& error) {
            return error.status();
        }
    }

    RunCatalog& catalog() {
        if (!runs) {
            runs.emplace(directory.path().string());
        }
        return *runs;
    }

    core::test::TemporaryDirectory directory;
    std::string location;
    std::string id;
    std::optional<RunCatalog> runs;
};

TEST_F(RunCatalogTest, damagedRunSaysWhyAfterTheListWasReadAgain) {
    EXPECT_EQ(statusOfRun(), 200);
    const fs::path index = location + "/index.sqlite";
    const fs::path whole = location + "/whole";
    fs::copy(index, whole);
    std::ofstream(index) << "no database";
    EXPECT_TRUE(catalog().list().at("runs")[0].contains("error"));
    EXPECT_THROW(statusOfRun(), core::RecordingError);
    EXPECT_THROW(catalog().locationOf(id), core::RecordingError);
    fs::rename(whole, index);
    EXPECT_EQ(statusOfRun(), 200);
    EXPECT_EQ(catalog().list().at("runs")[0].at("id"), id);
}

TEST_F(RunCatalogTest, linkThatReplacesARunIsNotFollowedOutside) {
    EXPECT_EQ(statusOfRun(), 200);
    const core::test::TemporaryDirectory elsewhere;
    fs::rename(location, elsewhere.path() / "run");
    fs::create_directory_symlink(elsewhere.path() / "run", location);
    EXPECT_EQ(statusOfRun(), 410);
    fs::remove(location);
    fs::rename(elsewhere.path() / "run", directory.path() / "run");
    fs::create_directory_symlink(directory.path() / "run", location);
    EXPECT_EQ(statusOfRun(), 200);
}

TEST_F(RunCatalogTest, singleRunMayBeALink) {
    const fs::path link = directory.path() / "link";
    fs::create_directory_symlink(location, link);
    runs.emplace(link.string());
    EXPECT_EQ(statusOfRun(), 200);
}

} // namespace
} // namespace logging2::tools::view
