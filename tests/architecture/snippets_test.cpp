#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

// The code in the documents is the code that is built.

namespace logging2::core::test {
namespace {

const std::filesystem::path root = LOGGING2_SOURCE_DIR;

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

/// The texts of the folders' sources, each after a line break.
std::string sources_of(const std::vector<std::string>& folders) {
    std::string texts;
    for (const std::string& folder : folders) {
        for (const auto& entry : std::filesystem::directory_iterator(root / folder)) {
            if (!entry.is_directory()) {
                texts += "\n" + bytesOf(entry.path());
            }
        }
    }
    return texts;
}

void expect_built(const std::vector<std::string>& shown, const std::vector<std::string>& folders) {
    EXPECT_FALSE(shown.empty());
    const std::string sources = sources_of(folders);
    for (const std::string& snippet : shown) {
        EXPECT_NE(sources.find("\n" + snippet), std::string::npos) << snippet;
    }
}

TEST(SnippetsTest, readmeShowsTheQuickStartThatIsBuilt) {
    const auto shown = snippets(bytesOf(root / "README.md"), "cpp");
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown.front(), bytesOf(root / "examples/quick_start/main.cpp"));
}

TEST(SnippetsTest, backendPageShowsCodeThatIsBuilt) {
    const std::string page = bytesOf(root / "docs/writing-a-backend.md");
    expect_built(snippets(page, "cpp"),
                 {"examples/custom_backend", "tests/conformance", "tests/conformance/mutants"});
    expect_built(snippets(page, "cmake"), {"examples/custom_backend"});
}

} // namespace
} // namespace logging2::core::test
