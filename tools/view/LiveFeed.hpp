#pragma once

#include <tools/view/RunCatalog.hpp>
#include <tools/view/time_extent.hpp>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace logging2::tools::view {

/// Tells clients what has changed. One thread looks at the runs for all of them, ten times a
/// second, and only at those that somebody watches and that have not ended.
class LiveFeed {
    using Clock = std::chrono::steady_clock;

    /// What the thread needs to look at a run.
    struct Source {
        std::shared_ptr<SharedRun> shared; ///< apart from that of the catalog, so that nobody waits
        TimeExtents extents;
    };

    struct Group {
        std::uint64_t version = 0; ///< of the run when the group changed
        Json progress;
    };

    struct Watched {
        std::shared_ptr<Source> source;
        std::size_t subscriptionCount = 0;
        std::uint64_t version = 0;      ///< grows with each change
        Json head;                      ///< the last change, without the groups
        std::string facts;              ///< which it told
        std::map<Json, Group> groups{}; ///< by their ids
        bool isFinal = false;
    };

public:
    /// What one client watches.
    class Subscription {
    public:
        /// Use LiveFeed::subscribe().
        Subscription(LiveFeed& ownerFeed, std::vector<std::string> runIds);
        ~Subscription();

        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;

        /// What has happened since the last call, as server-sent events; waits at most so long for
        /// something to happen, and returns an empty text if nothing did.
        std::string next(std::chrono::milliseconds greatestWait);

    private:
        std::string collected();
        static std::string eventsAbout(const Watched& run, std::uint64_t seenVersion);

        LiveFeed& feed;
        std::vector<std::string> ids;
        std::map<std::string, std::uint64_t> seen; ///< versions of the runs
        std::uint64_t seenList;
        Clock::time_point seenLook; ///< the last one that was told
    };

    /// The catalog must outlive the object.
    explicit LiveFeed(RunCatalog& runCatalog);
    ~LiveFeed();

    LiveFeed(const LiveFeed&) = delete;
    LiveFeed& operator=(const LiveFeed&) = delete;

    /// Watches the runs with these ids, maybe none, and the list of runs. Throws HttpError with
    /// status 404 if there is no such run, and 503 if there are too many subscriptions. The feed
    /// must outlive the subscription.
    std::unique_ptr<Subscription> subscribe(const std::vector<std::string>& ids);

private:
    void watch();
    void lookAtRuns(std::unique_lock<std::mutex>& lock);
    void lookAtList(std::unique_lock<std::mutex>& lock);
    void tell(const std::string& id, Json progress);

    RunCatalog& catalog;
    std::mutex mutex;
    std::condition_variable hasChanged;
    // Guarded by the mutex.
    std::map<std::string, Watched> runs;
    std::size_t subscriptionCount = 0;
    std::uint64_t listVersion = 1;
    Clock::time_point lastLook = Clock::now(); ///< when the last one began
    std::string fingerprint;
    bool isEnding = false;

    std::thread thread; ///< runs watch()
};

} // namespace logging2::tools::view
