#include <tests/architecture/include_rules.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <regex>

namespace logging2::core::test {
namespace {

TEST(IncludeRulesTest, everyIncludeKeepsTheRules) {
    const std::vector<Include> includes = includes_below(LOGGING2_SOURCE_DIR);
    EXPECT_GT(includes.size(), 300U);
    for (const Include& include : includes) {
        EXPECT_EQ(broken_rule(include), "") << include.file << " includes " << include.header;
    }
}

struct Case {
    Include include;
    bool allowed;
};

TEST(IncludeRulesTest, plantedFaultsAreFound) {
    const Case cases[] = {
        {{"logging2/host/lang/ValuePath.hpp", "logging2/stream/StreamWriter.hpp"}, false},
        {{"logging2/host/lang/ValuePath.hpp", "logging2/host/kernel/Group.hpp"}, true},
        {{"logging2/host/lang/ValuePath.hpp", "logging2/export.hpp"}, true},
        {{"logging2/ids/ids.cpp", "logging2/host/foundation/Message.hpp"}, true},
        {{"logging2/ids/ids.cpp", "logging2/stream/StreamWriter.hpp"}, false},
        {{"logging2/stream/StreamWriter.hpp", "logging2/memory/MemoryStreamWriter.hpp"}, false},
        {{"logging2/stream/StreamWriter.cpp", "logging2/columns/storage.hpp"}, false},
        {{"logging2/columns/append_rows.hpp", "logging2/native/StreamMetadata.hpp"}, false},
        {{"logging2/memory/MemoryStreamWriter.hpp", "logging2/stream/StreamWriter.hpp"}, true},
        {{"logging2/memory/MemoryStreamWriter.hpp", "logging2/native/NativeStreamWriter.hpp"},
         false},
        {{"logging2/memory/MemoryStreamWriter.cpp", "logging2/columns/storage.hpp"}, true},
        {{"logging2/memory/MemoryStreamWriter.hpp", "logging2/columns/storage.hpp"}, false},
        {{"logging2/memory/MemoryStreamWriter.hpp", "logging2/memory/detail/RowStorage.hpp"}, true},
        {{"logging2/memory/MemoryStreamWriter.cpp", "logging2/lookup/entry_points.hpp"}, false},
        {{"logging2/lookup/entry_points.cpp", "logging2/memory/MemoryStreamWriter.hpp"}, true},
        {{"logging2/lookup/entry_points.cpp", "logging2/native/NativeStreamWriter.hpp"}, false},
        {{"logging2/native/NativeStreamWriter.hpp", "logging2/memory/MemoryDatastore.hpp"}, false},
        {{"logging2/native/NativeStreamWriter.hpp", "logging2/ids/identifiers.hpp"}, true},
        {{"logging2/registry/Framework.cpp", "logging2/host/lang/ValuePath.hpp"}, false},
        {{"logging2/registry/cppmicroservices/Any.h", "logging2/registry/export.hpp"}, true},
        {{"logging2/registry/cppmicroservices/Any.h", "logging2/export.hpp"}, false},
        {{"logging2/other/File.hpp", "logging2/host/lang/ValuePath.hpp"}, false},
        {{"logging2/backends/builtin/a.cpp", "logging2/lookup/Backend.hpp"}, true},
        {{"logging2/backends/builtin/a.cpp", "logging2/backends/other/b.hpp"}, false},
        {{"logging2/lookup/Backend.cpp", "logging2/backends/builtin/a.hpp"}, false},
        {{"logging2/ids/identifiers.hpp", "boost/uuid/uuid.hpp"}, false},
        {{"logging2/ids/identifiers.cpp", "boost/uuid/uuid.hpp"}, true},
        {{"logging2/stream/StreamWriter.hpp", "cppmicroservices/BundleContext.h"}, false},
        {{"logging2/native/NativeStreamWriter.cpp", "cppmicroservices/Any.h"}, false},
        {{"logging2/host/foundation/bundle_context.hpp", "cppmicroservices/BundleContext.h"}, true},
        {{"logging2/lookup/Backend.hpp", "cppmicroservices/ServiceRegistration.h"}, true},
        {{"examples/simulate/main.cpp", "logging2/native/detail/file_names.hpp"}, false},
        {{"examples/simulate/main.cpp", "logging2/columns/storage.hpp"}, false},
        {{"tools/main.cpp", "logging2/backends/recording/recording.hpp"}, true},
        {{"tools/main.cpp", "logging2/backends/recording/detail/Engine.hpp"}, false},
        {{"tests/tools/text_test.cpp", "tools/terminal/text.hpp"}, true},
        {{"examples/simulate/main.cpp", "tools/terminal/text.hpp"}, false},
        {{"logging2/runs/Run.cpp", "tools/terminal/text.hpp"}, false},
        {{"benchmarks/micro/transpose.cpp", "logging2/columns/append_rows.hpp"}, true},
        {{"logging2/native/NativeStreamWriter.cpp", "logging2/native/detail/file_names.hpp"}, true},
    };
    for (const Case& planted : cases) {
        EXPECT_EQ(broken_rule(planted.include).empty(), planted.allowed)
            << planted.include.file << " includes " << planted.include.header;
    }
}

/// The room of each node of the picture, by the node's name. The label of a room begins with its
/// folder.
std::map<std::string, std::string> drawn_rooms(const std::string& picture) {
    static const std::regex node(R"-(\n  (\w+) \[label="([a-z/]+)/(?:\\n|"))-");
    std::map<std::string, std::string> rooms;
    for (std::sregex_iterator found(picture.begin(), picture.end(), node), end; found != end;
         ++found) {
        rooms.emplace((*found)[1], (*found)[2]);
    }
    return rooms;
}

/// The rooms that each room includes in the picture.
std::map<std::string, std::set<std::string>> drawn_arrows(const std::string& picture) {
    static const std::regex arrow(R"(\n  (\w+) -> (\w+))");
    const std::map<std::string, std::string> rooms = drawn_rooms(picture);
    std::map<std::string, std::set<std::string>> arrows;
    for (std::sregex_iterator found(picture.begin(), picture.end(), arrow), end; found != end;
         ++found) {
        const auto from = rooms.find((*found)[1]);
        const auto to = rooms.find((*found)[2]);
        if (from != rooms.end() && to != rooms.end()) {
            arrows[from->second].insert(to->second);
        }
    }
    return arrows;
}

std::set<std::string> reached_from(const std::string& room,
                                   const std::map<std::string, std::set<std::string>>& arrows) {
    std::set<std::string> reached;
    const auto next = arrows.find(room);
    if (next != arrows.end()) {
        for (const std::string& target : next->second) {
            reached.insert(target);
            reached.merge(reached_from(target, arrows));
        }
    }
    return reached;
}

const std::string& picture() {
    static const std::string text =
        bytesOf(std::string(LOGGING2_SOURCE_DIR) + "/docs/pictures/folders.dot");
    return text;
}

TEST(IncludeRulesTest, pictureShowsNoForbiddenArrow) {
    for (const auto& [from, targets] : drawn_arrows(picture())) {
        ASSERT_EQ(allowed_rooms().count(from), 1U) << from;
        for (const std::string& to : targets) {
            EXPECT_EQ(allowed_rooms().at(from).count(to), 1U) << from << " -> " << to;
        }
    }
}

TEST(IncludeRulesTest, pictureShowsAPathForEveryAllowedInclude) {
    const auto arrows = drawn_arrows(picture());
    for (const auto& [from, targets] : allowed_rooms()) {
        const std::set<std::string> reached = reached_from(from, arrows);
        for (const std::string& to : targets) {
            EXPECT_EQ(reached.count(to), 1U) << from << " -> " << to;
        }
    }
}

} // namespace
} // namespace logging2::core::test
