#pragma once

#include <logging2/runs/runs.hpp>

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace logging2::tools::view {

/// A run that several threads read, one after another. A Run keeps the outlines that it has made
/// for one element of a vector, so a single object answers the questions about a vector soonest.
class SharedRun {
public:
    /// Belongs to one thread until it is destroyed.
    class Lease {
    public:
        Lease(std::shared_ptr<SharedRun> leasedRun, ino_t samplesFile);
        Lease(Lease&&) = default;
        Lease& operator=(Lease&&) = delete;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();

        const core::Run& operator*() const noexcept { return *run; }
        const core::Run* operator->() const noexcept { return run.get(); }

    private:
        friend class SharedRun;

        std::shared_ptr<SharedRun> owner;
        std::unique_ptr<core::Run> run;
    };

    explicit SharedRun(std::string recordingLocation);

    const std::string& location() const noexcept { return place; }

    /// The run in its present state. Throws HttpError, with status 410 if the recording is gone and
    /// 503 if the run is busy for too long, and core::RecordingError if it cannot be read.
    static Lease lease(const std::shared_ptr<SharedRun>& shared);

    /// A recording that is not shared. Throws in the same way.
    static std::unique_ptr<core::Run> opened(const std::string& location);

private:
    std::unique_ptr<core::Run> taken(ino_t samplesFile);
    void refresh(std::unique_ptr<core::Run>& run) const;
    void giveBack(std::unique_ptr<core::Run> run) noexcept;

    const std::string place;
    std::mutex mutex;
    std::condition_variable isFree;
    bool isTaken = false;            ///< guarded by the mutex
    std::unique_ptr<core::Run> idle; ///< unless it is taken; guarded by the mutex
    ino_t file = 0;                  ///< whose samples it reads; guarded by the mutex
};

} // namespace logging2::tools::view
