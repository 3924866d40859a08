#include <examples/simulate/report/csv.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/models/DcMotor.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/integration/support/runs.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>

namespace {

using simulate::GroupResult;

std::vector<std::vector<double>> parse(const std::string& text) {
    std::vector<std::vector<double>> rows;
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line); // the header
    while (std::getline(lines, line)) {
        rows.emplace_back();
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');) {
            rows.back().push_back(std::strtod(cell.c_str(), nullptr));
        }
    }
    return rows;
}

/// The expected row of the file: the time, then each component of each path.
std::vector<double> expected_row(const GroupResult& group, std::size_t sample) {
    std::vector<double> row{group.times[sample]};
    for (std::size_t path = 0; path < group.values.size(); ++path) {
        const std::size_t width = group.info.paths[path].width();
        for (std::size_t component = 0; component < width; ++component) {
            row.push_back(group.values[path][sample * width + component]);
        }
    }
    return row;
}

TEST(CsvTest, contentIsExact) {
    const logging2::core::test::TemporaryDirectory directory;
    const auto run = integration::run_model(simulate::DcMotor(), 0.5);
    for (const GroupResult& group : run.groups) {
        simulate::write_csv(group, "s", directory.path() / "file.csv");
        const auto rows = parse(logging2::core::test::bytesOf(directory.path() / "file.csv"));
        ASSERT_EQ(rows.size(), group.times.size());
        for (std::size_t sample = 0; sample < rows.size(); ++sample) {
            EXPECT_TRUE(integration::same_bits(rows[sample], expected_row(group, sample)));
        }
    }
}

TEST(CsvTest, headerNamesEveryColumnWithItsUnit) {
    const auto groups = simulate::DcMotor().groups();
    EXPECT_EQ(simulate::csv_header({groups[0], {}, {}}, "s"),
              "time [s],motor.state.current [A],motor.state.speed [rad/s],motor.state.angle [rad],"
              "load.torque [N m]");
    EXPECT_EQ(simulate::csv_header({groups[1], {}, {}}, "1"),
              "time [1],controller.setpoint [rad/s],controller.measured [rad/s],"
              "controller.output [V],motor.voltage [V]");
}

TEST(CsvTest, numbersKeepAllDigits) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {0.0, -0.0, 0.1, 1.0 / 3, -2e300, Limits::denorm_min(), Limits::max(),
                               Limits::infinity(), 123456789.123456789}) {
        std::string text;
        simulate::append_number(text, value);
        EXPECT_TRUE(integration::same_bits({std::strtod(text.c_str(), nullptr)}, {value})) << text;
    }
}

TEST(CsvTest, emptyResultWritesOnlyAHeader) {
    const logging2::core::test::TemporaryDirectory directory;
    const simulate::GroupInfo info{0, "g", false, {{"a", 0, {{"", "length", "m"}}}}, {}};
    simulate::write_csv({info, {}, {{}}}, "s", directory.path() / "file.csv");
    EXPECT_EQ(logging2::core::test::bytesOf(directory.path() / "file.csv"), "time [s],a [m]\n");
}

TEST(CsvTest, fullDiskIsAnError) {
    const simulate::GroupInfo info{0, "g", false, {{"a", 0, {{"", "length", "m"}}}}, {}};
    EXPECT_THROW(simulate::write_csv({info, {1}, {{2}}}, "s", "/dev/full"), simulate::HostError);
}

} // namespace
