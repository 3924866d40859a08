#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace logging2::core::test {
namespace {

std::string textOf(const std::string& file) {
    std::ifstream stream(LOGGING2_SOURCE_DIR "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ReadmeTest, showsTheQuickStartAsItIsBuilt) {
    const std::string program = textOf("examples/quick_start/main.cpp");
    ASSERT_FALSE(program.empty());
    EXPECT_NE(textOf("README.md").find("```cpp\n" + program + "```\n"), std::string::npos);
}

} // namespace
} // namespace logging2::core::test
