#include <logging2/backends/recording/recording.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/soak/samples.hpp>
#include <tests/soak/soaks.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>

namespace logging2::core::test {
namespace {

/// Reads all rows in pieces, while the size of the process is watched as well.
void check_rows(const Run& run, Findings& findings) {
    constexpr std::size_t pieceRowCount = 1 << 20;
    for (std::size_t first = 0; first < findings.rowCount; first += pieceRowCount) {
        const std::size_t end = std::min(first + pieceRowCount, findings.rowCount);
        const auto [times, values, width] =
            run.series(ValuePath("x"), time_of(first), time_of(end - 1));
        for (std::size_t i = 0; i < times.size(); ++i) {
            const bool right = times[i] == time_of(first + i) && values[i] == value_of(first + i);
            ++(right ? findings.right : findings.wrong);
        }
    }
}

} // namespace

Findings soak_recording(std::size_t rowCount) {
    const TemporaryDirectory directory;
    RecordingOptions options;
    options.directory = directory.path().string();
    // Few rows wait to be written, because how many do depends on what else the machine does.
    options.chunkByteCount = std::size_t{256} << 10;
    options.bufferByteCount = std::size_t{4} << 20;
    RecordingStreamWriter writer(StreamingAttributes{}, scalarSetup(), options);
    Findings findings(rowCount);
    for (std::size_t row = 0; row < rowCount; ++row) {
        const double value = value_of(row);
        writer.write(0, time_of(row), &value, 1);
        findings.resident.at(row);
    }
    writer.flush();
    findings.resident.sample(rowCount);
    check_rows(*open_recording(writer.location()), findings);
    return findings;
}

} // namespace logging2::core::test
