#include <tools/UsageError.hpp>
#include <tools/native/layout.hpp>
#include <tools/selection/read_text.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <string_view>

namespace logging2::tools {
namespace {

using nlohmann::json;

json parsed(const std::string& text) {
    try {
        return json::parse(text);
    } catch (const json::parse_error& error) {
        if (error.byte == 0 || error.byte > text.size()) {
            throw UsageError("the setup is not JSON: it ends too early");
        }
        const std::string before = text.substr(0, error.byte - 1);
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        throw UsageError("the setup is not JSON: line " + std::to_string(line) + " is wrong");
    } catch (const json::out_of_range&) {
        throw UsageError("the setup has a number that is too large");
    }
}

/// A spelling mistake must not be taken for a member that is missing.
void check_members(const json& object, const std::set<std::string>& names, const char* what) {
    if (!object.is_object()) {
        throw UsageError(std::string("the setup is not valid: ") + what + " must be an object");
    }
    for (const auto& [name, value] : object.items()) {
        if (names.count(name) == 0) {
            throw UsageError(std::string("the setup is not valid: ") + what +
                             " has the unknown member \"" + name + '"');
        }
    }
}

const json& list_in(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_array()) {
        throw UsageError(std::string("the setup is not valid: \"") + name + "\" must be a list");
    }
    return *found;
}

std::uint64_t number_in(const json& object, const char* name) {
    const auto found = object.find(name);
    if (found == object.end() || !found->is_number_unsigned()) {
        throw UsageError(std::string("the setup is not valid: \"") + name +
                         "\" must be a whole number");
    }
    return found->get<std::uint64_t>();
}

class LayoutReader {
public:
    Layout read(const json& setup) {
        check_members(setup, {"groups"}, "the setup");
        for (const json& group : list_in(setup, "groups")) {
            check_members(group, {"id", "channels"}, "a group");
            const std::size_t id = number_in(group, "id");
            if (layout.count(id) != 0) {
                throw UsageError("the setup is not valid: group " + std::to_string(id) +
                                 " is in it twice");
            }
            layout.emplace(id, channelsOf(group, id));
        }
        return std::move(layout);
    }

private:
    std::vector<ChannelLayout> channelsOf(const json& group, std::size_t groupId) {
        std::vector<ChannelLayout> channels;
        for (const json& channel : list_in(group, "channels")) {
            check_members(channel, {"id", "width", "paths"}, "a channel");
            const std::size_t id = number_in(channel, "id");
            // The writer finds the file of a channel by its number alone.
            if (!ids.insert(id).second) {
                throw UsageError("the setup is not valid: channel " + std::to_string(id) +
                                 " is in it twice");
            }
            channels.push_back({id, number_in(channel, "width"),
                                channel.contains("paths")
                                    ? pathsOf(channel)
                                    : std::vector<std::string>{numbered_path(groupId, id)}});
        }
        return channels;
    }

    std::vector<std::string> pathsOf(const json& channel) {
        std::vector<std::string> result;
        for (const json& path : list_in(channel, "paths")) {
            if (!path.is_string() || path.get<std::string>().empty()) {
                throw UsageError("the setup is not valid: a path must be a text");
            }
            result.push_back(path);
            if (!paths.insert(result.back()).second) {
                throw UsageError("the setup is not valid: the path \"" + result.back() +
                                 "\" is in it twice");
            }
        }
        return result;
    }

    Layout layout;
    std::set<std::size_t> ids;
    std::set<std::string> paths;
};

} // namespace

Layout read_layout(std::istream& file) {
    return LayoutReader().read(parsed(read_text(file, "the setup")));
}

} // namespace logging2::tools
