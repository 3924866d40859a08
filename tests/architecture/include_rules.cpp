#include <tests/architecture/include_rules.hpp>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string_view>

namespace logging2::core::test {
namespace {

/// The two public headers that may include the service registry.
bool shows_services(const std::string& file) {
    return file == "logging2/host/foundation/bundle_context.hpp" ||
           file == "logging2/lookup/Backend.hpp";
}

bool starts_with(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// "logging2/memory/File.hpp" is in the room "memory" and "logging2/backends/builtin/File.hpp" in
/// the room "backends/builtin"; "logging2/logging2.hpp" is in no room.
std::string room_of(const std::string& path) {
    if (starts_with(path, "cppmicroservices/")) {
        return "registry";
    }
    std::smatch match;
    static const std::regex pattern("logging2/(backends/[a-z]+|[a-z]+)/.*");
    return std::regex_match(path, match, pattern) ? match[1].str() : std::string();
}

/// The registry is a separate library, which must not know the core. The core also has headers
/// outside the rooms.
bool reaches_out_of_registry(const std::string& from, const Include& include) {
    return from == "registry" && starts_with(include.header, "logging2/") &&
           room_of(include.header) != from;
}

std::string broken_room_rule(const Include& include) {
    const std::string from = room_of(include.file);
    const std::string to = room_of(include.header);
    if (reaches_out_of_registry(from, include)) {
        return "registry must not include " + include.header;
    }
    if (from.empty() || to.empty() || from == to) {
        return {};
    }
    const auto rule = allowed_rooms().find(from);
    if (rule == allowed_rooms().end()) {
        return "no rule for the folder " + from;
    }
    return rule->second.count(to) != 0 ? std::string() : from + " must not include " + to;
}

/// Whether the header belongs to the library's internals: a folder detail/ and all of columns/.
bool is_internal(const std::string& header) {
    return starts_with(header, "logging2/") &&
           (header.find("/detail/") != std::string::npos || room_of(header) == "columns");
}

bool is_installed_header(const std::string& file) {
    return starts_with(file, "logging2/") && file.size() > 4 &&
           file.substr(file.size() - 4) == ".hpp" && !is_internal(file);
}

/// Only the library, its tests and its benchmarks may include internals. An installed header may
/// include internals of its own room, which are installed with it.
std::string broken_privacy_rule(const Include& include) {
    if (!is_internal(include.header)) {
        return {};
    }
    if (is_installed_header(include.file) && room_of(include.file) != room_of(include.header)) {
        return "no installed header may include internals of another folder";
    }
    for (const char* folder : {"logging2/", "tests/", "benchmarks/"}) {
        if (starts_with(include.file, folder)) {
            return {};
        }
    }
    return "only the library, its tests and benchmarks include its internals";
}

/// The command stands on everything, and nothing on the command.
std::string broken_tools_rule(const Include& include) {
    const bool mayUseTools = starts_with(include.file, "tools/") ||
                             starts_with(include.file, "tests/tools/") ||
                             include.file == "tests/fuzz/view_requests.cpp";
    return starts_with(include.header, "tools/") && !mayUseTools
               ? "only the command and its tests include its headers"
               : "";
}

std::string broken_dependency_rule(const Include& include) {
    if (!is_installed_header(include.file)) {
        return {};
    }
    for (const char* dependency :
         {"cppmicroservices", "boost/uuid", "boost/filesystem", "sqlite3.h", "xxhash.h", "lz4.h"}) {
        if (starts_with(include.header, dependency) && !shows_services(include.file)) {
            return std::string("no installed header may include ") + dependency;
        }
    }
    return {};
}

} // namespace

const std::map<std::string, std::set<std::string>>& allowed_rooms() {
    static const std::map<std::string, std::set<std::string>> rooms{
        {"host", {"registry"}},
        {"registry", {}},
        {"ids", {"host"}},
        {"stream", {"host"}},
        {"columns", {"host", "stream"}},
        {"memory", {"host", "stream", "columns"}},
        {"native", {"host", "stream", "columns", "ids"}},
        {"lookup", {"host", "registry", "stream", "memory"}},
        {"backends/builtin", {"host", "stream", "lookup", "memory", "native"}},
        {"backends/checked", {"host", "stream", "lookup"}},
        {"runs", {"host"}},
        {"backends/columnar", {"host", "ids", "stream", "columns", "lookup", "runs"}},
        {"backends/recording", {"host", "ids", "stream", "columns", "lookup", "runs"}},
        {"conformance", {"host", "registry", "stream", "lookup"}},
    };
    return rooms;
}

std::string broken_rule(const Include& include) {
    for (const auto rule :
         {broken_room_rule, broken_dependency_rule, broken_privacy_rule, broken_tools_rule}) {
        if (std::string reason = rule(include); !reason.empty()) {
            return reason;
        }
    }
    return {};
}

std::vector<Include> includes_below(const std::string& root) {
    static const std::regex pattern(R"(\s*#\s*include\s*[<"]([^>"]+)[>"].*)");
    std::vector<Include> result;
    for (const char* folder : {"logging2", "tools", "examples", "tests", "benchmarks"}) {
        const std::filesystem::path top = std::filesystem::path(root) / folder;
        if (!std::filesystem::exists(top)) {
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".hpp" && extension != ".cpp" && extension != ".h") {
                continue;
            }
            std::ifstream source(entry.path());
            std::smatch match;
            for (std::string line; std::getline(source, line);) {
                if (std::regex_match(line, match, pattern)) {
                    result.push_back(
                        {std::filesystem::relative(entry.path(), root).string(), match[1].str()});
                }
            }
        }
    }
    return result;
}

} // namespace logging2::core::test
