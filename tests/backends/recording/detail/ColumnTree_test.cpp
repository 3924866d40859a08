#include <logging2/backends/recording/detail/ColumnTree.hpp>

#include <tests/support/nan.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <random>
#include <vector>

namespace logging2::core::detail {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

void expect_range(const ElementRange& range, double least, double greatest, double nanCount) {
    EXPECT_EQ(range.least, least);
    EXPECT_EQ(range.greatest, greatest);
    EXPECT_EQ(range.nanCount, nanCount);
}

std::vector<double> leaf_of(const std::vector<double>& samples, std::size_t width) {
    std::vector<double> leaf(node_double_count(width));
    write_leaf(samples.data(), width == 0 ? 0 : samples.size() / width, width, leaf.data());
    return leaf;
}

/// The range of one element, value by value.
ElementRange naive_range(const std::vector<double>& samples, std::size_t width,
                         std::size_t element) {
    ElementRange range;
    for (std::size_t i = element; i < samples.size(); i += width) {
        if (samples[i] != samples[i]) {
            range.nanCount += 1;
        } else {
            range.least = std::min(range.least, samples[i]);
            range.greatest = std::max(range.greatest, samples[i]);
        }
    }
    return range;
}

std::vector<double> random_samples(std::mt19937& random, std::size_t count) {
    std::vector<double> samples(count);
    for (double& value : samples) {
        const auto pick = random() % 20;
        value = pick == 0   ? nan
                : pick == 1 ? infinity
                : pick == 2 ? -infinity
                            : static_cast<double>(random()) - 2e9;
    }
    return samples;
}

TEST(ColumnTreeTest, leafOfNanHasNoLeastAndNoGreatest) {
    const auto leaf = leaf_of({nan, nan, nan}, 1);
    expect_range(range_of_node(leaf.data(), 0), infinity, -infinity, 3);
}

TEST(ColumnTreeTest, infinitiesAreNumbers) {
    const auto leaf = leaf_of({infinity, 1.0, -infinity, nan}, 1);
    expect_range(range_of_node(leaf.data(), 0), -infinity, infinity, 1);
}

TEST(ColumnTreeTest, everyElementHasARangeOfItsOwn) {
    const auto leaf = leaf_of({1.0, 10.0, nan, 2.0, -5.0, 7.0}, 3);
    expect_range(range_of_node(leaf.data(), 0), 1.0, 2.0, 0);
    expect_range(range_of_node(leaf.data(), 1), -5.0, 10.0, 0);
    expect_range(range_of_node(leaf.data(), 2), 7.0, 7.0, 1);
}

TEST(ColumnTreeTest, rangesEqualThoseOfAPlainLoop) {
    std::mt19937 random(1);
    for (const std::size_t width : {1U, 2U, 3U, 9U, 100U}) {
        for (std::size_t count = 0; count < 40; ++count) {
            const auto samples = random_samples(random, count * width);
            const auto leaf = leaf_of(samples, width);
            for (std::size_t element = 0; element < width; ++element) {
                const ElementRange range = naive_range(samples, width, element);
                expect_range(range_of_node(leaf.data(), element), range.least, range.greatest,
                             range.nanCount);
            }
        }
    }
}

TEST(ColumnTreeTest, leafHasTheHashOfItsSamples) {
    const std::vector<double> samples{1.0, -0.0, nan, 4.0};
    EXPECT_EQ(hash_of_node(leaf_of(samples, 2).data()), hash_of(samples.data(), 4 * 8));
}

TEST(ColumnTreeTest, nodeHasTheHashAndTheRangesOfItsNodes) {
    std::vector<double> nodes = leaf_of({1.0, nan, 3.0, 4.0}, 2);
    const auto second = leaf_of({-1.0, nan}, 2);
    nodes.insert(nodes.end(), second.begin(), second.end());
    std::vector<double> above(node_double_count(2));
    write_node(nodes.data(), 2, 2, above.data());
    EXPECT_EQ(hash_of_node(above.data()), hash_of(nodes.data(), nodes.size() * sizeof(double)));
    expect_range(range_of_node(above.data(), 0), -1.0, 3.0, 0);
    expect_range(range_of_node(above.data(), 1), 4.0, 4.0, 2);
}

TEST(ColumnTreeTest, columnOfWidthZeroHasOnlyAHash) {
    const auto leaf = leaf_of({}, 0);
    ASSERT_EQ(leaf.size(), 1U);
    EXPECT_EQ(hash_of_node(leaf.data()), hash_of(nullptr, 0));
}

} // namespace
} // namespace logging2::core::detail
