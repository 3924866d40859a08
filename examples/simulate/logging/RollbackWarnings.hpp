#pragma once

#include <logging2/logging2.hpp>

#include <atomic>
#include <cstddef>
#include <memory>

namespace simulate {

/// Counts the warnings with which a back-end declines to take steps back, as long as it lives;
/// other warnings go on to the handler that was there before.
class RollbackWarnings {
public:
    RollbackWarnings();
    ~RollbackWarnings();

    RollbackWarnings(const RollbackWarnings&) = delete;
    RollbackWarnings& operator=(const RollbackWarnings&) = delete;

    /// Any thread may ask.
    std::size_t count() const { return *warningCount; }

private:
    // Shared with the handler: one that runs on another thread may outlive this object.
    std::shared_ptr<std::atomic<std::size_t>> warningCount;
    foundation::WarningHandler former;
};

} // namespace simulate
