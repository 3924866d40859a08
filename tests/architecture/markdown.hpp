#pragma once

#include <set>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The targets of the links and pictures of a Markdown text, including its HTML, in order. Links
/// inside code are left out.
std::vector<std::string> link_targets(const std::string& text);

/// The lines that use or define a link label: "[words][label]", "[label]: target".
std::vector<std::string> reference_links(const std::string& text);

/// The level-two headings ("## ...") of a Markdown text, in order, except those inside code.
std::vector<std::string> headings(const std::string& text);

/// The anchors that a link may name after '#': the headings in lower case, with '-' for blanks and
/// without punctuation.
std::set<std::string> anchors(const std::string& text);

/// The Markdown files below the root, relative to it, except those in build folders.
std::vector<std::string> documents_below(const std::string& root);

/// The reason why a document's link is broken; empty if the link works or is a web address.
std::string broken_link(const std::string& root, const std::string& document,
                        const std::string& target);

} // namespace logging2::core::test
