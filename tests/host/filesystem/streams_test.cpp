#include <logging2/host/filesystem/ifstream.hpp>
#include <logging2/host/filesystem/ofstream.hpp>

#include <tests/host/filesystem/paths.hpp>
#include <tests/support/Umask.hpp>
#include <tests/support/descriptors.hpp>

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class StreamsTest : public ::testing::Test {
protected:
    SystemTempDirectory directory;
    Path path = inside(directory, u"\u00fc");
    std::filesystem::path file = native(path.text());
};

using InputStreamTest = StreamsTest;

TEST_F(InputStreamTest, readsBytesUnchanged) {
    writeBytes(file, "a\r\n\x1a\n");
    fl::filesystem::ifstream stream(path);
    stream.seekg(0, std::ios::end);
    EXPECT_EQ(stream.tellg(), 5);
    stream.seekg(0, std::ios::beg);
    char bytes[5];
    stream.read(bytes, 5);
    EXPECT_EQ(std::string(bytes, 5), "a\r\n\x1a\n");
    stream.close();
    EXPECT_TRUE(stream.good());
    EXPECT_FALSE(stream.is_open());
}

TEST_F(InputStreamTest, failedOpenLeavesNoPosition) {
    fl::filesystem::ifstream stream(path);
    EXPECT_FALSE(stream.is_open());
    EXPECT_TRUE(stream.fail());
    stream.seekg(0, std::ios::end);
    EXPECT_EQ(stream.tellg(), -1);
}

TEST_F(InputStreamTest, descriptorIsClosedOnExec) {
    writeBytes(file, "x");
    const fl::filesystem::ifstream stream(path);
    EXPECT_THAT(closedOnExec(file), ElementsAre(true));
}

/// Performs one of ten actions on an input stream and returns its result as text.
std::string act(std::istream& stream, std::size_t action, std::streamsize argument) {
    std::string text(16, '.');
    switch (action) {
    case 0:
        return std::to_string(stream.get());
    case 1:
        return std::to_string(stream.peek());
    case 2:
        stream.read(text.data(), argument);
        return text + std::to_string(stream.gcount());
    case 3:
        std::getline(stream, text);
        return text;
    case 4:
        stream.seekg(argument, std::ios::beg);
        return "";
    case 5:
        stream.seekg(argument - 8, std::ios::cur);
        return "";
    case 6:
        stream.seekg(-argument, std::ios::end);
        return "";
    case 7:
        stream.seekg(std::istream::pos_type(argument));
        return "";
    case 8:
        stream.ignore(argument, 'c');
        return std::to_string(stream.gcount());
    default:
        stream.clear();
        return "";
    }
}

TEST_F(InputStreamTest, behavesLikeTheStandardStream) {
    std::mt19937 random(5);
    const auto below = [&random](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    for (int round = 0; round < 300; ++round) {
        std::string bytes;
        for (std::size_t i = below(40); i > 0; --i) {
            bytes += "abc\n\xff"[below(5)];
        }
        writeBytes(file, bytes);
        fl::filesystem::ifstream stream(path);
        std::ifstream oracle(file, std::ios::binary);
        for (int step = 0; step < 60; ++step) {
            const std::size_t action = below(10);
            const auto argument = static_cast<std::streamsize>(below(16));
            SCOPED_TRACE("action " + std::to_string(action) + ' ' + std::to_string(argument));
            ASSERT_EQ(act(stream, action, argument), act(oracle, action, argument));
            ASSERT_EQ(stream.rdstate(), oracle.rdstate());
            ASSERT_EQ(stream.tellg(), oracle.tellg());
        }
    }
}

TEST_F(InputStreamTest, lastByteReadCanBePutBack) {
    writeBytes(file, "ab");
    fl::filesystem::ifstream stream(path);
    EXPECT_EQ(stream.get(), 'a');
    stream.unget();
    EXPECT_EQ(stream.tellg(), 0);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "ab");
}

using OutputStreamTest = StreamsTest;

constexpr auto append = std::ios::out | std::ios::binary | std::ios::app;

TEST_F(OutputStreamTest, createsTheFileOrAppendsToIt) {
    for (const std::string text : {"ab\r\n", "", "c"}) {
        fl::filesystem::ofstream stream(file, append);
        EXPECT_TRUE(stream.is_open());
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        stream.close();
        EXPECT_TRUE(stream.good());
        EXPECT_FALSE(stream.is_open());
    }
    EXPECT_EQ(bytesOf(file), "ab\r\nc");
}

TEST_F(OutputStreamTest, truncatesTheFileUnlessItAppends) {
    writeBytes(file, "former");
    fl::filesystem::ofstream(file, std::ios::out | std::ios::binary) << "ab" << 'c' << 1.5;
    EXPECT_EQ(bytesOf(file), "abc1.5");
}

TEST_F(OutputStreamTest, positionIsTheEndOfTheFile) {
    fl::filesystem::ofstream stream(file, append);
    stream << "abc";
    EXPECT_EQ(stream.tellp(), 3);
}

TEST_F(OutputStreamTest, failedOpenSetsTheFailState) {
    fl::filesystem::ofstream stream(directory.path(), append);
    EXPECT_FALSE(stream.is_open());
    EXPECT_TRUE(stream.fail());
    stream << "a";
    stream.close();
    EXPECT_TRUE(stream.fail());
}

TEST_F(OutputStreamTest, failedWriteSetsTheFailState) {
    fl::filesystem::ofstream stream("/dev/full", append);
    EXPECT_TRUE(stream.good());
    EXPECT_FALSE(stream.write("ab", 2));
    stream.clear();
    EXPECT_FALSE(stream.put('a'));
}

TEST_F(OutputStreamTest, newFileFollowsTheUmask) {
    const Umask umask(027);
    fl::filesystem::ofstream(file, append);
    EXPECT_EQ(permissionsOf(file), 0640U);
}

TEST_F(OutputStreamTest, descriptorIsClosedOnExec) {
    const fl::filesystem::ofstream stream(file, append);
    EXPECT_THAT(closedOnExec(file), ElementsAre(true));
}

} // namespace
} // namespace logging2::core::test
