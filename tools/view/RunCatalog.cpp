#include <tools/view/RunCatalog.hpp>

#include <tools/commands/describe.hpp>
#include <tools/selection/recording_directory.hpp>
#include <tools/view/HttpError.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace logging2::tools::view {
namespace {

namespace fs = std::filesystem;

/// So many runs are kept open.
constexpr std::size_t greatestSharedRunCount = 16;

/// Changes if something is written to the recording.
std::string state_of_files(const std::string& location) {
    std::string result;
    for (const char* const name : {"/index.sqlite", "/index.sqlite-wal", "/samples.bin"}) {
        struct stat status {};
        if (stat((location + name).c_str(), &status) == 0) {
            result += std::to_string(status.st_ino) + ' ' + std::to_string(status.st_size) + ' ' +
                      std::to_string(status.st_mtim.tv_sec) + '.' +
                      std::to_string(status.st_mtim.tv_nsec);
        }
        result += '\n';
    }
    return result;
}

Json facts_of(const std::string& location) {
    try {
        const auto run = core::open_recording(location, core::SampleAccess::copied);
        Json facts = run_json(run->info(), location);
        const std::vector<core::GroupInfo> groups = run->groups();
        std::size_t stepCount = 0;
        for (const core::GroupInfo& group : groups) {
            stepCount += group.stepCount;
        }
        facts["groups"] = groups.size();
        facts["signals"] = run->signals().size();
        facts["steps"] = stepCount;
        return facts;
    } catch (const std::exception& error) {
        return {{"location", location}, {"error", error.what()}};
    }
}

/// Whether an entry of the directory lies in it. Links may lead elsewhere.
bool is_inside(const fs::directory_entry& entry, const fs::path& directory) {
    std::error_code error;
    if (!entry.is_symlink(error)) {
        return true;
    }
    const fs::path base = fs::canonical(directory, error);
    const fs::path place = error ? fs::path() : fs::canonical(entry.path(), error);
    return !error &&
           std::mismatch(base.begin(), base.end(), place.begin(), place.end()).first == base.end();
}

/// By their start, the newest first; those that cannot be opened come last.
bool comes_before(const Json& a, const Json& b) {
    return a.value("start", "") > b.value("start", "");
}

bool is_final(const Json& facts) {
    return facts.value("state", "running") != "running";
}

bool is_damaged(const Json& facts) {
    return facts.contains("error");
}

HttpError run_is_gone() {
    return {status::gone, "The run is gone: its recording was removed or renamed."};
}

} // namespace

RunCatalog::RunCatalog(std::string location)
    : root(std::move(location)),
      isSingle(is_recording(root)) {
    if (!isSingle) {
        core::list_recordings(root);
    }
}

std::vector<std::string> RunCatalog::locations() const {
    if (isSingle) {
        return {root};
    }
    std::vector<std::string> result;
    std::error_code error;
    for (fs::directory_iterator entry(root, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (entry->path().extension() == ".recording" && is_inside(*entry, root)) {
            result.push_back(entry->path().string());
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

Json RunCatalog::list() {
    const std::lock_guard<std::mutex> lock(mutex);
    updateIds();
    std::vector<Json> runs;
    for (const auto& [location, run] : known) {
        runs.push_back(run.facts);
    }
    std::stable_sort(runs.begin(), runs.end(), comes_before);
    return {{"schema", jsonSchema}, {"runs", runs}};
}

Json RunCatalog::factsOf(const std::string& location) {
    std::string state = state_of_files(location);
    const auto found = known.find(location);
    if (found != known.end() && found->second.state == state && is_final(found->second.facts)) {
        return found->second.facts;
    }
    Json facts = facts_of(location);
    known[location] = {std::move(state), facts};
    return facts;
}

/// Looks for the runs. If two have the same id, because one is a copy, the id of the second one
/// gets a number. A run that cannot be opened any more keeps its id.
void RunCatalog::updateIds() {
    const std::vector<std::string> present = locations();
    for (auto entry = known.begin(); entry != known.end();) {
        const bool isPresent = std::binary_search(present.begin(), present.end(), entry->first);
        entry = isPresent ? std::next(entry) : known.erase(entry);
    }
    for (const auto& [id, location] : locationsById) {
        formerIds.insert(id);
    }
    const std::map<std::string, std::string> former = std::exchange(locationsById, {});
    for (const std::string& location : present) {
        const std::string id = factsOf(location).value("id", "");
        std::string unique = id;
        for (int number = 2; locationsById.count(unique) != 0; ++number) {
            unique = id + '~' + std::to_string(number);
        }
        if (!id.empty()) {
            locationsById[unique] = location;
            known[location].facts["id"] = unique;
        }
    }
    keepIdsOfDamaged(former);
}

void RunCatalog::keepIdsOfDamaged(const std::map<std::string, std::string>& former) {
    for (const auto& [id, location] : former) {
        const auto run = known.find(location);
        if (run != known.end() && is_damaged(run->second.facts)) {
            locationsById.emplace(id, location);
        }
    }
}

std::string RunCatalog::locationOf(const std::string& id) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (locationsById.count(id) == 0) {
        updateIds();
    }
    const auto found = locationsById.find(id);
    if (found == locationsById.end() && formerIds.count(id) != 0) {
        throw run_is_gone();
    }
    if (found == locationsById.end()) {
        throw HttpError(status::notFound, "There is no run with this id.");
    }
    checkPlace(found->second);
    if (is_damaged(known.at(found->second).facts)) {
        SharedRun::opened(found->second); // throws the reason
    }
    return found->second;
}

void RunCatalog::checkPlace(const std::string& location) const {
    std::error_code ignored;
    if (!isSingle && !is_inside(fs::directory_entry(location, ignored), root)) {
        throw run_is_gone();
    }
}

SharedRun::Lease RunCatalog::run(const std::string& id) {
    return SharedRun::lease(sharedRunOf(locationOf(id)));
}

std::unique_ptr<core::Run> RunCatalog::ownRun(const std::string& id) {
    return SharedRun::opened(locationOf(id));
}

std::shared_ptr<SharedRun> RunCatalog::sharedRunOf(const std::string& location) {
    const std::lock_guard<std::mutex> lock(mutex);
    auto shared = std::find_if(sharedRuns.begin(), sharedRuns.end(),
                               [&location](const std::shared_ptr<SharedRun>& each) {
                                   return each->location() == location;
                               });
    if (shared == sharedRuns.end()) {
        shared = sharedRuns.insert(sharedRuns.begin(), std::make_shared<SharedRun>(location));
    }
    sharedRuns.splice(sharedRuns.begin(), sharedRuns, shared);
    if (sharedRuns.size() > greatestSharedRunCount) {
        sharedRuns.pop_back();
    }
    return sharedRuns.front();
}

std::string RunCatalog::fingerprint() {
    std::string result;
    for (const std::string& location : locations()) {
        std::error_code ignored;
        // The log exists while the run is being written. A writer that was killed leaves it behind.
        const bool hasLog = fs::exists(location + "/index.sqlite-wal", ignored);
        result.append(location).append(hasLog ? "*" + endState(location) : "").append("\n");
    }
    return result;
}

/// The state of a run that the list has shown; an empty text while it is running. Others do not
/// wait while the recording is opened.
std::string RunCatalog::endState(const std::string& location) {
    Json facts;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto found = known.find(location);
        if (found == known.end()) {
            return {};
        }
        facts = found->second.facts;
    }
    if (!is_final(facts)) {
        facts = facts_of(location);
    }
    return is_final(facts) ? facts.value("state", "") : "";
}

} // namespace logging2::tools::view
