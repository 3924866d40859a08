#include <tests/native/native_writers.hpp>

#include <iomanip>
#include <sstream>

// The example of docs/using/files.md.

namespace logging2::core::test {
namespace {

std::string hex(const std::string& bytes) {
    std::ostringstream stream;
    stream << std::hex << std::setfill('0');
    for (const char byte : bytes) {
        stream << std::setw(2) << static_cast<unsigned>(static_cast<unsigned char>(byte)) << ' ';
    }
    return stream.str();
}

class FileLayoutTest : public NativeStreamWriterTest {};

TEST_F(FileLayoutTest, workedExampleHasTheDocumentedBytes) {
    NativeStreamWriter writer(
        StreamingAttributes{},
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"ball.height", 0}, {"ball.spin", 1}}),
                                                   channels({{0, 1}, {1, 2}}))}});
    write(writer, 0, 0.0, {1.0, 2.0, 3.0});
    write(writer, 0, 0.5, {4.0, 5.0, 6.0});
    write(writer, 0, 1.0, {7.0, 8.0, 9.0});
    writer.flush();
    EXPECT_THAT(fileNames(), ::testing::ElementsAre("times_0", "values_0_0", "values_0_1"));
    EXPECT_EQ(hex(bytesOf(timesFile(writer, "ball.height"))), "00 00 00 00 00 00 00 00 "
                                                              "00 00 00 00 00 00 e0 3f "
                                                              "00 00 00 00 00 00 f0 3f ");
    EXPECT_EQ(hex(bytesOf(valuesFile(writer, "ball.height"))), "00 00 00 00 00 00 f0 3f "
                                                               "00 00 00 00 00 00 10 40 "
                                                               "00 00 00 00 00 00 1c 40 ");
    EXPECT_EQ(hex(bytesOf(valuesFile(writer, "ball.spin"))), "00 00 00 00 00 00 00 40 "
                                                             "00 00 00 00 00 00 08 40 "
                                                             "00 00 00 00 00 00 14 40 "
                                                             "00 00 00 00 00 00 18 40 "
                                                             "00 00 00 00 00 00 20 40 "
                                                             "00 00 00 00 00 00 22 40 ");
}

TEST_F(FileLayoutTest, valuesOfOneStepAreFoundByTheirOffset) {
    NativeStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    for (int s = 0; s < 3; ++s) {
        write(writer, 0, s, {0.0, 10.0 * s, 10.0 * s + 1.0});
    }
    writer.flush();
    const std::string bytes = bytesOf(valuesFile(writer, "b"));
    ASSERT_EQ(bytes.size(), 48U);
    double step1[2];
    std::memcpy(step1, bytes.data() + 16, 16);
    EXPECT_EQ(step1[0], 10.0);
    EXPECT_EQ(step1[1], 11.0);
}

} // namespace
} // namespace logging2::core::test
