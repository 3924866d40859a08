#include <examples/simulate/report/OutputDirectory.hpp>

#include <examples/simulate/HostError.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

namespace {

using logging2::core::test::bytesOf;
using logging2::core::test::TemporaryDirectory;
using logging2::core::test::writeBytes;
using simulate::OutputDirectory;
using Names = std::vector<std::string>;

TEST(OutputDirectoryTest, commitPlacesAllFilesTogether) {
    const TemporaryDirectory parent;
    const auto directory = parent.path() / "a";
    OutputDirectory output(directory);
    writeBytes(output.stagingPath("y"), "1");
    writeBytes(output.stagingPath("x"), "2");
    EXPECT_FALSE(std::filesystem::exists(directory / "x"));
    EXPECT_EQ(output.commit(), (std::vector{directory / "x", directory / "y"}));
    EXPECT_EQ(bytesOf(directory / "y"), "1");
}

TEST(OutputDirectoryTest, commitLeavesOnlyTheFiles) {
    const TemporaryDirectory parent;
    {
        OutputDirectory output(parent.path());
        writeBytes(output.stagingPath("x"), "1");
        output.commit();
    }
    EXPECT_EQ(parent.names(), Names{"x"});
}

TEST(OutputDirectoryTest, nothingRemainsWithoutCommit) {
    const TemporaryDirectory parent;
    {
        const OutputDirectory output(parent.path() / "a" / "b" / "c/");
        writeBytes(output.stagingPath("x"), "1");
        EXPECT_TRUE(std::filesystem::exists(parent.path() / "a" / "b" / "c"));
    }
    EXPECT_EQ(parent.names(), Names{});
}

TEST(OutputDirectoryTest, existingFilesRemainWithoutCommit) {
    const TemporaryDirectory parent;
    writeBytes(parent.path() / "x", "former");
    {
        const OutputDirectory output(parent.path());
        writeBytes(output.stagingPath("x"), "new");
    }
    EXPECT_EQ(bytesOf(parent.path() / "x"), "former");
    EXPECT_EQ(parent.names(), Names{"x"});
}

TEST(OutputDirectoryTest, commitReplacesExistingFiles) {
    const TemporaryDirectory parent;
    writeBytes(parent.path() / "x", "former");
    OutputDirectory output(parent.path());
    writeBytes(output.stagingPath("x"), "new");
    output.commit();
    EXPECT_EQ(bytesOf(parent.path() / "x"), "new");
}

TEST(OutputDirectoryTest, obstructingDirectoryIsDetectedBeforeAnyFileMoves) {
    const TemporaryDirectory parent;
    std::filesystem::create_directory(parent.path() / "z");
    {
        OutputDirectory output(parent.path());
        writeBytes(output.stagingPath("a"), "1");
        writeBytes(output.stagingPath("z"), "2");
        EXPECT_THROW(output.commit(), simulate::HostError);
    }
    EXPECT_EQ(parent.names(), Names{"z"});
}

TEST(OutputDirectoryTest, fileIsRefusedAsADirectory) {
    const TemporaryDirectory parent;
    writeBytes(parent.path() / "file", "");
    EXPECT_THROW(OutputDirectory(parent.path() / "file"), simulate::HostError);
    EXPECT_THROW(OutputDirectory(parent.path() / "file" / "below"), simulate::HostError);
    EXPECT_EQ(parent.names(), Names{"file"});
}

} // namespace
