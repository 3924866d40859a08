#include <logging2/logging2.hpp>

#include <tests/soak/samples.hpp>
#include <tests/soak/soaks.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>

namespace logging2::core::test {
namespace {

constexpr std::size_t pointLimit = 10000;

/// Checks the rings, whose newest row is the one before endRow.
void check_rings(MemoryStreamRestrictedWriter& writer, std::size_t endRow, Findings& findings) {
    const auto& times = writer.times(0);
    const auto& rows = writer.data(0);
    const std::size_t count = std::min(times.size(), rows.size());
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t row = endRow - count + i;
        const std::vector<double>& values = *rows[i];
        const bool right =
            times[i] == time_of(row) && values.size() == 1 && values[0] == value_of(row);
        ++(right ? findings.right : findings.wrong);
    }
}

/// Reads the last rows of the run, which came after the last check of the rings.
void check_through_reader(const StreamWriter& writer, std::size_t newCount, Findings& findings) {
    const MemoryStreamReader reader(writer.dataStore(ValuePath("x")));
    const auto [times, values] = reader.timeseries();
    for (std::size_t i = times.size() - std::min(times.size(), newCount); i < times.size(); ++i) {
        const std::size_t row = findings.rowCount - times.size() + i;
        const bool right = times[i] == time_of(row) && values.at(i) == value_of(row);
        ++(right ? findings.right : findings.wrong);
    }
}

} // namespace

Findings soak_restricted(std::size_t rowCount) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    MemoryStreamRestrictedWriter writer(attributes, scalarSetup());
    Findings findings(rowCount);
    std::size_t checkedCount = 0;
    for (std::size_t row = 0; row < rowCount; ++row) {
        const double value = value_of(row);
        writer.write(0, time_of(row), &value, 1);
        findings.resident.at(row);
        if (row + 1 == checkedCount + pointLimit && row + 1 < rowCount) {
            check_rings(writer, row + 1, findings);
            checkedCount = row + 1;
        }
    }
    writer.flush();
    check_through_reader(writer, rowCount - checkedCount, findings);
    return findings;
}

} // namespace logging2::core::test
