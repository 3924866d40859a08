#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace logging2::core::test {

/// A file of this tree, relative to its root with '/', and the name of a header that it includes.
struct Include {
    std::string file;
    std::string header;
};

/// The rooms of the tree, each with the rooms that it may include besides itself. A room is a
/// folder below logging2/; every back-end is its own room. The headers of either service registry
/// belong to "registry".
const std::map<std::string, std::set<std::string>>& allowed_rooms();

/// The reason why the include is forbidden; empty if it is allowed.
std::string broken_rule(const Include& include);

/// Every #include of the sources below the root, except those in build folders.
std::vector<Include> includes_below(const std::string& root);

} // namespace logging2::core::test
