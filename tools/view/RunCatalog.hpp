#pragma once

#include <tools/terminal/json.hpp>
#include <tools/view/SharedRun.hpp>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// The runs that the server was started for: one recording, or those in a directory. Nothing else
/// can be opened through it. Threads: all operations may be called by several at a time.
class RunCatalog {
public:
    /// The location is that of a recording or of a directory of recordings. Throws
    /// core::RecordingError if it is neither.
    explicit RunCatalog(std::string location);

    /// What there is to know about each run, the newest first.
    Json list();

    /// The run with this id, in its present state. Throws HttpError with status 404 if there is no
    /// such run, 410 if there was one, and as SharedRun::lease() does.
    SharedRun::Lease run(const std::string& id);

    /// The same, for a caller who needs it for long and whom nobody shall wait for.
    std::unique_ptr<core::Run> ownRun(const std::string& id);

    /// The location of the run with this id. Throws HttpError with status 404 if there is none,
    /// and 410 if there was one, and core::RecordingError if the list has shown it as damaged.
    std::string locationOf(const std::string& id);

    /// Throws HttpError with status 410 if the location has become a link out of the directory.
    void checkPlace(const std::string& location) const;

    /// Changes whenever a run is added or removed, and when one that list() has shown ends, even if
    /// its writer was killed.
    std::string fingerprint();

private:
    /// What was found out about a recording, as long as its files stay as they were.
    struct Known {
        std::string state; ///< of the files
        Json facts;
    };

    std::vector<std::string> locations() const;
    Json factsOf(const std::string& location);
    void updateIds();
    void keepIdsOfDamaged(const std::map<std::string, std::string>& former);
    std::shared_ptr<SharedRun> sharedRunOf(const std::string& location);
    std::string endState(const std::string& location);

    const std::string root;
    const bool isSingle;
    std::mutex mutex;
    // Guarded by the mutex.
    std::map<std::string, Known> known; ///< by location
    std::map<std::string, std::string> locationsById;
    std::set<std::string> formerIds;                  ///< all that there have been
    std::list<std::shared_ptr<SharedRun>> sharedRuns; ///< the one that was used last comes first
};

} // namespace logging2::tools::view
