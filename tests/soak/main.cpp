#include <tests/soak/soaks.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

// Writes very many rows through the writers whose memory does not grow with a run, checks every
// row, and watches the process's memory. Fails if a row is wrong, if a row is lost that must not
// be, or if the memory is not flat. scripts/soak runs it with its default.

namespace {

using namespace logging2::core::test;

struct Soak {
    const char* name;
    Findings (*run)(std::size_t rowCount);
};

constexpr Soak soaks[] = {
#ifdef LOGGING2_SOAK_RECORDING
    {"recording", soak_recording},
#endif
    {"native, appended by the caller", soak_native_chain},
    {"native, small buffers, paced", soak_native_small_buffers},
    {"native, large buffers, paced", soak_native_large_buffers},
    {"native, small buffers, unpaced", soak_native_unpaced},
    {"memory-restricted", soak_restricted}};

double mebibytes(std::size_t bytes) {
    return static_cast<double>(bytes) / 1048576.0;
}

bool run_and_print(const Soak& soak, std::size_t rowCount) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const Findings findings = soak.run(rowCount);
    const std::chrono::duration<double> seconds = Clock::now() - start;
    std::printf("%-32s %11zu %11zu %7zu %11zu %9.1f %9.1f %8.1f  %s\n", soak.name, rowCount,
                findings.right, findings.wrong, findings.lost(),
                mebibytes(findings.resident.firstHalfPeak()),
                mebibytes(findings.resident.secondHalfPeak()), seconds.count(),
                findings.areGood() ? "good" : "BAD");
    std::fflush(stdout);
    return findings.areGood();
}

/// Runs the soak in its own process, so that no run counts the memory of another.
bool run_in_own_process(const Soak& soak, std::size_t rowCount) {
    const pid_t child = fork();
    if (child == 0) {
        try {
            _exit(run_and_print(soak, rowCount) ? 0 : 1);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "soak: %s: %s\n", soak.name, error.what());
            _exit(1);
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t rowCount = argc > 1 ? std::stoul(argv[1]) : 100000000;
    const std::string wanted = argc > 2 ? argv[2] : "";
    std::printf("%-32s %11s %11s %7s %11s %9s %9s %8s\n", "", "rows", "right", "wrong", "lost",
                "1st MiB", "2nd MiB", "seconds");
    std::fflush(stdout);
    bool good = true;
    for (const Soak& soak : soaks) {
        if (std::string(soak.name).rfind(wanted, 0) == 0) {
            good = run_in_own_process(soak, rowCount) && good;
        }
    }
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
