#include <logging2/backends/recording/detail/SegmentCodec.hpp>

#include <logging2/conformance/detail/same_bits.hpp>
#include <tests/backends/recording/value_kinds.hpp>

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

namespace logging2::core::detail {
namespace {

using core::test::sameBits;
using core::test::value_kinds;
using core::test::values_of_kind;
using Doubles = std::vector<double>;

class SegmentCodecTest : public ::testing::Test {
protected:
    /// The segment of all values, as an element of samples of the width.
    std::string pack(const Doubles& values, std::size_t width = 1) {
        Doubles samples(values.size() * width, 1e300);
        for (std::size_t s = 0; s < values.size(); ++s) {
            samples[s * width] = values[s];
        }
        std::string bytes(packed_byte_count_limit(values.size()), '\0');
        bytes.resize(codec.pack(samples.data(), width, values.size(), bytes.data()));
        return bytes;
    }

    bool unpack(const std::string& bytes, Doubles& values) {
        return codec.unpack(bytes.data(), bytes.size(), values.size(), 0, values.size(), 1,
                            values.data());
    }

    double ratioOf(const char* kind) {
        const Doubles values = values_of_kind(kind, segmentStepCount);
        return static_cast<double>(values.size() * sizeof(double)) /
               static_cast<double>(pack(values).size());
    }

    SegmentCodec codec;
};

TEST_F(SegmentCodecTest, unpacksEveryKindOfValueBitForBit) {
    for (const char* kind : value_kinds()) {
        for (const std::size_t count :
             {1U, 2U, 3U, 7U, 255U, 256U, 511U, 512U, 513U, 5000U, 8192U}) {
            SCOPED_TRACE(kind + (" " + std::to_string(count)));
            const Doubles values = values_of_kind(kind, count);
            Doubles actual(count);
            ASSERT_TRUE(unpack(pack(values), actual));
            EXPECT_TRUE(sameBits(actual, values));
        }
    }
}

TEST_F(SegmentCodecTest, packsOneElementOfWideSamples) {
    const Doubles values = values_of_kind("smooth", 1000);
    EXPECT_EQ(pack(values, 3), pack(values, 1));
}

TEST_F(SegmentCodecTest, unpacksARangeIntoOneElementOfWideSamples) {
    const Doubles values = values_of_kind("smooth", 1000);
    const std::string bytes = pack(values);
    Doubles samples(12, 7.0);
    ASSERT_TRUE(codec.unpack(bytes.data(), bytes.size(), 1000, 500, 504, 3, samples.data() + 1));
    Doubles expected(12, 7.0);
    for (std::size_t s = 0; s < 4; ++s) {
        expected[3 * s + 1] = values[500 + s];
    }
    EXPECT_TRUE(sameBits(samples, expected));
}

TEST_F(SegmentCodecTest, makesRegularValuesMuchSmaller) {
    EXPECT_GT(ratioOf("constant"), 200);
    EXPECT_GT(ratioOf("regular times"), 50);
    EXPECT_GT(ratioOf("steps"), 30);
    EXPECT_GT(ratioOf("smooth"), 2.5);
}

TEST_F(SegmentCodecTest, noiseStaysBelowTheLimit) {
    for (const char* kind : {"noise", "any bits"}) {
        for (const std::size_t count : {1U, 2U, 100U, 8192U}) {
            EXPECT_LE(pack(values_of_kind(kind, count)).size(), packed_byte_count_limit(count));
        }
    }
    EXPECT_LT(packed_byte_count_limit(segmentStepCount), segmentStepCount * 8 * 101 / 100);
}

TEST_F(SegmentCodecTest, refusesBytesThatAreNoSegment) {
    const std::string bytes = pack(values_of_kind("smooth", 1000));
    Doubles values(1000);
    EXPECT_TRUE(unpack(bytes, values));
    EXPECT_FALSE(unpack("", values));
    EXPECT_FALSE(unpack(bytes.substr(0, 1), values));
    EXPECT_FALSE(unpack(bytes.substr(0, bytes.size() - 1), values));
    EXPECT_FALSE(unpack(bytes + '\0', values));
    EXPECT_FALSE(unpack(std::string(packed_byte_count_limit(1000) + 1, '\0'), values));
    for (const char order : {'\3', '\x7f', '\x80', '\xff'}) {
        EXPECT_FALSE(unpack(order + bytes.substr(1), values));
    }
}

TEST_F(SegmentCodecTest, refusesSegmentsWithOtherNumbersOfSteps) {
    const std::string bytes = pack(values_of_kind("smooth", 1000));
    for (const std::size_t count : {1U, 999U, 1001U, 8192U}) {
        Doubles values(count);
        EXPECT_FALSE(unpack(bytes, values)) << count;
    }
}

TEST_F(SegmentCodecTest, damagedBytesAreUnpackedWithinTheirBounds) {
    std::mt19937 random(1);
    const std::string whole = pack(values_of_kind("smooth", 1000));
    // Sanitizers would notice a byte that is read or written elsewhere.
    for (int round = 0; round < 20000; ++round) {
        const auto bytes = std::make_unique<std::string>(whole, 0, 1 + random() % whole.size());
        for (std::size_t count = random() % 4; count > 0; --count) {
            (*bytes)[random() % bytes->size()] = static_cast<char>(random());
        }
        Doubles values(1000);
        unpack(*bytes, values);
    }
    Doubles values(1000);
    EXPECT_TRUE(unpack(whole, values));
}

} // namespace
} // namespace logging2::core::detail
