#include <benchmarks/compare/machine.hpp>

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <sys/utsname.h>

#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

namespace logging2::core::bench {
namespace {

/// What follows "key" and a colon in a file of lines such as "model name : ...".
std::string value_in(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (line.compare(0, key.size(), key) == 0 && colon != std::string::npos) {
            return line.substr(line.find_first_not_of(" \t", colon + 1));
        }
    }
    return "unknown";
}

/// The type of the file system whose mount point is the longest beginning of the path.
std::string file_system_of(const std::filesystem::path& directory) {
    const std::string path = std::filesystem::canonical(directory).string();
    std::ifstream mounts("/proc/mounts");
    std::string found = "unknown";
    std::size_t length = 0;
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream words(line);
        std::string device;
        std::string point;
        std::string type;
        words >> device >> point >> type;
        if (path.compare(0, point.size(), point) == 0 && point.size() >= length) {
            found = type;
            length = point.size();
        }
    }
    return found;
}

std::string kernel() {
    utsname name{};
    uname(&name);
    return fmt::format("{} {}", &name.sysname[0], &name.release[0]);
}

} // namespace

std::vector<std::pair<std::string, std::string>>
machine_facts(const std::filesystem::path& directory) {
    return {{"date", fmt::format("{:%Y-%m-%d}", fmt::gmtime(std::time(nullptr)))},
            {"processor", value_in("/proc/cpuinfo", "model name")},
            {"cores", fmt::format("{}", std::thread::hardware_concurrency())},
            {"memory", value_in("/proc/meminfo", "MemTotal")},
            {"system", kernel()},
            {"compiler", "g++ or compatible " __VERSION__},
            {"file system", file_system_of(directory)}};
}

} // namespace logging2::core::bench
