#include <benchmarks/compare/Run.hpp>

#include <benchmarks/contenders/catalogue.hpp>
#include <benchmarks/process/warm_memory.hpp>

#include <fmt/format.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

namespace logging2::core::bench {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

/// About what the hungriest contender takes, or a little more: every row in blocks of its own with
/// a handle, and then the columns or the pages that files fill. Above the limit, of which growth
/// alone has some, the time that warming takes would outweigh what it is good for.
std::size_t hungriest_byte_count(const RunRequest& request) {
    constexpr std::size_t mebibyte = std::size_t{1} << 20;
    constexpr std::size_t handleByteCount = 100; // per row
    const double fraction = contender_named(request.contender).rowFraction;
    const Workload workload = scaled(workload_named(request.workload), request.scale * fraction);
    const std::size_t rows = workload.rowCount() * handleByteCount;
    return std::min(2 * workload.byteCount() + rows + 64 * mebibyte, 1536 * mebibyte);
}

struct Child {
    pid_t id;
    Stream output;
};

[[noreturn]] void become(const RunRequest& request, int output) {
    dup2(output, STDOUT_FILENO);
    const std::string scale = fmt::format("{}", request.scale);
    execl(request.program.c_str(), request.program.c_str(), "--contender",
          request.contender.c_str(), "--workload", request.workload.c_str(), "--scale",
          scale.c_str(), "--directory", request.directory.c_str(), static_cast<char*>(nullptr));
    _exit(127);
}

Child start(const RunRequest& request) {
    int ends[2];
    if (pipe(ends) != 0) {
        fail("pipe");
    }
    const pid_t id = fork();
    if (id < 0) {
        fail("fork");
    }
    if (id == 0) {
        close(ends[0]);
        become(request, ends[1]);
    }
    close(ends[1]);
    return {id, Stream(fdopen(ends[0], "r"))};
}

void read_stored(std::istringstream& words, Run& run) {
    words >> run.rowCount >> run.byteCount >> run.runTime >> run.finishTime >> run.runPeakKib >>
        run.finishPeakKib;
}

/// Takes what the child tells, line by line, as it comes.
void read_report(std::FILE* output, Run& run) {
    char line[256];
    Clock::time_point ready = Clock::now();
    while (std::fgets(line, sizeof line, output) != nullptr) {
        const Clock::time_point now = Clock::now();
        std::istringstream words(line);
        std::string topic;
        words >> topic;
        if (topic == "ready") {
            ready = now;
        } else if (topic == "stored") {
            run.outsideTime = std::chrono::duration<double, std::nano>(now - ready).count();
            read_stored(words, run);
        } else if (topic == "checked") {
            words >> run.lostRowCount;
            run.isVerified = !words.fail();
        }
    }
}

} // namespace

Run run_contender(const RunRequest& request) {
    warm_memory(hungriest_byte_count(request));
    const Child child = start(request);
    Run run;
    read_report(child.output.get(), run);
    int status = 0;
    rusage usage{};
    if (wait4(child.id, &status, 0, &usage) != child.id) {
        fail("wait4");
    }
    run.processPeakKib = static_cast<std::size_t>(usage.ru_maxrss);
    if (status != 0) {
        run.isVerified = false;
        run.failure = fmt::format("ended with status {}", status);
    }
    return run;
}

} // namespace logging2::core::bench
