#pragma once

#include <logging2/runs/runs.hpp>

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// A run that several threads read: an object for each of a few of them, because only one thread at
/// a time may use a Run. The others wait.
class RunPool {
public:
    /// Belongs to one thread until it is destroyed. The pool must outlive it.
    class Lease {
    public:
        Lease(std::shared_ptr<RunPool> ownerPool, ino_t samplesFile);
        Lease(Lease&&) = default;
        Lease& operator=(Lease&&) = delete;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();

        const core::Run& operator*() const noexcept { return *run; }
        const core::Run* operator->() const noexcept { return run.get(); }

    private:
        friend class RunPool;

        std::shared_ptr<RunPool> pool;
        ino_t file;
        std::unique_ptr<core::Run> run;
    };

    explicit RunPool(std::string recordingLocation);

    const std::string& location() const noexcept { return place; }

    /// The run in its present state. Throws HttpError, with status 410 if the recording is gone and
    /// 503 if all objects are busy for too long, and core::RecordingError if it cannot be read.
    static Lease lease(const std::shared_ptr<RunPool>& pool);

    /// A recording that is not shared. Throws in the same way.
    static std::unique_ptr<core::Run> opened(const std::string& location);

private:
    std::unique_ptr<core::Run> taken(ino_t samplesFile);
    void refresh(std::unique_ptr<core::Run>& run) const;
    void giveBack(std::unique_ptr<core::Run> run, ino_t samplesFile) noexcept;

    const std::string place;
    std::mutex mutex;
    std::condition_variable isFree;
    std::vector<std::unique_ptr<core::Run>> idle; ///< guarded by the mutex
    std::size_t count = 0;                        ///< of all objects, guarded by the mutex
    ino_t file = 0; ///< whose samples the idle ones read, guarded by the mutex
};

} // namespace logging2::tools::view
