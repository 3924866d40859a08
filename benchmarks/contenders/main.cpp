#include <benchmarks/contenders/registration.hpp>
#include <benchmarks/process/guarded_main.hpp>

#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>

namespace logging2::core::bench {
namespace {

void print_help() {
    benchmark::PrintDefaultHelp();
    std::puts("          [--scale=<factor for the number of steps>]");
    std::puts("          [--keep-files-in=<directory that gets the emptied files>]");
}

int main_of(int argc, char** argv) {
    benchmark::Initialize(&argc, argv, print_help);
    double scale = 1;
    CLI::App app;
    app.add_option("--scale", scale)->check(CLI::PositiveNumber);
    std::filesystem::path kept;
    app.add_option("--keep-files-in", kept)->check(CLI::ExistingDirectory);
    CLI11_PARSE(app, argc, argv);
    set_scale(scale);
    keep_files_in(kept);
    benchmark::AddCustomContext("compiler", "g++ or compatible " __VERSION__);
    benchmark::RunSpecifiedBenchmarks();
    return all_verified() ? 0 : 1;
}

} // namespace
} // namespace logging2::core::bench

int main(int argc, char** argv) {
    using namespace logging2::core::bench;
    return guarded_main(main_of, argc, argv);
}
