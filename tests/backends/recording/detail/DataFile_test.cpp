#include <logging2/backends/recording/detail/DataFile.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>

#include <gmock/gmock.h>

namespace logging2::core::detail {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class DataFileTest : public ::testing::Test {
protected:
    core::test::TemporaryDirectory directory;
    DataFile file = DataFile::create((directory.path() / "samples.bin").string(), 0600);
};

TEST_F(DataFileTest, offsetBeyondAnyFileIsBehindTheEnd) {
    char byte = 0;
    EXPECT_THAT([&] { file.read(&byte, 1, ~std::uint64_t{0}); },
                ThrowsMessage<RecordingError>(HasSubstr("it ends too early")));
}

TEST_F(DataFileTest, emptyMappingIsRefused) {
    EXPECT_THAT([this] { file.map(0); },
                ThrowsMessage<RecordingError>(HasSubstr("cannot map it into memory")));
}

TEST_F(DataFileTest, reservedRoomDoesNotChangeTheSize) {
    file.reserveAhead();
    file.reserve(10);
    file.reserve(5);
    EXPECT_EQ(file.byteCount(), 0U);
    file.write("abc", 3, 0);
    file.giveBackReserved();
    EXPECT_EQ(file.byteCount(), 3U);
}

} // namespace
} // namespace logging2::core::detail
