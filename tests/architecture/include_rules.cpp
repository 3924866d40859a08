#include <tests/architecture/include_rules.hpp>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string_view>
#include <utility>

namespace logging2::core::test {
namespace {

/// The folders of the library and those that each may include, beside itself.
const std::map<std::string, std::set<std::string>>& allowed_folders() {
    static const std::map<std::string, std::set<std::string>> folders{
        {"host", {}},
        {"ids", {"host"}},
        {"stream", {"host"}},
        {"memory", {"host", "stream"}},
        {"native", {"host", "ids", "stream"}},
    };
    return folders;
}

/// The few files that may do what their folder may not.
bool is_exception(const Include& include, std::string_view what) {
    static const std::set<std::pair<std::string, std::string>> exceptions{
        {"logging2/stream/entry_points.cpp", "memory"},
        {"logging2/host/foundation/bundle_context.hpp", "cppmicroservices"},
        {"backends/builtin/builtin_backends.hpp", "cppmicroservices"},
    };
    return exceptions.count({include.file, std::string(what)}) != 0;
}

bool starts_with(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// The second part of "logging2/memory/File.hpp"; empty for "logging2/export.hpp".
std::string library_folder(const std::string& path) {
    std::smatch match;
    static const std::regex pattern("logging2/([a-z]+)/.*");
    return std::regex_match(path, match, pattern) ? match[1].str() : std::string();
}

std::string broken_folder_rule(const Include& include) {
    const std::string from = library_folder(include.file);
    const std::string to = library_folder(include.header);
    if (from.empty() || to.empty() || from == to || is_exception(include, to)) {
        return {};
    }
    const auto rule = allowed_folders().find(from);
    if (rule == allowed_folders().end()) {
        return "no rule for the folder " + from;
    }
    return rule->second.count(to) != 0 ? std::string() : from + " must not include " + to;
}

bool is_installed_header(const std::string& file) {
    const bool inPublicTree = starts_with(file, "logging2/") || starts_with(file, "backends/");
    return inPublicTree && file.size() > 4 && file.substr(file.size() - 4) == ".hpp" &&
           file.find("/detail/") == std::string::npos;
}

std::string broken_dependency_rule(const Include& include) {
    if (!is_installed_header(include.file)) {
        return {};
    }
    for (const char* dependency : {"cppmicroservices", "boost/uuid", "boost/filesystem"}) {
        if (starts_with(include.header, dependency) && !is_exception(include, dependency)) {
            return std::string("no installed header may include ") + dependency;
        }
    }
    return {};
}

std::string broken_privacy_rule(const Include& include) {
    const bool isPrivate = starts_with(include.header, "logging2/") &&
                           include.header.find("/detail/") != std::string::npos;
    return isPrivate && !starts_with(include.file, "logging2/") &&
                   !starts_with(include.file, "tests/") && !starts_with(include.file, "benchmarks/")
               ? "only the library, its tests and benchmarks include its private headers"
               : std::string();
}

} // namespace

std::string broken_rule(const Include& include) {
    for (const auto rule : {broken_folder_rule, broken_dependency_rule, broken_privacy_rule}) {
        if (std::string reason = rule(include); !reason.empty()) {
            return reason;
        }
    }
    return {};
}

std::vector<Include> includes_below(const std::string& root) {
    static const std::regex pattern(R"(\s*#\s*include\s*[<"]([^>"]+)[>"].*)");
    std::vector<Include> result;
    for (const char* folder : {"logging2", "backends", "examples", "tests", "benchmarks"}) {
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
