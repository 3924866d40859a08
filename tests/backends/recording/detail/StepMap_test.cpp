#include <logging2/backends/recording/detail/StepMap.hpp>

#include <gmock/gmock.h>

#include <deque>
#include <optional>
#include <random>

namespace logging2::core::detail {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A map with its chunks, and the chunk of each step as plainly as possible.
class StepMapTest : public ::testing::Test {
protected:
    /// Adds a chunk of which these parts, first step in the chunk and number, are readable.
    void add(std::size_t firstStep, std::size_t stepCount,
             const std::vector<std::pair<std::size_t, std::size_t>>& parts) {
        ChunkRow row;
        row.firstStep = firstStep;
        row.storedStepCount = stepCount;
        chunks.push_back(row);
        std::vector<SampleSpan> spans;
        plain.resize(firstStep + stepCount);
        for (const auto& [first, count] : parts) {
            spans.push_back({&chunks.back(), first, count});
            for (std::size_t step = first; step < first + count; ++step) {
                plain[firstStep + step] = &chunks.back();
            }
        }
        map.add(chunks.back(), spans);
    }

    void add(std::size_t firstStep, std::size_t stepCount) {
        add(firstStep, stepCount, {{0, stepCount}});
    }

    void discardFrom(std::size_t step) {
        plain.resize(std::min(plain.size(), step));
        map.discardFrom(step);
    }

    void expectAsPlain() const {
        std::size_t step = 0;
        const auto spans = map.readable();
        auto span = spans.begin();
        std::vector<std::pair<std::size_t, std::size_t>> missing;
        while (step < plain.size()) {
            if (plain[step] == nullptr) {
                if (missing.empty() || missing.back().first + missing.back().second != step) {
                    missing.emplace_back(step, 0);
                }
                ++missing.back().second;
                ++step;
                continue;
            }
            ASSERT_NE(span, spans.end());
            for (std::size_t i = 0; i < span->count; ++i, ++step) {
                ASSERT_EQ(plain.at(step), span->chunk);
                ASSERT_EQ(step, span->chunk->firstStep + span->first + i);
            }
            ++span;
        }
        EXPECT_EQ(span, spans.end());
        EXPECT_EQ(map.missing(), missing);
    }

    std::deque<ChunkRow> chunks;
    std::vector<const ChunkRow*> plain;
    StepMap map;
};

TEST_F(StepMapTest, emptyMapHasNothing) {
    EXPECT_THAT(map.readable(), IsEmpty());
    EXPECT_THAT(map.missing(), IsEmpty());
}

TEST_F(StepMapTest, chunkReplacesWhatItCovers) {
    add(0, 10);
    add(5, 10);
    expectAsPlain();
    EXPECT_EQ(map.readable()[0].count, 5U);
    EXPECT_EQ(map.readable()[1].count, 10U);
}

TEST_F(StepMapTest, chunkCutsOffWhatIsBehindIt) {
    add(0, 10);
    add(2, 3);
    expectAsPlain();
    EXPECT_THAT(map.missing(), IsEmpty());
}

TEST_F(StepMapTest, unreadableStepsKeepWhatWasThere) {
    add(0, 10);
    add(0, 20, {{15, 5}});
    expectAsPlain();
    EXPECT_THAT(map.missing(), ElementsAre(Pair(10, 5)));
}

TEST_F(StepMapTest, gapBetweenChunksIsMissing) {
    add(0, 10);
    add(30, 5);
    EXPECT_THAT(map.missing(), ElementsAre(Pair(10, 20)));
}

TEST_F(StepMapTest, discardEndsTheGroup) {
    add(0, 10);
    add(30, 5, {});
    discardFrom(20);
    EXPECT_THAT(map.missing(), ElementsAre(Pair(10, 10)));
    discardFrom(4);
    EXPECT_THAT(map.missing(), IsEmpty());
    EXPECT_EQ(map.readable()[0].count, 4U);
    discardFrom(100);
    expectAsPlain();
}

TEST_F(StepMapTest, randomChangesGiveTheSameAsAPlainList) {
    std::mt19937 random(1);
    const auto below = [&](std::size_t end) { return random() % end; };
    for (int change = 0; change < 2000 && !HasFailure(); ++change) {
        const std::size_t firstStep = below(100);
        const std::size_t stepCount = 1 + below(30);
        if (below(5) == 0) {
            discardFrom(firstStep);
        } else if (below(2) == 0) {
            add(firstStep, stepCount);
        } else {
            const std::size_t first = below(stepCount);
            add(firstStep, stepCount, {{first, 1 + below(stepCount - first)}});
        }
        expectAsPlain();
    }
}

} // namespace
} // namespace logging2::core::detail
