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

/// The rooms of the tree and those that each may include, beside itself. A room is a folder below
/// logging2/; every back-end is a room of its own. The headers of the service registry, whichever
/// is used, belong to "registry".
const std::map<std::string, std::set<std::string>>& allowed_rooms();

/// Why the include is not allowed; empty where it is.
std::string broken_rule(const Include& include);

/// Every #include of the sources below the root, those of build folders left out.
std::vector<Include> includes_below(const std::string& root);

} // namespace logging2::core::test
