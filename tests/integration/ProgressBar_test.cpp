#include <examples/simulate/report/ProgressBar.hpp>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace std::chrono_literals;

using simulate::ProgressBar;

class ProgressBarTest : public testing::Test {
protected:
    std::function<ProgressBar::Clock::time_point()> clock() {
        return [this] { return time; };
    }

    ProgressBar::Clock::time_point time{};
    std::ostringstream out;
};

TEST_F(ProgressBarTest, shortRunShowsNothing) {
    {
        ProgressBar bar(out, true, 10, clock());
        time += 900ms;
        bar.show(9);
    }
    EXPECT_EQ(out.str(), "");
}

TEST_F(ProgressBarTest, runLongerThanASecondShowsItsProgress) {
    ProgressBar bar(out, true, 10, clock());
    time += 1100ms;
    bar.show(5);
    EXPECT_NE(out.str().find("[####################                    ] 50 %"), std::string::npos);
}

TEST_F(ProgressBarTest, drawsAtMostTenTimesASecond) {
    ProgressBar bar(out, true, 10, clock());
    time += 1100ms;
    bar.show(5);
    const std::string once = out.str();
    time += 50ms;
    bar.show(6);
    EXPECT_EQ(out.str(), once);
    time += 60ms;
    bar.show(6);
    EXPECT_NE(out.str(), once);
}

TEST_F(ProgressBarTest, isErasedAtTheEnd) {
    {
        ProgressBar bar(out, true, 10, clock());
        time += 2s;
        bar.show(5);
    }
    const std::string erase = "\r\x1b[K";
    ASSERT_GE(out.str().size(), erase.size());
    EXPECT_EQ(out.str().substr(out.str().size() - erase.size()), erase);
}

TEST_F(ProgressBarTest, showsNothingWithoutATerminal) {
    {
        ProgressBar bar(out, false, 10, clock());
        time += 5s;
        bar.show(5);
    }
    EXPECT_EQ(out.str(), "");
}

} // namespace
