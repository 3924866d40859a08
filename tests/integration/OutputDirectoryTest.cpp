#include <examples/simulate/report/OutputDirectory.hpp>

#include <examples/simulate/HostError.hpp>
#include <tests/integration/support/TemporaryDirectory.hpp>

#include <gtest/gtest.h>

namespace {

using integration::contents_of;
using integration::TemporaryDirectory;
using integration::write_text;
using simulate::OutputDirectory;
using Names = std::vector<std::string>;

TEST(OutputDirectoryTest, filesAppearTogetherWithCommit) {
    const TemporaryDirectory parent;
    const auto directory = parent.path() / "a";
    OutputDirectory output(directory);
    write_text(output.stagingPath("y"), "1");
    write_text(output.stagingPath("x"), "2");
    EXPECT_FALSE(std::filesystem::exists(directory / "x"));
    EXPECT_EQ(output.commit(), (std::vector{directory / "x", directory / "y"}));
    EXPECT_EQ(contents_of(directory / "y"), "1");
}

TEST(OutputDirectoryTest, leavesNothingButTheFiles) {
    const TemporaryDirectory parent;
    {
        OutputDirectory output(parent.path());
        write_text(output.stagingPath("x"), "1");
        output.commit();
    }
    EXPECT_EQ(parent.names(), Names{"x"});
}

TEST(OutputDirectoryTest, withoutCommitNothingRemains) {
    const TemporaryDirectory parent;
    {
        const OutputDirectory output(parent.path() / "a" / "b" / "c/");
        write_text(output.stagingPath("x"), "1");
        EXPECT_TRUE(std::filesystem::exists(parent.path() / "a" / "b" / "c"));
    }
    EXPECT_EQ(parent.names(), Names{});
}

TEST(OutputDirectoryTest, withoutCommitFormerFilesRemain) {
    const TemporaryDirectory parent;
    write_text(parent.path() / "x", "former");
    {
        const OutputDirectory output(parent.path());
        write_text(output.stagingPath("x"), "new");
    }
    EXPECT_EQ(contents_of(parent.path() / "x"), "former");
    EXPECT_EQ(parent.names(), Names{"x"});
}

TEST(OutputDirectoryTest, commitReplacesFormerFiles) {
    const TemporaryDirectory parent;
    write_text(parent.path() / "x", "former");
    OutputDirectory output(parent.path());
    write_text(output.stagingPath("x"), "new");
    output.commit();
    EXPECT_EQ(contents_of(parent.path() / "x"), "new");
}

TEST(OutputDirectoryTest, aDirectoryInTheWayIsFoundBeforeAnyFileMoves) {
    const TemporaryDirectory parent;
    std::filesystem::create_directory(parent.path() / "z");
    {
        OutputDirectory output(parent.path());
        write_text(output.stagingPath("a"), "1");
        write_text(output.stagingPath("z"), "2");
        EXPECT_THROW(output.commit(), simulate::HostError);
    }
    EXPECT_EQ(parent.names(), Names{"z"});
}

TEST(OutputDirectoryTest, aFileIsNoDirectory) {
    const TemporaryDirectory parent;
    write_text(parent.path() / "file", "");
    EXPECT_THROW(OutputDirectory(parent.path() / "file"), simulate::HostError);
    EXPECT_THROW(OutputDirectory(parent.path() / "file" / "below"), simulate::HostError);
    EXPECT_EQ(parent.names(), Names{"file"});
}

} // namespace
