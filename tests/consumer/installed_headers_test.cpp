#include <tests/architecture/include_rules.hpp>

#include <gmock/gmock.h>

#include <boost/algorithm/string/predicate.hpp>

#include <filesystem>
#include <set>
#include <string>

// Finds headers that are missing from the list of installed headers or from their library's header.

namespace logging2::core::test {
namespace {

using ::testing::ContainerEq;
using ::testing::IsEmpty;

using Names = std::set<std::string>;

const std::string tree = LOGGING2_SOURCE_DIR;
const std::string installed = LOGGING2_INSTALLED_HEADERS;
const std::string services = "logging2/registry/";

bool is_not_for_users(const std::string& header) {
    return header.find("/detail/") != std::string::npos ||
           boost::starts_with(header, "logging2/columns/");
}

/// The header's path below the folder of our headers; empty for other headers.
std::string own_name(const std::string& header) {
    if (LOGGING2_OWN_REGISTRY != 0 && boost::starts_with(header, "cppmicroservices/")) {
        return services + header;
    }
    return boost::starts_with(header, "logging2/") ? header : "";
}

Names headers_below(const std::string& root) {
    Names result;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(std::filesystem::path(root) / "logging2")) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".hpp" || extension == ".h") {
            result.insert(std::filesystem::relative(entry.path(), root).string());
        }
    }
    return result;
}

Names public_headers_of_the_tree() {
    Names result;
    for (const std::string& header : headers_below(tree)) {
        if (!is_not_for_users(header) &&
            (LOGGING2_OWN_REGISTRY != 0 || !boost::starts_with(header, services))) {
            result.insert(header);
        }
    }
    return result;
}

/// The headers and all of ours that they include, directly or indirectly.
Names reached_from(Names headers, const std::string& root) {
    const std::vector<Include> includes = includes_below(root);
    for (std::size_t before = 0; before != headers.size();) {
        before = headers.size();
        for (const Include& include : includes) {
            const std::string name = own_name(include.header);
            if (!name.empty() && headers.count(include.file) != 0) {
                headers.insert(name);
            }
        }
    }
    return headers;
}

TEST(InstalledHeadersTest, arePublicHeadersAndTheirIncludes) {
    EXPECT_THAT(headers_below(installed),
                ContainerEq(reached_from(public_headers_of_the_tree(), tree)));
}

TEST(InstalledHeadersTest, areAllIncludedByTheHeaderOfTheirLibrary) {
    Names left;
    const Names reached = reached_from(
        {"logging2/logging2.hpp", "logging2/backends/builtin/builtin_backends.hpp",
         "logging2/backends/checked/checked.hpp", "logging2/conformance/conformance.hpp",
         "logging2/runs/runs.hpp", "logging2/backends/columnar/columnar.hpp",
         "logging2/backends/recording/recording.hpp"},
        installed);
    for (const std::string& header : headers_below(installed)) {
        if (boost::starts_with(header, "logging2/") && !boost::starts_with(header, services) &&
            reached.count(header) == 0) {
            left.insert(header);
        }
    }
    EXPECT_THAT(left, IsEmpty());
}

} // namespace
} // namespace logging2::core::test
