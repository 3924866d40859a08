#include <examples/simulate/report/samples.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using Indices = std::vector<std::size_t>;

TEST(SamplesTest, sampleFollowedByAnEarlierTimeIsRejected) {
    struct Case {
        std::vector<double> times;
        Indices rejected;
    };
    const std::vector<Case> cases{{{}, {}},
                                  {{1}, {}},
                                  {{0, 1, 2}, {}},
                                  {{0, 1, 1, 2}, {}},
                                  {{0, 1, 3, 2, 2, 4}, {2}},
                                  {{0, 5, 6, 2, 3, 4, 3.5}, {1, 2, 5}}};
    for (const Case& one : cases) {
        EXPECT_EQ(simulate::rejected_samples(one.times), one.rejected);
        EXPECT_EQ(simulate::accepted_samples(one.times).size(),
                  one.times.size() - one.rejected.size());
    }
}

TEST(SamplesTest, acceptedSamplesAreTheOthers) {
    EXPECT_EQ(simulate::accepted_samples({0, 1, 3, 2, 2, 4}), (Indices{0, 1, 3, 4, 5}));
}

TEST(SamplesTest, componentsAreExtractedFromSampleMajorValues) {
    EXPECT_EQ(simulate::component_of({1, 2, 3, 4, 5, 6}, 3, 1), (std::vector<double>{2, 5}));
    EXPECT_EQ(simulate::component_of({1, 2}, 1, 0), (std::vector<double>{1, 2}));
    EXPECT_TRUE(simulate::component_of({}, 3, 2).empty());
}

TEST(SamplesTest, fewSamplesAreNotThinned) {
    EXPECT_EQ(simulate::thin_samples({3, 4, 7}, std::vector<double>(8), 3), (Indices{3, 4, 7}));
}

TEST(SamplesTest, thinningKeepsEndsExtremesAndOrder) {
    std::vector<double> values(10000);
    for (std::size_t k = 0; k < values.size(); ++k) {
        values[k] = std::sin(static_cast<double>(k) / 100);
    }
    values[4321] = 7;
    values[8765] = -7;
    Indices all(values.size());
    std::iota(all.begin(), all.end(), std::size_t{0});
    const Indices thinned = simulate::thin_samples(all, values, 100);
    EXPECT_LE(thinned.size(), 102u);
    EXPECT_EQ(thinned.front(), 0u);
    EXPECT_EQ(thinned.back(), values.size() - 1);
    EXPECT_TRUE(std::is_sorted(thinned.begin(), thinned.end()));
    EXPECT_EQ(std::adjacent_find(thinned.begin(), thinned.end()), thinned.end());
    EXPECT_EQ(std::count(thinned.begin(), thinned.end(), 4321u), 1);
    EXPECT_EQ(std::count(thinned.begin(), thinned.end(), 8765u), 1);
}

} // namespace
