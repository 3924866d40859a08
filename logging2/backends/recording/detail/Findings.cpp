#include <logging2/backends/recording/detail/Findings.hpp>

#include <logging2/backends/recording/detail/text_streams.hpp>

#include <algorithm>
#include <utility>

namespace logging2::core::detail {

void Findings::add(const std::string& place, const std::string& fault) {
    addLine(place + ": " + fault);
}

void Findings::add(const std::exception& error) {
    addLine(error.what());
}

void Findings::addLine(std::string line) {
    ++check.findingCount;
    if (check.findings.size() == greatestLineCount) {
        return;
    }
    line.resize(std::min(line.size(), greatestLineLength));
    std::replace_if(
        line.begin(), line.end(),
        [](char character) {
            const auto byte = static_cast<unsigned char>(character);
            return byte < ' ' || byte == 0x7f;
        },
        '?');
    check.findings.push_back(std::move(line));
}

std::string text_of_steps(std::size_t firstStep, std::size_t stepCount) {
    if (stepCount == 1) {
        return "step " + std::to_string(firstStep);
    }
    return "steps " + std::to_string(firstStep) + " to " +
           std::to_string(firstStep + stepCount - 1);
}

std::string text_of_difference(const std::string& name, double expected, double found) {
    TextWriter text;
    text.precision(17);
    text << name << " is " << found << " instead of " << expected;
    return text.str();
}

std::string text_of_difference(const std::string& name, std::uint64_t expected,
                               std::uint64_t found) {
    return name + " is " + std::to_string(found) + " instead of " + std::to_string(expected);
}

} // namespace logging2::core::detail
