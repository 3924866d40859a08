#include <tools/view/SharedRun.hpp>

#include <tools/view/HttpError.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <sys/stat.h>

#include <utility>

namespace logging2::tools::view {
namespace {

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

SharedRun::Lease::Lease(std::shared_ptr<SharedRun> leasedRun, ino_t samplesFile)
    : owner(std::move(leasedRun)),
      run(owner->taken(samplesFile)) {}

SharedRun::Lease::~Lease() {
    if (owner) {
        owner->giveBack(std::move(run));
    }
}

SharedRun::SharedRun(std::string recordingLocation) : place(std::move(recordingLocation)) {}

SharedRun::Lease SharedRun::lease(const std::shared_ptr<SharedRun>& shared) {
    Lease lease(shared, present_file(shared->place));
    shared->refresh(lease.run);
    return lease;
}

std::unique_ptr<core::Run> SharedRun::opened(const std::string& location) {
    present_file(location);
    return core::open_recording(location, core::SampleAccess::copied);
}

/// Null if it must be opened.
std::unique_ptr<core::Run> SharedRun::taken(ino_t samplesFile) {
    std::unique_lock<std::mutex> lock(mutex);
    if (!isFree.wait_for(lock, longestWait, [this] { return !isTaken; })) {
        throw HttpError(status::unavailable, "The run is too busy; try again.");
    }
    isTaken = true;
    if (samplesFile != file) {
        // Another recording is there now. The object would show what was there before.
        idle.reset();
        file = samplesFile;
    }
    return std::move(idle);
}

void SharedRun::refresh(std::unique_ptr<core::Run>& run) const {
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

void SharedRun::giveBack(std::unique_ptr<core::Run> run) noexcept {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        idle = std::move(run);
        isTaken = false;
    }
    isFree.notify_one();
}

} // namespace logging2::tools::view
