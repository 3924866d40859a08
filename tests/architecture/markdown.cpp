#include <tests/architecture/markdown.hpp>

#include <tests/support/files.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <regex>
#include <sstream>

namespace logging2::core::test {
namespace {

/// The lines outside fenced blocks.
std::vector<std::string> open_lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    bool fenced = false;
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("```", 0) == 0) {
            fenced = !fenced;
        } else if (!fenced) {
            result.push_back(line);
        }
    }
    return result;
}

/// The lines outside fenced blocks, without their inline code.
std::vector<std::string> lines_without_code(const std::string& text) {
    static const std::regex code("`[^`]*`");
    std::vector<std::string> result;
    for (const std::string& line : open_lines(text)) {
        result.push_back(std::regex_replace(line, code, ""));
    }
    return result;
}

std::string anchor_of(const std::string& heading) {
    std::string result;
    for (const char character : heading) {
        const int byte = static_cast<unsigned char>(character);
        if (character == ' ' || character == '-') {
            result += '-';
        } else if (std::isalnum(byte) != 0 || character == '_') {
            result += static_cast<char>(std::tolower(byte));
        }
    }
    return result;
}

/// The texts after the '#' signs of the headings that match.
std::vector<std::string> headings_like(const std::string& text, const std::regex& pattern) {
    std::vector<std::string> result;
    std::smatch match;
    for (const std::string& line : open_lines(text)) {
        if (std::regex_match(line, match, pattern)) {
            result.push_back(match[1].str());
        }
    }
    return result;
}

/// Folders of build output, measurements and pictures, and Git's own folder.
bool is_left_out(const std::filesystem::path& folder, int depth) {
    static const std::set<std::string> names{"bench", "demo", ".git"};
    const std::string name = folder.filename().string();
    const bool isNamedSo = names.count(name) != 0 || name.rfind("build", 0) == 0;
    return (depth == 0 && isNamedSo) || std::filesystem::exists(folder / "CMakeCache.txt");
}

} // namespace

std::vector<std::string> link_targets(const std::string& text) {
    static const std::regex pattern(R"re(\]\(([^)\s]+)[^)]*\)|<[^>]*(?:src|href)="([^"]*)")re");
    std::vector<std::string> result;
    for (const std::string& line : lines_without_code(text)) {
        for (std::sregex_iterator link(line.begin(), line.end(), pattern), end; link != end;
             ++link) {
            result.push_back((*link)[(*link)[1].matched ? 1 : 2].str());
        }
    }
    return result;
}

std::vector<std::string> reference_links(const std::string& text) {
    static const std::regex pattern(R"(\]\[|^\[[^\]]+\]:)");
    std::vector<std::string> result;
    for (const std::string& line : lines_without_code(text)) {
        if (std::regex_search(line, pattern)) {
            result.push_back(line);
        }
    }
    return result;
}

std::vector<std::string> headings(const std::string& text) {
    static const std::regex pattern("## (.*)");
    return headings_like(text, pattern);
}

std::set<std::string> anchors(const std::string& text) {
    static const std::regex pattern("#+ (.*)");
    std::set<std::string> result;
    for (const std::string& heading : headings_like(text, pattern)) {
        result.insert(anchor_of(heading));
    }
    return result;
}

std::vector<std::string> documents_below(const std::string& root) {
    std::vector<std::string> result;
    std::filesystem::recursive_directory_iterator entry(root);
    for (; entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        if (entry->is_directory() && is_left_out(entry->path(), entry.depth())) {
            entry.disable_recursion_pending();
        } else if (entry->path().extension() == ".md") {
            result.push_back(std::filesystem::relative(entry->path(), root).string());
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::string broken_link(const std::string& root, const std::string& document,
                        const std::string& target) {
    if (target.find("://") != std::string::npos) {
        return {};
    }
    const std::size_t hash = target.find('#');
    const std::string name = target.substr(0, hash);
    const auto from = std::filesystem::path(root) / document;
    const auto file = name.empty() ? from : from.parent_path() / name;
    if (!std::filesystem::exists(file)) {
        return "no file " + name;
    }
    if (hash != std::string::npos && anchors(bytesOf(file)).count(target.substr(hash + 1)) == 0) {
        return "no heading " + target.substr(hash);
    }
    return {};
}

} // namespace logging2::core::test
