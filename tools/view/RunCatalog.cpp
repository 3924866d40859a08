#include <tools/view/RunCatalog.hpp>

#include <tools/commands/describe.hpp>
#include <tools/selection/recording_directory.hpp>
#include <tools/view/HttpError.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace logging2::tools::view {
namespace {

namespace fs = std::filesystem;

/// So many runs are kept open.
constexpr std::size_t greatestPoolCount = 16;

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
    } catch (const core::RecordingError& error) {
        return {{"location", location}, {"error", error.what()}};
    }
}

/// By their start, the newest first; those that cannot be opened come last.
bool comes_before(const Json& a, const Json& b) {
    return a.value("start", "") > b.value("start", "");
}

bool is_final(const Json& facts) {
    return facts.value("state", "running") != "running";
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
        if (entry->path().extension() == ".recording") {
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
/// gets a number.
void RunCatalog::updateIds() {
    const std::vector<std::string> present = locations();
    for (auto entry = known.begin(); entry != known.end();) {
        const bool isPresent = std::binary_search(present.begin(), present.end(), entry->first);
        entry = isPresent ? std::next(entry) : known.erase(entry);
    }
    locationsById.clear();
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
}

std::string RunCatalog::locationOf(const std::string& id) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (locationsById.count(id) == 0) {
        updateIds();
    }
    const auto found = locationsById.find(id);
    if (found == locationsById.end()) {
        throw HttpError(status::notFound, "There is no run with this id.");
    }
    return found->second;
}

RunPool::Lease RunCatalog::run(const std::string& id) {
    return RunPool::lease(poolOf(locationOf(id)));
}

std::unique_ptr<core::Run> RunCatalog::ownRun(const std::string& id) {
    return RunPool::opened(locationOf(id));
}

std::shared_ptr<RunPool> RunCatalog::poolOf(const std::string& location) {
    const std::lock_guard<std::mutex> lock(mutex);
    auto pool =
        std::find_if(pools.begin(), pools.end(), [&location](const std::shared_ptr<RunPool>& each) {
            return each->location() == location;
        });
    if (pool == pools.end()) {
        pool = pools.insert(pools.begin(), std::make_shared<RunPool>(location));
    }
    pools.splice(pools.begin(), pools, pool);
    if (pools.size() > greatestPoolCount) {
        pools.pop_back();
    }
    return pools.front();
}

std::string RunCatalog::fingerprint() const {
    std::string result;
    for (const std::string& location : locations()) {
        std::error_code ignored;
        // The log exists while the run is being written.
        const bool isWritten = fs::exists(location + "/index.sqlite-wal", ignored);
        result.append(location).append(isWritten ? "*\n" : "\n");
    }
    return result;
}

} // namespace logging2::tools::view
