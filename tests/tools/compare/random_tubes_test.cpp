#include <tests/support/nan.hpp>
#include <tests/tools/compare/VectorSource.hpp>
#include <tools/compare/Extent.hpp>
#include <tools/compare/compare_tubes.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <set>

namespace logging2::tools {
namespace {

using Points = std::vector<std::pair<double, double>>;

/// How many times are looked at between two neighbouring samples.
constexpr int lookCount = 64;

/// A comparison that looks at all points for each of many times. It has no window that slides, and
/// does not know where curves cross.
class Oracle {
public:
    Oracle(const Points& pointsA, const Points& pointsB, const TubeSettings& tubeSettings)
        : settings(tubeSettings),
          a(curve(pointsA)),
          b(curve(pointsB)) {
        const std::set<double> times = breakTimes();
        for (auto time = times.begin(); time != times.end(); ++time) {
            check(*time);
            const auto next = std::next(time);
            if (next != times.end()) {
                checkBetween(*time, *next);
            }
        }
    }

    bool differs = false;
    double largest = 0;
    double outside = 0;
    double duration = 0;

private:
    Points curve(const Points& points) const {
        Points result;
        for (const auto& point : points) {
            if (settings.holds && !result.empty()) {
                result.emplace_back(point.first, result.back().second);
            }
            result.push_back(point);
        }
        return result;
    }

    std::set<double> breakTimes() const {
        std::set<double> result;
        for (const Points* const points : {&a, &b}) {
            for (const auto& point : *points) {
                result.insert(point.first);
            }
        }
        return result;
    }

    static std::vector<double> valuesAt(const Points& points, double time) {
        std::vector<double> result;
        for (const auto& point : points) {
            if (point.first == time) {
                result.push_back(point.second);
            }
        }
        for (std::size_t i = 1; result.empty() && i < points.size(); ++i) {
            if (points[i - 1].first < time && time < points[i].first) {
                return {interpolated(points[i - 1].first, points[i - 1].second, points[i].first,
                                     points[i].second, time)};
            }
        }
        return result;
    }

    Extent tubeAt(const Points& points, double time) const {
        Extent result;
        const double left = time - settings.timeTolerance;
        const double right = time + settings.timeTolerance;
        for (const auto& point : points) {
            if (left <= point.first && point.first <= right) {
                result.include(point.second);
            }
        }
        for (const double edge : {left, time, right}) {
            for (const double value : valuesAt(points, edge)) {
                result.include(value);
            }
        }
        return result;
    }

    void checkBetween(double begin, double end) {
        for (int look = 0; look < lookCount; ++look) {
            const double share = (look + 0.5) / lookCount;
            outside += check(begin + share * (end - begin)) ? 0 : (end - begin) / lookCount;
        }
        duration += end - begin;
    }

    bool check(double time) {
        const bool aIsInside = check(a, b, time);
        const bool bIsInside = check(b, a, time);
        differs = differs || !aIsInside || !bIsInside;
        return aIsInside && bIsInside;
    }

    bool check(const Points& own, const Points& other, double time) {
        const Extent tube = tubeAt(other, time);
        bool isInside = true;
        for (const double value : valuesAt(own, time)) {
            const double deviation = tube.isEmpty() ? nan : tube.deviationOf(value);
            largest = std::max(largest, std::isnan(deviation) ? 0 : deviation);
            isInside = isInside && deviation <= settings.allowed[0];
        }
        return isInside;
    }

    const TubeSettings& settings;
    Points a;
    Points b;
};

class RandomSignals {
public:
    explicit RandomSignals(unsigned seed) : engine(seed), stepLength(seed % 2 == 0 ? 0.25 : 0.1) {}

    /// Up to nine points on a grid of times, which often repeat; the second signal is often close
    /// to the first one.
    Points points() {
        Points result;
        double time = number(0, 2) / 4.0;
        for (int count = number(0, 9); count > 0; --count) {
            result.emplace_back(time, value());
            time += number(0, 3) * stepLength;
        }
        return result;
    }

    Points changed(Points points) {
        for (auto& point : points) {
            point.second += number(0, 5) == 0 ? 0.5 : 0;
        }
        if (!points.empty() && number(0, 1) == 0) {
            points.erase(points.begin() + number(0, static_cast<int>(points.size()) - 1));
        }
        return points;
    }

    /// Points that go up and down, often so slowly that windows reach over several of them.
    Points zigzag() {
        Points result;
        const int slowest = number(1, 4);
        double time = 0;
        double level = 0;
        for (int count = number(3, 14); count > 0; --count) {
            level += number(-2, 2) / 4.0;
            result.emplace_back(time, number(0, 40) == 0 ? value() : level);
            time += number(number(0, 5) == 0 ? 0 : 1, slowest) * stepLength / 2;
        }
        return result;
    }

    /// The same a little later or earlier, and a little higher or lower.
    Points shifted(Points points) {
        const double later = number(-2, 2) * stepLength / 2;
        const double higher = number(-1, 1) / 4.0;
        for (auto& point : points) {
            point.first += later;
            point.second += higher;
        }
        if (points.size() > 2 && number(0, 2) == 0) {
            points.erase(points.begin() + number(1, static_cast<int>(points.size()) - 2));
        }
        return points;
    }

    /// The levels of zigzags are multiples of a quarter apart.
    TubeSettings closeSettings() {
        TubeSettings result;
        result.allowed = {number(0, 2) / 4.0 + (number(0, 1) == 0 ? 1.0 : -1.0) / 512};
        result.allowed[0] = std::max(result.allowed[0], 0.001);
        result.timeTolerance = number(1, 12) * stepLength / 2 + 1.0 / 64;
        result.holds = number(0, 2) == 0;
        return result;
    }

    TubeSettings settings() {
        TubeSettings result;
        // No two lines are apart by exactly as much, so that rounding does not matter.
        result.allowed = {number(0, 3) / 4.0 + 1.0 / 32};
        result.timeTolerance = number(0, 4) / 4.0;
        result.holds = number(0, 1) == 0;
        return result;
    }

    int number(int least, int greatest) {
        return std::uniform_int_distribution<int>(least, greatest)(engine);
    }

private:
    double value() {
        constexpr std::array<double, 3> others = {nan, infinity, -infinity};
        const int choice = number(0, 60);
        return choice < 3 ? others.at(static_cast<std::size_t>(choice)) : number(0, 4) / 2.0;
    }

    std::mt19937 engine;
    double stepLength; ///< exact in binary or not
};

/// The most by which a deviation changes between two neighbouring samples.
constexpr double steepest = 20;

/// Compares what is found with what a full search finds. Returns whether the signals differ.
bool agrees_with_oracle(const Points& a, const Points& b, const TubeSettings& settings,
                        unsigned seed) {
    VectorSource sourceA(scalar(a));
    VectorSource sourceB(scalar(b));
    const Comparison result = compare_tubes(sourceA, sourceB, settings).value();
    const Oracle oracle(a, b, settings);
    EXPECT_EQ(result.differs(), oracle.differs) << seed;
    if (oracle.largest > settings.allowed[0]) {
        EXPECT_GE(result.worst.largest, oracle.largest - 1e-12) << seed;
        EXPECT_LE(result.worst.largest, oracle.largest + steepest / lookCount) << seed;
    }
    if (oracle.duration > 0) {
        // Each crossing lies between two looks.
        EXPECT_NEAR(result.worst.share, oracle.outside / oracle.duration, 2.0 / lookCount) << seed;
    }
    return oracle.differs;
}

TEST(RandomTubesTest, slidingWindowFindsWhatAFullSearchFinds) {
    int differenceCount = 0;
    for (unsigned seed = 0; seed < 4000 && !HasFailure(); ++seed) {
        RandomSignals random(seed);
        const Points a = random.points();
        const Points b = random.number(0, 2) == 0 ? random.points() : random.changed(a);
        differenceCount += agrees_with_oracle(a, b, random.settings(), seed) ? 1 : 0;
    }
    EXPECT_GT(differenceCount, 1000);
    EXPECT_LT(differenceCount, 3000);
}

TEST(RandomTubesTest, intervalsThatAreJustInsideAndJustOutsideAreTold) {
    int differenceCount = 0;
    int sameCount = 0;
    for (unsigned seed = 0; seed < 6000 && !HasFailure(); ++seed) {
        RandomSignals random(seed);
        const Points a = random.zigzag();
        const TubeSettings settings = random.closeSettings();
        const bool isDifferent = agrees_with_oracle(a, random.shifted(a), settings, seed);
        ++(isDifferent ? differenceCount : sameCount);
    }
    EXPECT_GT(differenceCount, 1000);
    EXPECT_GT(sameCount, 1000);
}

} // namespace
} // namespace logging2::tools
