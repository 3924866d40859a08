#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/architecture/markdown.hpp>
#include <tests/architecture/source_tree.hpp>
#include <tests/support/files.hpp>

#include <gmock/gmock.h>

#include <cstddef>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

/// The text of the pattern's first group at each match.
std::vector<std::string> first_groups(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), regex, 1), {}};
}

TEST(DocumentsTest, everyLinkHasATarget) {
    std::size_t linkCount = 0;
    for (const std::string& document : documents_below(sourceTree)) {
        for (const std::string& target : link_targets(bytesOf(sourceTree + "/" + document))) {
            EXPECT_EQ(broken_link(sourceTree, document, target), "")
                << target << " in " << document;
            ++linkCount;
        }
        // Nothing checks the targets of reference links.
        EXPECT_THAT(reference_links(bytesOf(sourceTree + "/" + document)), IsEmpty()) << document;
    }
    EXPECT_GT(linkCount, 40U);
}

TEST(DocumentsTest, plantedBrokenLinksAreFound) {
    const TemporaryDirectory directory;
    const std::string top = directory.path().string();
    writeBytes(top + "/a.md", "# The first page\n\n## What is `there/`, and why\n");
    const auto broken = [&](const std::string& target) { return broken_link(top, "a.md", target); };
    EXPECT_EQ(broken("https://example.org/nothing"), "");
    EXPECT_EQ(broken("a.md"), "");
    EXPECT_EQ(broken("a.md#what-is-there-and-why"), "");
    EXPECT_EQ(broken("#the-first-page"), "");
    EXPECT_EQ(broken("b.md"), "no file b.md");
    EXPECT_EQ(broken("#what-is-there"), "no heading #what-is-there");
    EXPECT_EQ(documents_below(top), std::vector<std::string>{"a.md"});
}

TEST(DocumentsTest, linksInCodeAreIgnored) {
    EXPECT_THAT(link_targets("[one](a.md \"title\") and ![two](b.svg), `[no](c.md)`\n"
                             "```sh\n[no](d.md)\n```\n[`three`](e.md#f)\n"),
                ElementsAre("a.md", "b.svg", "e.md#f"));
}

TEST(DocumentsTest, linksInHtmlAreFound) {
    EXPECT_THAT(
        link_targets("<a href=\"a.md\">one</a> <img width=\"9\" src=\"b.svg\">\n`<img src=\"c\">`"),
        ElementsAre("a.md", "b.svg"));
}

TEST(DocumentsTest, plantedReferenceLinksAreFound) {
    const std::string use = "see [the words][label]";
    const std::string definition = "[label]: a.md";
    EXPECT_THAT(reference_links("[one](a.md), `a[0][1]`\n" + use + "\n\n" + definition + "\n"),
                ElementsAre(use, definition));
}

TEST(DocumentsTest, documentsInBuildFoldersAreIgnored) {
    const TemporaryDirectory directory;
    const std::string top = directory.path().string();
    for (const char* folder :
         {"build", "build-clang", "out/debug", "docs/build", ".git", "bench", "demo"}) {
        std::filesystem::create_directories(top + "/" + folder);
        writeBytes(top + "/" + folder + "/a.md", "");
    }
    writeBytes(top + "/out/debug/CMakeCache.txt", "");
    EXPECT_THAT(documents_below(top), ElementsAre("docs/build/a.md"));
}

TEST(DocumentsTest, optionTableListsEveryCMakeOption) {
    EXPECT_THAT(
        first_groups(bytesOf(sourceTree + "/docs/using/installing.md"),
                     R"(\n\| `(LOGGING2_\w+)` \|)"),
        UnorderedElementsAreArray(first_groups(bytesOf(sourceTree + "/CMakeLists.txt"),
                                               R"(\n(?:\w*option|set)\((LOGGING2_\w+)\s)")));
}

TEST(DocumentsTest, everyDecisionIsListedAndHasTheSameHeadings) {
    const std::string folder = sourceTree + "/docs/maintaining/decisions";
    const std::vector<std::string> pages = documents_below(folder);
    const std::vector<std::string> listed = link_targets(bytesOf(folder + "/README.md"));
    ASSERT_THAT(listed, SizeIs(pages.size() - 1));
    for (std::size_t i = 0; i < listed.size(); ++i) {
        EXPECT_THAT(listed[i], StartsWith((i < 9 ? "0" : "") + std::to_string(i + 1) + "-"));
        EXPECT_THAT(headings(bytesOf(folder + "/" + listed[i])), ElementsAre("Decision", "Reasons"))
            << listed[i];
    }
}

} // namespace
} // namespace logging2::core::test
