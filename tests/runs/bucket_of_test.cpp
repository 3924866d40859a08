#include <logging2/runs/runs.hpp>

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

namespace logging2::core::test {
namespace {

constexpr double greatest = std::numeric_limits<double>::max();

TEST(BucketOfTest, bucketsHaveTheSameLength) {
    EXPECT_EQ(bucket_of(0.0, 0.0, 8.0, 4), 0U);
    EXPECT_EQ(bucket_of(1.999, 0.0, 8.0, 4), 0U);
    EXPECT_EQ(bucket_of(2.0, 0.0, 8.0, 4), 1U);
    EXPECT_EQ(bucket_of(4.0, 0.0, 8.0, 4), 2U);
    EXPECT_EQ(bucket_of(7.999, 0.0, 8.0, 4), 3U);
}

TEST(BucketOfTest, lastBucketHoldsTheEndOfTheRange) {
    EXPECT_EQ(bucket_of(8.0, 0.0, 8.0, 4), 3U);
    EXPECT_EQ(bucket_of(-1.0, -3.0, -1.0, 7), 6U);
}

TEST(BucketOfTest, emptyRangeHasOnlyTheFirstBucket) {
    EXPECT_EQ(bucket_of(5.0, 5.0, 5.0, 10), 0U);
}

TEST(BucketOfTest, rangeMayBeLongerThanTheGreatestNumber) {
    EXPECT_EQ(bucket_of(-greatest, -greatest, greatest, 10), 0U);
    EXPECT_EQ(bucket_of(0.0, -greatest, greatest, 10), 5U);
    EXPECT_EQ(bucket_of(greatest, -greatest, greatest, 10), 9U);
}

TEST(BucketOfTest, rangeMayBeAsShortAsTwoNeighbours) {
    const double next = std::nextafter(1.0, 2.0);
    EXPECT_EQ(bucket_of(1.0, 1.0, next, 3), 0U);
    EXPECT_EQ(bucket_of(next, 1.0, next, 3), 2U);
    const double tiny = std::numeric_limits<double>::denorm_min();
    EXPECT_EQ(bucket_of(0.0, 0.0, tiny, 3), 0U);
    EXPECT_EQ(bucket_of(tiny, 0.0, tiny, 3), 2U);
}

TEST(BucketOfTest, neverDecreasesWhileTheTimeIncreases) {
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        std::uniform_real_distribution<double> any(-10.0, 10.0);
        double from = any(random);
        double to = any(random);
        if (to < from) {
            std::swap(from, to);
        }
        const std::size_t bucketCount = 1 + random() % 50;
        std::uniform_real_distribution<double> inside(from, to);
        double time = inside(random);
        double later = inside(random);
        if (later < time) {
            std::swap(time, later);
        }
        EXPECT_LE(bucket_of(time, from, to, bucketCount), bucket_of(later, from, to, bucketCount));
        EXPECT_LT(bucket_of(later, from, to, bucketCount), bucketCount);
    }
}

} // namespace
} // namespace logging2::core::test
