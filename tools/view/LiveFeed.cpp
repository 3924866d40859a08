#include <tools/view/LiveFeed.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/describe_run.hpp>

#include <utility>

namespace logging2::tools::view {
namespace {

constexpr std::chrono::milliseconds runInterval{100};
constexpr int looksPerListLook = 10;
constexpr std::chrono::seconds lookEventInterval{1};
constexpr std::size_t greatestSubscriptionCount = 128;

std::string event_text(const std::string& name, const Json& data) {
    return "event: " + name +
           "\ndata: " + data.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n";
}

/// The run as it is now; with the error if it cannot be read any more.
Json progress_of(const RunCatalog& catalog, const std::string& id,
                 const std::shared_ptr<RunPool>& pool) {
    try {
        catalog.checkPlace(pool->location());
        return run_progress(id, *RunPool::lease(pool), pool->location());
    } catch (const std::exception& error) {
        return {{"id", id}, {"error", error.what()}};
    }
}

bool has_ended(const Json& progress) {
    return progress.value("state", "") == "finished";
}

/// The lag changes all the time.
std::string facts_without_lag(Json progress) {
    progress.erase("lag");
    return progress.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

LiveFeed::Subscription::Subscription(LiveFeed& ownerFeed, std::vector<std::string> runIds)
    : feed(ownerFeed),
      ids(std::move(runIds)),
      seenList(feed.listVersion),
      seenLook(feed.lastLook) {}

LiveFeed::Subscription::~Subscription() {
    const std::lock_guard<std::mutex> lock(feed.mutex);
    --feed.subscriptionCount;
    for (const std::string& id : ids) {
        const auto run = feed.runs.find(id);
        if (--run->second.subscriptionCount == 0) {
            feed.runs.erase(run);
        }
    }
}

std::string LiveFeed::Subscription::next(std::chrono::milliseconds greatestWait) {
    std::unique_lock<std::mutex> lock(feed.mutex);
    std::string events;
    feed.hasChanged.wait_for(lock, greatestWait, [this, &events] {
        events = collected();
        return !events.empty() || feed.isEnding;
    });
    return events;
}

std::string LiveFeed::Subscription::collected() {
    std::string events;
    for (const std::string& id : ids) {
        const Watched& run = feed.runs[id];
        if (run.version != std::exchange(seen[id], run.version)) {
            events += run.event;
        }
    }
    if (feed.listVersion != std::exchange(seenList, feed.listVersion)) {
        events += event_text("runs", Json::object());
    }
    if (feed.lastLook - seenLook >= lookEventInterval) {
        seenLook = feed.lastLook;
        events += event_text("look", Json::object());
    }
    return events;
}

LiveFeed::LiveFeed(RunCatalog& runCatalog)
    : catalog(runCatalog),
      fingerprint(catalog.fingerprint()),
      thread([this] { watch(); }) {}

LiveFeed::~LiveFeed() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isEnding = true;
    }
    hasChanged.notify_all();
    thread.join();
}

std::unique_ptr<LiveFeed::Subscription> LiveFeed::subscribe(const std::vector<std::string>& ids) {
    std::map<std::string, std::string> locations;
    for (const std::string& id : ids) {
        locations[id] = catalog.locationOf(id);
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (subscriptionCount >= greatestSubscriptionCount) {
        throw HttpError(status::unavailable, "Too many pages follow runs.");
    }
    std::vector<std::string> unique;
    for (const auto& [id, location] : locations) {
        Watched& run = runs[id];
        if (run.subscriptionCount++ == 0) {
            run.pool = std::make_shared<RunPool>(location);
        }
        unique.push_back(id);
    }
    ++subscriptionCount;
    return std::make_unique<Subscription>(*this, std::move(unique));
}

void LiveFeed::watch() {
    std::unique_lock<std::mutex> lock(mutex);
    for (int look = 0; !isEnding; ++look) {
        if (subscriptionCount > 0) {
            const Clock::time_point start = Clock::now();
            lookAtRuns(lock);
            if (look % looksPerListLook == 0) {
                lookAtList(lock);
            }
            lastLook = start;
        }
        hasChanged.wait_for(lock, runInterval, [this] { return isEnding; });
    }
}

void LiveFeed::lookAtRuns(std::unique_lock<std::mutex>& lock) {
    std::map<std::string, std::shared_ptr<RunPool>> growing;
    for (const auto& [id, run] : runs) {
        if (!run.isFinal) {
            growing.emplace(id, run.pool);
        }
    }
    for (const auto& [id, pool] : growing) {
        lock.unlock();
        const Json progress = progress_of(catalog, id, pool);
        lock.lock();
        tell(id, progress);
    }
}

void LiveFeed::tell(const std::string& id, const Json& progress) {
    const auto run = runs.find(id);
    if (run == runs.end()) {
        return;
    }
    std::string facts = facts_without_lag(progress);
    run->second.isFinal = has_ended(progress);
    if (facts != run->second.facts) {
        run->second.facts = std::move(facts);
        run->second.event = event_text("run", progress);
        ++run->second.version;
        hasChanged.notify_all();
    }
}

void LiveFeed::lookAtList(std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    std::string present = catalog.fingerprint();
    lock.lock();
    if (present != fingerprint) {
        fingerprint = std::move(present);
        ++listVersion;
        hasChanged.notify_all();
    }
}

} // namespace logging2::tools::view
