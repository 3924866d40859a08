#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <string>

namespace logging2::core::test {
namespace {

TEST(ReadmeTest, showsTheQuickStartAsItIsBuilt) {
    const std::string program = bytesOf(LOGGING2_SOURCE_DIR "/examples/quick_start/main.cpp");
    ASSERT_FALSE(program.empty());
    EXPECT_NE(bytesOf(LOGGING2_SOURCE_DIR "/README.md").find("```cpp\n" + program + "```\n"),
              std::string::npos);
}

} // namespace
} // namespace logging2::core::test
