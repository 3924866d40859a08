#include <benchmarks/contenders/checks.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <numeric>

namespace logging2::core::bench {
namespace {

std::size_t read_doubles(std::ifstream& file, std::vector<double>& values, std::size_t count) {
    values.resize(count);
    file.read(reinterpret_cast<char*>(values.data()),
              static_cast<std::streamsize>(count * sizeof(double)));
    return static_cast<std::size_t>(file.gcount()) / sizeof(double);
}

} // namespace

ColumnCheck::ColumnCheck(const Rows& expected, ColumnId column)
    : rows(expected),
      group(column.group),
      valueCount(expected.workload().groups.at(group).widths.at(column.channel)) {
    const std::vector<std::size_t>& widths = rows.workload().groups[group].widths;
    offset = std::accumulate(widths.begin(),
                             widths.begin() + static_cast<std::ptrdiff_t>(column.channel), offset);
}

void ColumnCheck::take(const double* times, const double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t step = Rows::stepAt(times[i]);
        const bool known = Rows::time(step) == times[i] && step < rows.workload().stepCount;
        if (!known || step < nextStep) {
            throw Mismatch(fmt::format("group {}: unexpected time {}", group, times[i]));
        }
        const double* expected = rows.values(group, step) + offset;
        if (!std::equal(expected, expected + valueCount, values + i * valueCount)) {
            throw Mismatch(fmt::format("group {}, step {}: a value differs", group, step));
        }
        if (step > nextStep) {
            gaps.push_back({nextStep, step});
        }
        nextStep = step + 1;
    }
    found += count;
}

std::vector<StepRange> ColumnCheck::missingSteps() const {
    std::vector<StepRange> missing = gaps;
    if (const std::size_t end = rows.workload().stepCount; nextStep < end) {
        missing.push_back({nextStep, end});
    }
    return missing;
}

void check_column(const Rows& rows, ColumnId column, const std::vector<double>& times,
                  const std::vector<double>& values, std::size_t stepCount) {
    ColumnCheck check(rows, column);
    check_count(times.size(), stepCount);
    check_count(values.size(), stepCount * check.width());
    if (stepCount > 0 && times.back() != Rows::time(rows.workload().stepCount - 1)) {
        throw Mismatch("the last step is missing");
    }
    check.take(times.data(), values.data(), times.size());
}

void check_row(const Rows& rows, std::size_t group, std::size_t step, double time,
               const double* values) {
    const double* expected = rows.values(group, step);
    const std::size_t valueCount = rows.workload().groups[group].valueCount();
    if (time != Rows::time(step) || !std::equal(expected, expected + valueCount, values)) {
        throw Mismatch(fmt::format("group {}, step {}: the row differs", group, step));
    }
}

void check_rows(const Rows& rows, const double* found) {
    for (std::size_t step = 0; step < rows.workload().stepCount; ++step) {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            check_row(rows, group, step, found[0], found + 1);
            found += rows.workload().groups[group].valueCount() + 1;
        }
    }
}

std::vector<StepRange> check_files(const Rows& rows, ColumnId column,
                                   const std::filesystem::path& timesPath,
                                   const std::filesystem::path& valuesPath) {
    constexpr std::size_t pieceStepCount = 8192;
    ColumnCheck check(rows, column);
    std::ifstream timesFile(timesPath, std::ios::binary);
    std::ifstream valuesFile(valuesPath, std::ios::binary);
    std::vector<double> times;
    std::vector<double> values;
    std::size_t count = pieceStepCount;
    while (count == pieceStepCount) {
        count = read_doubles(timesFile, times, pieceStepCount);
        check_count(read_doubles(valuesFile, values, pieceStepCount * check.width()),
                    count * check.width());
        check.take(times.data(), values.data(), count);
    }
    return check.missingSteps();
}

void check_count(std::size_t found, std::size_t expected) {
    if (found != expected) {
        throw Mismatch(fmt::format("found {} elements, expected {}", found, expected));
    }
}

} // namespace logging2::core::bench
