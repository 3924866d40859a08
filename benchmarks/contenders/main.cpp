#include <benchmarks/contenders/catalogue.hpp>
#include <benchmarks/process/guarded_main.hpp>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

// One contender, one workload, one process: tells on standard output what it took, as soon as the
// rows are stored, and then whether they can be read back.

namespace logging2::core::bench {
namespace {

struct Options {
    std::string contender;
    std::string workload;
    std::string directory;
    double scale = 1;
};

using Clock = std::chrono::steady_clock;

long peak_kib() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

template <class Function>
long long nanoseconds_of(Function function) {
    const Clock::time_point start = Clock::now();
    function();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
}

void report(const std::string& line) {
    fmt::print("{}\n", line);
    std::fflush(stdout);
}

void run(const Options& options) {
    const ContenderInfo& info = contender_named(options.contender);
    const Rows rows(scaled(workload_named(options.workload), options.scale * info.rowFraction));
    const auto contender = info.make(rows, options.directory);
    contender->prepare();
    report("ready");
    const long long runTime = nanoseconds_of([&] { contender->run(); });
    const long runPeak = peak_kib();
    const long long finishTime = nanoseconds_of([&] { contender->finish(); });
    report(fmt::format("stored {} {} {} {} {} {}", rows.workload().rowCount(),
                       rows.workload().byteCount(), runTime, finishTime, runPeak, peak_kib()));
    report(fmt::format("checked {}", contender->check()));
}

int main_of(int argc, char** argv) {
    Options options;
    CLI::App app("Stores one workload in one way, and reads it back.");
    app.add_option("--contender", options.contender)->required();
    app.add_option("--workload", options.workload, "W1 to W5, WL, WR, or <channels>x<steps>")
        ->required();
    app.add_option("--directory", options.directory, "An empty directory for its files")
        ->required();
    app.add_option("--scale", options.scale, "Factor for the number of steps");
    CLI11_PARSE(app, argc, argv);
    run(options);
    return 0;
}

} // namespace
} // namespace logging2::core::bench

int main(int argc, char** argv) {
    using namespace logging2::core::bench;
    return guarded_main(main_of, argc, argv);
}
