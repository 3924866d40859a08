#include <tools/terminal/csv.hpp>

#include <tools/terminal/text.hpp>

namespace logging2::tools {
namespace {

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string result = "\"";
    for (const char c : text) {
        result += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return result + '"';
}

} // namespace

std::string csv_line(const std::vector<std::string>& cells) {
    std::string line;
    for (const std::string& cell : cells) {
        line += quoted(cell) + ',';
    }
    line.back() = '\n';
    return line;
}

std::string csv_line(const std::vector<std::optional<double>>& cells) {
    std::string line;
    for (const std::optional<double>& cell : cells) {
        line += (cell ? number_text(*cell) : "") + ',';
    }
    line.back() = '\n';
    return line;
}

} // namespace logging2::tools
