#include <tests/backends/recording/damaged_recordings.hpp>
#include <tests/backends/recording/repaired_hashes.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <array>
#include <cstring>

// Packed chunks whose numbers do not fit each other, although all hashes are right.

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

class PackedDamageTest : public DamagedRecordingTest {
protected:
    PackedDamageTest() : DamagedRecordingTest(Compression::lz4) {}

    /// Of the long chunk's payload: four segments follow the roots of widths 1, 1 and 2.
    static constexpr std::size_t tableOffset = 2 * 32 + 56;
    static constexpr std::size_t directoryByteCount = 192;
    using Sizes = std::array<std::uint32_t, 4>;

    Sizes segmentSizes() const {
        Sizes sizes{};
        std::memcpy(sizes.data(), bytesOf(samples()).data() + payloadOffset() + tableOffset,
                    sizeof sizes);
        return sizes;
    }

    /// Changes the numbers of bytes of the segments, and the hashes of the directory and header.
    void setSegmentSizes(const Sizes& sizes) const {
        std::string bytes = bytesOf(samples());
        char* const payload = bytes.data() + payloadOffset();
        std::memcpy(payload + tableOffset, sizes.data(), sizeof sizes);
        detail::RecordHeader header;
        char* const record = payload - sizeof header;
        std::memcpy(&header, record, sizeof header);
        header.payloadHash = detail::hash_of(payload, directoryByteCount);
        header.headerHash = detail::hash_of(header);
        std::memcpy(record, &header, sizeof header);
        writeBytes(samples(), bytes);
    }

    std::size_t payloadOffset() const { return chunkOffset() + sizeof(detail::RecordHeader); }

    /// Changes where the index says that the long chunk is, and how large.
    void setPlace(std::uint64_t offset, std::uint64_t byteCount) const {
        const auto text = [](std::uint64_t number) {
            return std::to_string(static_cast<std::int64_t>(number));
        };
        change_index(index(), "UPDATE chunk SET offset = " + text(offset) +
                                  ", byte_count = " + text(byteCount) + " WHERE first_step = 0");
    }

    std::uint64_t byteCount() const {
        return static_cast<std::uint64_t>(
            number_in(index(), "SELECT byte_count FROM chunk WHERE first_step = 0"));
    }

    void expectDamage(const char* text) const {
        EXPECT_THAT([this] { readAll(); }, ThrowsMessage<RecordingError>(HasSubstr(text)));
        EXPECT_GE(check_recording(location.string()).findingCount, 1U);
    }
};

TEST_F(PackedDamageTest, wholeRecordingHasNone) {
    for (const std::uint32_t size : segmentSizes()) {
        EXPECT_GT(size, 0U);
    }
    setSegmentSizes(segmentSizes());
    setPlace(chunkOffset(), byteCount());
    EXPECT_NO_THROW(readAll());
    EXPECT_THAT(check_recording(location.string()).findings, IsEmpty());
}

TEST_F(PackedDamageTest, segmentsMustFillTheChunk) {
    const Sizes sizes = segmentSizes();
    for (std::size_t k = 0; k < sizes.size(); ++k) {
        for (const std::uint32_t wrong : {0U, sizes[k] + 100, 0x7fffffffU, 0xffffffffU}) {
            Sizes changed = sizes;
            changed[k] = wrong;
            setSegmentSizes(changed);
            expectDamage("its segments have another size");
        }
    }
    setSegmentSizes({});
    expectDamage("its segments have another size");
}

TEST_F(PackedDamageTest, segmentsOfOtherSizesCannotBeUnpacked) {
    Sizes sizes = segmentSizes();
    std::swap(sizes[2], sizes[3]);
    setSegmentSizes(sizes);
    expectDamage("samples cannot be unpacked");
    setSegmentSizes({sizes[0], sizes[1], 0, sizes[2] + sizes[3]});
    expectDamage("samples cannot be unpacked");
}

TEST_F(PackedDamageTest, sizesHaveAHash) {
    flip(samples(), payloadOffset() + tableOffset);
    expectDamage("its directory has another hash");
}

TEST_F(PackedDamageTest, flippedBytesOfSegmentsGiveErrorsOrTheSameSamples) {
    const Doubles times = timesOf(*opened());
    const std::size_t first = payloadOffset() + directoryByteCount;
    std::size_t errorCount = 0;
    for (std::size_t k = 0; k < segmentSizes().front(); ++k) {
        flip(samples(), first + k);
        try {
            // A copy from another place can give the same bytes.
            EXPECT_EQ(timesOf(*opened()), times) << k;
        } catch (const RecordingError&) {
            ++errorCount;
        }
        flip(samples(), first + k);
    }
    EXPECT_GT(errorCount, segmentSizes().front() / 2);
}

TEST_F(PackedDamageTest, chunkMustLieInTheFile) {
    const std::uint64_t size = byteCount();
    for (const std::uint64_t offset :
         {bytesOf(samples()).size() - size + 64, ~std::uint64_t{63}, std::uint64_t{1} << 63}) {
        setPlace(offset, size);
        expectDamage("it ends too early: bytes are missing");
    }
}

TEST_F(PackedDamageTest, chunkMustHaveItsSize) {
    const std::size_t offset = chunkOffset();
    const std::uint64_t size = byteCount();
    for (const std::uint64_t wrong : {std::uint64_t{0}, std::uint64_t{64}, std::uint64_t{128},
                                      std::uint64_t{256}, size - 64, size + 64}) {
        setPlace(offset, wrong);
        expectDamage("the index expects another chunk there");
    }
    for (const std::uint64_t wrong : {size + 100000, ~std::uint64_t{0}}) {
        setPlace(offset, wrong);
        expectDamage("the index is damaged: a chunk has another size");
    }
}

} // namespace
} // namespace logging2::core::test
