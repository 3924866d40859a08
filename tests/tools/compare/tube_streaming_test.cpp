#include <tools/compare/compare_tubes.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace logging2::tools {
namespace {

constexpr std::size_t sampleCount = 100000;

/// Gives samples at 0, 1, 2, ... and notes how far it gets ahead of the other source.
class RacingSource : public SampleSource {
public:
    const Sample* next() override {
        if (givenCount == sampleCount) {
            return nullptr;
        }
        value = static_cast<double>(givenCount % 7);
        sample = {static_cast<double>(givenCount), {&value, 1}, givenCount};
        ++givenCount;
        longestLead = std::max(longestLead, givenCount - std::min(givenCount, other->givenCount));
        return &sample;
    }

    const RacingSource* other = nullptr;
    std::size_t givenCount = 0;
    std::size_t longestLead = 0;

private:
    double value = 0;
    Sample sample;
};

/// The longest lead of one source while two of them are compared.
std::size_t longest_lead(double timeTolerance) {
    TubeSettings settings;
    settings.allowed = {0};
    settings.timeTolerance = timeTolerance;
    RacingSource a;
    RacingSource b;
    a.other = &b;
    b.other = &a;
    EXPECT_FALSE(compare_tubes(a, b, settings)->differs());
    EXPECT_EQ(a.givenCount, sampleCount);
    EXPECT_EQ(b.givenCount, sampleCount);
    return std::max(a.longestLead, b.longestLead);
}

TEST(TubeStreamingTest, noSideIsReadFartherThanTheWindow) {
    EXPECT_LE(longest_lead(0), 2U);
    EXPECT_LE(longest_lead(10), 12U);
}

} // namespace
} // namespace logging2::tools
