#include <examples/simulate/report/table.hpp>

#include <gtest/gtest.h>

#include <sstream>

namespace {

using simulate::GroupResult;

GroupResult wide_group() {
    return {{0,
             "g",
             false,
             {{"level", 0, {{"", "level", "m"}}}, {"point", 1, {{"x", "x", "m"}, {"y", "y", "V"}}}},
             {}},
            {0.5, 1, 2.25},
            {{3, -1, 2}, {1, 10, 2, 20, 3, 30}}};
}

TEST(TableTest, hasOneLinePerComponent) {
    std::ostringstream out;
    simulate::print_table(out, {wide_group()}, "s");
    EXPECT_EQ(out.str(),
              "path         samples    first [s]     last [s]      minimum      maximum  unit\n"
              "level              3          0.5         2.25           -1            3  m\n"
              "point.x            3          0.5         2.25            1            3  m\n"
              "point.y            3          0.5         2.25           10           30  V\n");
}

TEST(TableTest, groupWithoutSamplesShowsDashes) {
    GroupResult group = wide_group();
    group.times.clear();
    group.values = {{}, {}};
    std::ostringstream out;
    simulate::print_table(out, {group}, "s");
    EXPECT_NE(
        out.str().find("level              0            -            -            -            -"),
        std::string::npos)
        << out.str();
}

TEST(TableTest, summaryReportsStepsAndRate) {
    std::ostringstream out;
    simulate::print_summary(out, {{1000, 12, 0}, 0.5});
    EXPECT_EQ(out.str(), "steps logged      1000\n"
                         "steps taken back  12\n"
                         "rows per second   2000 (solving and logging: 0.5 s)\n");
}

TEST(TableTest, summaryReportsRejectedStepsThatWereKept) {
    std::ostringstream out;
    simulate::print_summary(out, {{1000, 0, 12}, 0.5});
    EXPECT_NE(out.str().find("steps kept        12 (RollbackNotSupported: "), std::string::npos);
    EXPECT_NE(out.str().find("rejected steps stay in the result"), std::string::npos);
}

} // namespace
