#include <tools/compare/Tolerances.hpp>

#include <tools/UsageError.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/selection/read_text.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <sstream>

namespace logging2::tools {
namespace {

double parsed_number(const std::string& text) {
    double result = 0;
    const char* const end = text.data() + text.size();
    const auto [parsedEnd, error] = std::from_chars(text.data(), end, result);
    if (error != std::errc() || parsedEnd != end || !std::isfinite(result) || result < 0) {
        throw UsageError('"' + text + "\" is not a number of at least 0");
    }
    return result;
}

} // namespace

void Tolerances::read(std::istream& file, const std::string& name) {
    std::istringstream content(read_text(file, name + ":"));
    std::string text;
    for (std::size_t number = 1; std::getline(content, text); ++number) {
        try {
            const Line line = parsed(text);
            if (!line.pattern.empty()) {
                lines.push_back(line);
            }
        } catch (const UsageError& error) {
            throw UsageError(name + ':' + std::to_string(number) + ": " + error.what());
        }
    }
}

Tolerance Tolerances::of(const std::string& path) const {
    const auto line = std::find_if(lines.rbegin(), lines.rend(), [&path](const Line& candidate) {
        return matches(candidate.pattern, path);
    });
    if (line == lines.rend()) {
        return standard;
    }
    return {line->absolute.value_or(standard.absolute), line->relative.value_or(standard.relative),
            line->time.value_or(standard.time)};
}

Tolerances::Line Tolerances::parsed(const std::string& text) {
    std::istringstream words(text.substr(0, text.find('#')));
    Line line;
    words >> line.pattern;
    for (std::string word; words >> word;) {
        const std::size_t sign = word.find('=');
        const std::string name = word.substr(0, sign);
        std::optional<double>* const member = name == "absolute"   ? &line.absolute
                                              : name == "relative" ? &line.relative
                                              : name == "time"     ? &line.time
                                                                   : nullptr;
        if (member == nullptr || sign == std::string::npos) {
            throw UsageError('"' + word +
                             "\" is neither absolute=NUMBER, relative=NUMBER nor time=NUMBER");
        }
        if (member->has_value()) {
            throw UsageError(name + " is given twice");
        }
        *member = parsed_number(word.substr(sign + 1));
    }
    const bool saysNothing = !line.absolute && !line.relative && !line.time;
    if (!line.pattern.empty() && saysNothing) {
        throw UsageError("there is no tolerance after the pattern \"" + line.pattern + '"');
    }
    return line;
}

} // namespace logging2::tools
