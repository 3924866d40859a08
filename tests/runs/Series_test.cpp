#include <logging2/runs/runs.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<double> doubles(const DoubleView& view) {
    return {view.begin(), view.end()};
}

/// Two samples of a signal of width 2.
Series twoPairs() {
    const auto owner =
        std::make_shared<std::vector<double>>(std::vector<double>{0.5, 1.5, 1.0, 2.0, 3.0, 4.0});
    return {{owner->data(), 2}, {owner->data() + 2, 4}, 2, owner, false};
}

TEST(SeriesTest, hasNoSamplesByDefault) {
    const Series series;
    EXPECT_EQ(series.size(), 0U);
    EXPECT_EQ(series.width(), 0U);
    EXPECT_TRUE(series.times().empty());
    EXPECT_THAT(doubles(series.values()), IsEmpty());
    EXPECT_FALSE(series.isView());
}

TEST(SeriesTest, givesTimesAndValuesInOrder) {
    const Series series = twoPairs();
    EXPECT_EQ(series.size(), 2U);
    EXPECT_EQ(series.width(), 2U);
    EXPECT_THAT(doubles(series.times()), ElementsAre(0.5, 1.5));
    EXPECT_THAT(doubles(series.values()), ElementsAre(1.0, 2.0, 3.0, 4.0));
    EXPECT_EQ(series.values()[3], 4.0);
}

TEST(SeriesTest, structuredBindingTakesATemporaryApart) {
    const auto [times, values, width] = twoPairs();
    EXPECT_THAT(doubles(times), ElementsAre(0.5, 1.5));
    EXPECT_THAT(doubles(values), ElementsAre(1.0, 2.0, 3.0, 4.0));
    EXPECT_EQ(width, 2U);
}

TEST(SeriesTest, copyKeepsTheDataAlive) {
    auto series = std::make_unique<Series>(twoPairs());
    const Series copy = *series;
    series.reset();
    EXPECT_THAT(doubles(copy.times()), ElementsAre(0.5, 1.5));
}

TEST(SeriesTest, tellsWhetherItIsAViewOfAFile) {
    static const double element = 1.0;
    EXPECT_TRUE(Series({&element, 1}, {&element, 1}, 1, nullptr, true).isView());
    EXPECT_FALSE(twoPairs().isView());
}

} // namespace
} // namespace logging2::core::test
