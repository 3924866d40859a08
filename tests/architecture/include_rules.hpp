#pragma once

#include <string>
#include <vector>

namespace logging2::core::test {

/// A file of this tree, relative to its root with '/', and the name of a header that it includes.
struct Include {
    std::string file;
    std::string header;
};

/// Why the include is not allowed; empty where it is.
std::string broken_rule(const Include& include);

/// Every #include of the sources below the root, those of build folders left out.
std::vector<Include> includes_below(const std::string& root);

} // namespace logging2::core::test
