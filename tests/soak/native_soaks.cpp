#include <logging2/logging2.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/soak/batch_files.hpp>
#include <tests/soak/samples.hpp>
#include <tests/soak/soaks.hpp>
#include <tests/support/files.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

namespace logging2::core::test {
namespace {

constexpr std::size_t writerCount = 100;
constexpr std::size_t callerBatchRowCount = 50000;

/// Every path counts in the size of a buffer. With this many paths of one channel, a buffer is full
/// at 32,768 rows.
constexpr std::size_t manyPaths = 255;

/// The number of paths with which the run fills at least 24 buffers; one or two for a hundred
/// million rows.
std::size_t few_paths_for(std::size_t rowCount) {
    constexpr std::size_t bufferRowCount = 8388608; // without any path
    return std::max<std::size_t>(1, bufferRowCount / std::max<std::size_t>(1, rowCount / 24));
}

GroupSetup paths_of_one_channel(std::size_t pathCount) {
    std::vector<LoggedPath> shown;
    for (std::size_t i = 0; i < pathCount; ++i) {
        shown.push_back({ValuePath("x" + std::to_string(i)), CoreDataId(0)});
    }
    return GroupSetup{{Group(0), LoggedPathsSetupData(std::move(shown), channels({{0, 1}}))}};
}

void write_row(StreamWriter& writer, std::size_t row) {
    const double value = value_of(row);
    writer.write(0, time_of(row), &value, 1);
}

void check_through_reader(const NativeStreamWriter& writer, std::size_t firstRow,
                          std::size_t endRow, Findings& findings) {
    const NativeStreamReader reader(writer.dataStore(ValuePath("x")));
    const auto [times, values] = reader.timeseries();
    findings.resident.sample(endRow - 1);
    const std::size_t count = std::min({times.size(), values.size(), endRow - firstRow});
    for (std::size_t i = 0; i < count; ++i) {
        const bool right = times[i] == time_of(firstRow + i) && values[i] == value_of(firstRow + i);
        ++(right ? findings.right : findings.wrong);
    }
    findings.wrong += std::max(times.size(), values.size()) - count;
}

void soak_one_of_chain(std::size_t firstRow, std::size_t endRow, Findings& findings) {
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    for (std::size_t row = firstRow; row < endRow; ++row) {
        write_row(writer, row);
        findings.resident.at(row);
        if (row % callerBatchRowCount == callerBatchRowCount - 1) {
            writer.flushIntermediate();
            writer.clearBuffer();
        }
    }
    writer.flush();
    check_through_reader(writer, firstRow, endRow, findings);
}

/// Waits until the file holds that many doubles, for at most five minutes. It is the last file that
/// a batch is written to.
bool wait_until_file_holds(const std::filesystem::path& file, std::size_t count) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(5);
    std::error_code missing;
    while (std::filesystem::file_size(file, missing) != count * sizeof(double)) {
        if (std::chrono::steady_clock::now() > giveUp) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

Findings soak_one_writer(std::size_t rowCount, std::size_t pathCount, bool paced) {
    const SystemTempDirectory directory;
    NativeStreamWriter writer(StreamingAttributes{}, paths_of_one_channel(pathCount));
    const auto store = boost::any_cast<NativeDatastore>(writer.dataStore(ValuePath("x0")));
    // All paths show one channel, whose file is named after the first of them.
    const std::filesystem::path values = native(store.valuesLocation());
    const std::size_t batchRowCount = writer.getBufferSize(0);
    Findings findings(rowCount);
    findings.mayLose = !paced;
    for (std::size_t row = 0; row < rowCount; ++row) {
        const bool fills = row % batchRowCount == batchRowCount - 1 && row >= batchRowCount;
        if (paced && fills && !wait_until_file_holds(values, row + 1 - batchRowCount)) {
            break;
        }
        write_row(writer, row);
        findings.resident.at(row);
    }
    writer.flush();
    count_rows(native(store.timesLocation()), values, batchRowCount, findings);
    return findings;
}

} // namespace

Findings soak_native_chain(std::size_t rowCount) {
    const SystemTempDirectory directory;
    Findings findings(rowCount);
    for (std::size_t i = 0; i < writerCount; ++i) {
        soak_one_of_chain(rowCount * i / writerCount, rowCount * (i + 1) / writerCount, findings);
    }
    return findings;
}

Findings soak_native_small_buffers(std::size_t rowCount) {
    return soak_one_writer(rowCount, manyPaths, true);
}

Findings soak_native_large_buffers(std::size_t rowCount) {
    return soak_one_writer(rowCount, few_paths_for(rowCount), true);
}

Findings soak_native_unpaced(std::size_t rowCount) {
    return soak_one_writer(rowCount, manyPaths, false);
}

} // namespace logging2::core::test
