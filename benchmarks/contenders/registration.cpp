#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/KeptFiles.hpp>
#include <benchmarks/contenders/TemporaryDirectory.hpp>
#include <benchmarks/contenders/files/channel_files.hpp>
#include <benchmarks/process/warm_memory.hpp>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <fstream>
#include <utility>
#include <vector>

namespace logging2::core::bench {
namespace {

using Clock = std::chrono::steady_clock;

double stepFactor = 1;
std::filesystem::path parentOfKeptFiles;
bool allVerified = true;

const std::vector<std::string>& workloads_for(Suits suits) {
    static const std::vector<std::string> oneGroup{
        "W1",       "W2",        "W4",        "W5",                      // in full
        "8x900000", "100x80000", "1x4000000", "1000x8000",               // no buffer fills
        "8x100000", "8x300000",  "8x1000000", "8x3000000", "8x10000000", // growing in steps
        "10x30000", "30x30000",  "100x30000", "300x30000", "1000x30000", // growing in channels
        "8x10000",  "1x1000000"};                                        // rolled back
    // Of a recording.
    static const std::vector<std::string> oneScalar{"1x100000", "1x10000000", "1x100000000"};
    static const std::vector<std::string> anyGroups = [] {
        std::vector<std::string> names{"W3", "WL", "WR", "10000x8x400"};
        names.insert(names.end(), oneGroup.begin(), oneGroup.end());
        names.insert(names.end(), oneScalar.begin(), oneScalar.end());
        return names;
    }();
    static const std::vector<std::string> reading{"1x67108864"};
    switch (suits) {
    case Suits::anyGroups:
        return anyGroups;
    case Suits::oneGroup:
        return oneGroup;
    case Suits::oneScalar:
        return oneScalar;
    default:
        return reading;
    }
}

/// Returns roughly the memory that the contender with the largest memory use needs, or a little
/// more: every row in its own blocks with a handle, and then the columns or the pages of the files.
/// The result is limited, because warming more memory would take too long; only workloads of a
/// growing size exceed the limit.
std::size_t hungriest_byte_count(const Workload& workload) {
    constexpr std::size_t mebibyte = std::size_t{1} << 20;
    constexpr std::size_t handleByteCount = 100; // per row
    const std::size_t handles = workload.rowCount() * handleByteCount;
    return std::min(2 * workload.byteCount() + handles + 64 * mebibyte, 1536 * mebibyte);
}

/// Returns the number behind the key in a file of /proc/self.
double number_in(const char* file, const std::string& key) {
    std::ifstream status(file);
    std::string word;
    while (status >> word && word != key) {
    }
    double number = 0;
    status >> number;
    return number;
}

/// Returns the peak of this process's resident memory. getrusage is not used, because its result
/// includes the process that started this one.
double peak_kib() {
    return number_in("/proc/self/status", "VmHWM:");
}

/// Returns how many bytes this process has read from files.
double read_byte_count() {
    return number_in("/proc/self/io", "rchar:");
}

double stored_byte_count(const std::filesystem::path& directory) {
    std::uintmax_t sum = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        sum += entry.is_regular_file() ? entry.file_size() : 0;
    }
    return static_cast<double>(sum);
}

template <class Function>
double seconds_of(Function function) {
    const Clock::time_point start = Clock::now();
    function();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Runs the contender, and compares what it stored.
void measure(benchmark::State& state, Contender& contender, const Workload& workload,
             const std::filesystem::path& directory) {
    const auto rowCount = static_cast<double>(workload.rowCount());
    const double kibBefore = peak_kib();
    contender.prepare();
    for (auto _ : state) {
        const double readBefore = read_byte_count();
        const double runTime = seconds_of([&] { contender.run(); });
        state.counters["run_ms"] = 1e3 * runTime;
        state.counters["read_percent"] =
            100 * (read_byte_count() - readBefore) / static_cast<double>(workload.byteCount());
        state.counters["run_peak_kib"] = peak_kib();
        const double finishTime = seconds_of([&] { contender.finish(); });
        state.counters["finish_peak_kib"] = peak_kib();
        state.counters["grown_mib"] = (peak_kib() - kibBefore) / 1024;
        state.SetIterationTime(runTime + finishTime);
        state.counters["run_ns_per_row"] = 1e9 * runTime / rowCount;
        state.counters["finish_ns_per_row"] = 1e9 * finishTime / rowCount;
    }
    for (const auto& [name, value] : contender.results()) {
        state.counters[name] = value;
    }
    state.counters["rows"] = rowCount;
    state.counters["bytes_per_row"] = static_cast<double>(workload.byteCount()) / rowCount;
    state.counters["stored_bytes_per_row"] = stored_byte_count(directory) / rowCount;
    state.counters["rows_lost"] = static_cast<double>(contender.check());
    state.SetLabel(workload.description());
}

void measure_on(benchmark::State& state, const std::string& workloadName,
                const ContenderMaker& make) {
    try {
        const Rows rows(scaled(workload_named(workloadName), stepFactor));
        warm_memory(hungriest_byte_count(rows.workload()));
        const TemporaryDirectory directory;
        set_temp_directory(directory.path());
        KeptFiles files(parentOfKeptFiles);
        const auto contender = make(rows, directory.path());
        measure(state, *contender, rows.workload(), directory.path());
        files.keep(directory.path());
    } catch (const std::exception& error) {
        allVerified = false;
        state.SkipWithError(error.what());
    }
}

} // namespace

bool add_contender(const std::string& name, Suits suits, const ContenderMaker& make) {
    for (const std::string& workload : workloads_for(suits)) {
        auto* const family = benchmark::RegisterBenchmark(
            (name + "/" + workload).c_str(),
            [=](benchmark::State& state) { measure_on(state, workload, make); });
        family->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
    }
    return true;
}

void set_scale(double factor) {
    stepFactor = factor;
}

void keep_files_in(std::filesystem::path parent) {
    parentOfKeptFiles = std::move(parent);
}

bool all_verified() {
    return allVerified;
}

} // namespace logging2::core::bench
