#include <tools/view/LiveFeed.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/describe_run.hpp>

#include <utility>

namespace logging2::tools::view {
namespace {

constexpr std::chrono::milliseconds runInterval{100};
constexpr int looksPerListLook = 10;
constexpr std::chrono::milliseconds lookEventInterval{500};
constexpr std::size_t greatestSubscriptionCount = 128;

// An event has at most 200 kB.
constexpr std::size_t greatestGroupCount = 800;

std::string event_text(const std::string& name, const Json& data) {
    return "event: " + name +
           "\ndata: " + data.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n";
}

/// The run as it is now; with the error if it cannot be read any more.
Json progress_of(const RunCatalog& catalog, const std::string& id,
                 const std::shared_ptr<SharedRun>& shared, TimeExtents& extents) {
    try {
        catalog.checkPlace(shared->location());
        return run_progress(id, *SharedRun::lease(shared), shared->location(), extents);
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
        const std::uint64_t before = std::exchange(seen[id], run.version);
        if (run.version != before) {
            events += eventsAbout(run, before);
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

/// The groups that have changed since, in as many events as they need.
std::string LiveFeed::Subscription::eventsAbout(const Watched& run, std::uint64_t seenVersion) {
    std::string events;
    Json event = run.head;
    for (const auto& [id, group] : run.groups) {
        if (group.version <= seenVersion) {
            continue;
        }
        event["groups"].push_back(group.progress);
        if (event["groups"].size() == greatestGroupCount) {
            events += event_text("run", event);
            event = run.head;
        }
    }
    return events.empty() || event.contains("groups") ? events + event_text("run", event) : events;
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
            run.source =
                std::make_shared<Source>(Source{std::make_shared<SharedRun>(location), {}});
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
    std::map<std::string, std::shared_ptr<Source>> growing;
    for (const auto& [id, run] : runs) {
        if (!run.isFinal) {
            growing.emplace(id, run.source);
        }
    }
    for (const auto& [id, source] : growing) {
        lock.unlock();
        Json progress = progress_of(catalog, id, source->shared, source->extents);
        lock.lock();
        tell(id, std::move(progress));
    }
}

void LiveFeed::tell(const std::string& id, Json progress) {
    const auto found = runs.find(id);
    if (found == runs.end()) {
        return;
    }
    Watched& run = found->second;
    run.isFinal = has_ended(progress);
    bool hasNews = false;
    for (Json& group : progress["groups"]) {
        Group& known = run.groups[group["id"]];
        if (known.progress != group) {
            known = {run.version + 1, std::move(group)};
            hasNews = true;
        }
    }
    progress.erase("groups");
    std::string facts = facts_without_lag(progress);
    if (hasNews || facts != run.facts) {
        run.facts = std::move(facts);
        run.head = std::move(progress);
        ++run.version;
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
