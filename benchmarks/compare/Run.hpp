#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace logging2::core::bench {

/// What one contender did with one workload in a process of its own. Times are in nanoseconds.
struct Run {
    bool isVerified = false;
    std::string failure; ///< why it is not verified
    std::size_t rowCount = 0;
    std::size_t byteCount = 0;
    std::size_t lostRowCount = 0;
    double runTime = 0;
    double finishTime = 0;
    double outsideTime = 0; ///< both, by the clock of the process that started it
    std::size_t runPeakKib = 0;
    std::size_t finishPeakKib = 0;
    std::size_t processPeakKib = 0; ///< until its end, with the comparison
};

struct RunRequest {
    std::filesystem::path program;
    std::string contender;
    std::string workload;
    double scale = 1;
    std::filesystem::path directory;
};

/// Warms the memory that the program will take, starts it, and waits for its end. Throws
/// std::system_error where it cannot be started; everything else that goes wrong is told in the
/// run.
Run run_contender(const RunRequest& request);

} // namespace logging2::core::bench
