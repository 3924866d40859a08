#pragma once

#include <set>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The targets of the links and pictures of a Markdown text, also in its HTML, in their order;
/// those in code left out.
std::vector<std::string> link_targets(const std::string& text);

/// The lines that link by a label, and those that tell where a label leads: "[words][label]",
/// "[label]: target".
std::vector<std::string> reference_links(const std::string& text);

/// The level-two headings ("## ...") of a Markdown text, in their order; those in code left out.
std::vector<std::string> headings(const std::string& text);

/// What a link may name behind '#' in a Markdown text: its headings in lower case, blanks as '-',
/// punctuation left out.
std::set<std::string> anchors(const std::string& text);

/// The Markdown files below the root, relative to it, those of build folders left out.
std::vector<std::string> documents_below(const std::string& root);

/// Why the link of a document does not lead anywhere; empty where it does, and for web addresses.
std::string broken_link(const std::string& root, const std::string& document,
                        const std::string& target);

} // namespace logging2::core::test
