#include <logging2/backends/recording/detail/Description.hpp>

#include <logging2/backends/recording/detail/text_streams.hpp>
#include <logging2/ids/identifiers.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <set>
#include <stdexcept>
#include <tuple>

namespace logging2::core::detail {
namespace {

constexpr const char* firstLine = "logging2 recording 1";

/// Words are separated by spaces, so a word's spaces, percent signs and control characters are
/// written as a percent sign and two hexadecimal digits. An empty word is a lone percent sign.
std::string escaped(const std::string& word) {
    std::string result;
    for (const char character : word) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte > ' ' && byte != '%' && byte != 0x7f) {
            result += character;
            continue;
        }
        std::array<char, 4> code{};
        std::snprintf(code.data(), code.size(), "%%%02x", byte);
        result += code.data();
    }
    return result.empty() ? "%" : result;
}

unsigned hexadecimal(const std::string& digits) {
    unsigned value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.size() != 2) {
        throw std::runtime_error("a percent sign without two hexadecimal digits");
    }
    return value;
}

std::string unescaped(const std::string& word) {
    if (word == "%") {
        return {};
    }
    std::string result;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] == '%') {
            result += static_cast<char>(hexadecimal(word.substr(i + 1, 2)));
            i += 2;
        } else {
            result += word[i];
        }
    }
    return result;
}

std::string word_of(TextReader& line) {
    std::string word;
    if (!(line >> word)) {
        throw std::runtime_error("a word is missing");
    }
    return unescaped(word);
}

std::size_t number_of(TextReader& line) {
    const std::string word = word_of(line);
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) {
        throw std::runtime_error("\"" + word + "\" is not a number");
    }
    return value;
}

DescribedGroup& last_group(Description& description) {
    if (description.groups.empty()) {
        throw std::runtime_error("a group must come before its channels and paths");
    }
    return description.groups.back();
}

void read_channel(TextReader& line, DescribedGroup& group) {
    const std::size_t number = number_of(line);
    const std::size_t width = number_of(line);
    if (width > greatestWidth) {
        throw std::runtime_error("a channel is too wide");
    }
    group.channels.push_back({number, width});
}

void read_path(TextReader& line, DescribedGroup& group) {
    const std::size_t channel = number_of(line);
    if (channel >= group.channels.size()) {
        throw std::runtime_error("a path shows a channel that its group has not");
    }
    group.paths.push_back({word_of(line), channel});
}

void read_line(const std::string& text, Description& description) {
    TextReader line(text);
    const std::string kind = word_of(line);
    const std::map<std::string, std::string*> words{
        {"id", &description.id},           {"name", &description.name},
        {"start", &description.start},     {"host", &description.host},
        {"process", &description.process}, {"version", &description.libraryVersion}};
    if (const auto found = words.find(kind); found != words.end()) {
        *found->second = word_of(line);
    } else if (kind == "property") {
        const std::string key = word_of(line);
        description.properties[key] = word_of(line);
    } else if (kind == "group") {
        description.groups.push_back({number_of(line), {}, {}});
    } else if (kind == "channel") {
        read_channel(line, last_group(description));
    } else if (kind == "path") {
        read_path(line, last_group(description));
    } else {
        throw std::runtime_error("\"" + kind + "\" is unknown");
    }
    if (std::string rest; line >> rest) {
        throw std::runtime_error("too many words");
    }
}

std::vector<DescribedPath> paths_of(const LoggedPathsSetupData& setup,
                                    std::set<std::string>& known) {
    std::vector<DescribedPath> paths;
    const auto& channels = setup.coreIds();
    for (const LoggedPath& logged : setup.paths()) {
        const auto channel =
            std::find_if(channels.begin(), channels.end(),
                         [&](const LoggedChannel& candidate) { return candidate.id == logged.id; });
        const std::string text = logged.path.text();
        if (channel != channels.end() && known.insert(text).second) {
            paths.push_back({text, static_cast<std::size_t>(channel - channels.begin())});
        }
    }
    std::stable_sort(paths.begin(), paths.end(),
                     [](const DescribedPath& a, const DescribedPath& b) {
                         return std::tie(a.channel, a.text) < std::tie(b.channel, b.text);
                     });
    return paths;
}

} // namespace

std::vector<DescribedGroup> groups_of(const SequenceMap<Group, LoggedPathsSetupData>& setup) {
    std::vector<DescribedGroup> groups;
    std::set<std::string> known;
    for (const auto& [group, data] : setup) {
        DescribedGroup described{group.id(), {}, paths_of(data, known)};
        for (const LoggedChannel& channel : data.coreIds()) {
            described.channels.push_back({channel.id(), channel.width});
        }
        groups.push_back(std::move(described));
    }
    return groups;
}

std::vector<std::size_t> widths_of(const DescribedGroup& group) {
    std::vector<std::size_t> widths;
    widths.reserve(group.channels.size());
    for (const DescribedChannel& channel : group.channels) {
        widths.push_back(channel.width);
    }
    return widths;
}

std::string text_of(const Description& description) {
    TextWriter text;
    text << firstLine << "\nid " << escaped(description.id) << "\nname "
         << escaped(description.name) << "\nstart " << escaped(description.start) << "\nhost "
         << escaped(description.host) << "\nprocess " << escaped(description.process)
         << "\nversion " << escaped(description.libraryVersion) << '\n';
    for (const auto& [key, value] : description.properties) {
        text << "property " << escaped(key) << ' ' << escaped(value) << '\n';
    }
    for (const DescribedGroup& group : description.groups) {
        text << "group " << group.id << '\n';
        for (const DescribedChannel& channel : group.channels) {
            text << "channel " << channel.number << ' ' << channel.width << '\n';
        }
        for (const DescribedPath& path : group.paths) {
            text << "path " << path.channel << ' ' << escaped(path.text) << '\n';
        }
    }
    return text.str();
}

Description description_of(const std::string& text) {
    Description description;
    TextReader lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != firstLine) {
        throw std::runtime_error("the description does not begin as that of a recording");
    }
    for (std::size_t number = 2; std::getline(lines, line); ++number) {
        try {
            read_line(line, description);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error("line " + std::to_string(number) +
                                     " of the description: " + error.what());
        }
    }
    return description;
}

std::string text_of_time(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;
    const auto sinceEpoch = duration_cast<microseconds>(time.time_since_epoch());
    const auto wholeSeconds = floor<seconds>(sinceEpoch);
    const auto second = static_cast<std::time_t>(wholeSeconds.count());
    std::tm parts{};
    gmtime_r(&second, &parts);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec,
                  static_cast<int>((sinceEpoch - wholeSeconds).count()));
    return text.data();
}

std::chrono::system_clock::time_point time_of(const std::string& text) {
    using namespace std::chrono;
    std::tm parts{};
    int micros = 0;
    int length = 0;
    const int count =
        std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d.%6dZ%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &micros, &length);
    // The clock counts nanoseconds since 1970 in 64 bits.
    if (count != 7 || static_cast<std::size_t>(length) != text.size() || parts.tm_year < 1700 ||
        parts.tm_year > 2200) {
        throw std::runtime_error("\"" + text + "\" is not a time");
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return system_clock::from_time_t(timegm(&parts)) + microseconds(micros);
}

std::string new_uuid() {
    TextWriter text;
    text << get_unique_id();
    return text.str();
}

RunId run_id_of(const std::string& uuid) {
    std::string digits = uuid;
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    RunId id{};
    if (uuid.size() != 36 || digits.size() != 2 * id.size()) {
        throw std::runtime_error("\"" + uuid + "\" is not a UUID");
    }
    for (std::size_t i = 0; i < id.size(); ++i) {
        id[i] = static_cast<unsigned char>(hexadecimal(digits.substr(2 * i, 2)));
    }
    return id;
}

} // namespace logging2::core::detail
