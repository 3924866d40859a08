#include <tests/architecture/markdown.hpp>
#include <tests/architecture/source_tree.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

// Code that a page for users shows is code that is built and run.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The fenced blocks of the language, without the fences.
std::vector<std::string> snippets(const std::string& document, const std::string& language) {
    const std::string opening = "\n```" + language + "\n";
    std::vector<std::string> result;
    for (std::size_t at = document.find(opening); at != std::string::npos;
         at = document.find(opening, at + 1)) {
        const std::size_t begin = at + opening.size();
        result.push_back(document.substr(begin, document.find("```", begin) - begin));
    }
    return result;
}

/// The texts of all files below the folders, each behind a line break.
std::string sources_below(const std::vector<std::string>& folders) {
    std::string texts;
    for (const std::string& folder : folders) {
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(sourceTree + folder)) {
            texts += entry.is_directory() ? "" : "\n" + bytesOf(entry.path());
        }
    }
    return texts;
}

std::string indented(const std::string& text, std::size_t width) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        result += (line.empty() ? "" : std::string(width, ' ')) + line + '\n';
    }
    return result;
}

/// Whether the sources have exactly these lines, all of them indented further by the same width.
bool is_built(const std::string& snippet, const std::string& sources) {
    for (std::size_t width = 0; width <= 16; width += 4) {
        if (sources.find('\n' + indented(snippet, width)) != std::string::npos) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> pages_for_users() {
    std::vector<std::string> pages{"README.md"};
    for (const std::string& page : documents_below(sourceTree + "/docs/using")) {
        pages.push_back("docs/using/" + page);
    }
    return pages;
}

/// The snippets that are not in the sources.
std::vector<std::string> unbuilt_snippets(const std::string& page, const std::string& language,
                                          const std::string& sources) {
    std::vector<std::string> result;
    for (const std::string& snippet : snippets(page, language)) {
        if (!is_built(snippet, sources)) {
            result.push_back(snippet);
        }
    }
    return result;
}

TEST(SnippetsTest, codeOnPagesForUsersIsBuilt) {
    const std::string sources = sources_below({"/examples", "/tests/conformance"});
    std::size_t snippetCount = 0;
    for (const std::string& page : pages_for_users()) {
        const std::string text = bytesOf(sourceTree + '/' + page);
        EXPECT_THAT(unbuilt_snippets(text, "cpp", sources), IsEmpty()) << page;
        snippetCount += snippets(text, "cpp").size();
    }
    EXPECT_GT(snippetCount, 10U);
}

TEST(SnippetsTest, projectOnThePageAboutBackendsIsBuilt) {
    const std::string page = bytesOf(sourceTree + "/docs/using/writing-a-backend.md");
    EXPECT_THAT(unbuilt_snippets(page, "cmake", sources_below({"/examples/custom_backend"})),
                IsEmpty());
    EXPECT_FALSE(snippets(page, "cmake").empty());
}

TEST(SnippetsTest, plantedDifferencesAreFound) {
    const std::string sources = "\nint main() {\n    f(1);\n\n    g(2);\n}\n";
    const auto page = [](const std::string& code) { return "text\n```cpp\n" + code + "```\n"; };
    for (const char* const same :
         {"int main() {\n    f(1);\n", "f(1);\n\ng(2);\n", "    g(2);\n"}) {
        EXPECT_THAT(unbuilt_snippets(page(same), "cpp", sources), IsEmpty()) << same;
    }
    for (const char* const other :
         {"f(1)\n", "f(2);\n", "f(1);\ng(2);\n", "f(1);\n  g(2);\n", "main() {\n", "  f(1);\n"}) {
        EXPECT_THAT(unbuilt_snippets(page(other), "cpp", sources), ElementsAre(other));
    }
}

} // namespace
} // namespace logging2::core::test
