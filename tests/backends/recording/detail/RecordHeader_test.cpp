#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <gmock/gmock.h>

#ifdef __x86_64__
#include <cpuid.h>
#include <immintrin.h>
#endif

#include <cstring>
#include <string>

namespace logging2::core::detail {
namespace {

RecordHeader someHeader() {
    RecordHeader header;
    header.kind = RecordKind::chunk;
    header.run = {1, 2, 3};
    header.sequence = 4;
    header.firstStep = 500;
    header.stepCount = 64;
    header.payloadByteCount = 1024;
    header.headerHash = hash_of(header);
    return header;
}

TEST(RecordHeaderTest, sizesAreRoundedUpToTheAlignment) {
    EXPECT_EQ(aligned(0), 0U);
    EXPECT_EQ(aligned(1), 64U);
    EXPECT_EQ(aligned(64), 64U);
    EXPECT_EQ(aligned(65), 128U);
}

TEST(RecordHeaderTest, hashIsXxh3WithoutSeed) {
    EXPECT_EQ(hash_of("", 0), 0x2d06800538d394c2U);
}

#ifdef __x86_64__
/// Whether the processor tells which parts of the registers are in use.
bool tells_parts_in_use() {
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid_count(0xd, 1, &a, &b, &c, &d) != 0 && (a & 4U) != 0;
}

__attribute__((target("xsave"))) bool are_upper_halves_in_use() {
    return (_xgetbv(1) & 4U) != 0;
}

TEST(RecordHeaderTest, hashLeavesNoRegistersInUseThatSlowArithmeticDown) {
    const std::string bytes(4096, 'x');
    hash_of(bytes.data(), bytes.size());
    EXPECT_FALSE(tells_parts_in_use() && are_upper_halves_in_use());
}
#endif

TEST(RecordHeaderTest, wholeHeaderHasNoFault) {
    EXPECT_EQ(fault_of(someHeader()), nullptr);
}

TEST(RecordHeaderTest, everyChangedBitIsAFault) {
    for (std::size_t bit = 0; bit < 8 * sizeof(RecordHeader); ++bit) {
        RecordHeader header = someHeader();
        unsigned char bytes[sizeof header];
        std::memcpy(bytes, &header, sizeof header);
        bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] ^ (1U << bit % 8));
        std::memcpy(&header, bytes, sizeof header);
        EXPECT_NE(fault_of(header), nullptr) << "bit " << bit;
    }
}

TEST(RecordHeaderTest, foreignBytesAreNoRecording) {
    RecordHeader header = someHeader();
    header.magic.front() = 'X';
    header.headerHash = hash_of(header);
    EXPECT_STREQ(fault_of(header), "it is not a recording's data file");
}

TEST(RecordHeaderTest, newerVersionIsNamed) {
    RecordHeader header = someHeader();
    header.version = formatVersion + 1;
    header.headerHash = hash_of(header);
    EXPECT_STREQ(fault_of(header), "it was written by a newer version of logging2");
}

TEST(RecordHeaderTest, wrongHashIsDamage) {
    RecordHeader header = someHeader();
    ++header.headerHash;
    EXPECT_STREQ(fault_of(header), "a record's header is damaged");
}

} // namespace
} // namespace logging2::core::detail
