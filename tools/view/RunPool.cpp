#include <tools/view/RunPool.hpp>

#include <tools/view/HttpError.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <sys/stat.h>

#include <utility>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestObjectCount = 2;
constexpr std::chrono::seconds longestWait{20};

ino_t present_file(const std::string& location) {
    struct stat status {};
    if (stat((location + "/samples.bin").c_str(), &status) != 0) {
        throw HttpError(status::gone,
                        "The run is gone: " + location + " is no recording any more.");
    }
    return status.st_ino;
}

} // namespace

RunPool::Lease::Lease(std::shared_ptr<RunPool> ownerPool, ino_t samplesFile)
    : pool(std::move(ownerPool)),
      file(samplesFile),
      run(pool->taken(file)) {}

RunPool::Lease::~Lease() {
    if (pool) {
        pool->giveBack(std::move(run), file);
    }
}

RunPool::RunPool(std::string recordingLocation) : place(std::move(recordingLocation)) {
    idle.reserve(greatestObjectCount);
}

RunPool::Lease RunPool::lease(const std::shared_ptr<RunPool>& pool) {
    Lease lease(pool, present_file(pool->place));
    pool->refresh(lease.run);
    return lease;
}

std::unique_ptr<core::Run> RunPool::opened(const std::string& location) {
    present_file(location);
    return core::open_recording(location, core::SampleAccess::copied);
}

/// One that is idle, or null for the right to open another one.
std::unique_ptr<core::Run> RunPool::taken(ino_t samplesFile) {
    std::unique_lock<std::mutex> lock(mutex);
    const auto isPossible = [this] { return !idle.empty() || count < greatestObjectCount; };
    if (!isFree.wait_for(lock, longestWait, isPossible)) {
        throw HttpError(status::unavailable, "The run is too busy; try again.");
    }
    if (samplesFile != file) {
        // Another recording is there now. The objects would show what was there before.
        count -= idle.size();
        idle.clear();
        file = samplesFile;
    }
    if (idle.empty()) {
        ++count;
        return nullptr;
    }
    std::unique_ptr<core::Run> run = std::move(idle.back());
    idle.pop_back();
    return run;
}

void RunPool::refresh(std::unique_ptr<core::Run>& run) const {
    try {
        if (run == nullptr) {
            run = opened(place);
        } else if (run->info().state != core::RunState::finished) {
            run->refresh();
        }
    } catch (...) {
        run.reset();
        throw;
    }
}

void RunPool::giveBack(std::unique_ptr<core::Run> run, ino_t samplesFile) noexcept {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (run == nullptr || samplesFile != file) {
            --count;
        } else {
            idle.push_back(std::move(run));
        }
    }
    isFree.notify_one();
}

} // namespace logging2::tools::view
