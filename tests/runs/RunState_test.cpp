#include <logging2/runs/runs.hpp>

#include <gmock/gmock.h>

namespace logging2::core::test {
namespace {

TEST(RunStateTest, nameIsTheWordOfTheState) {
    EXPECT_STREQ(name_of(RunState::running), "running");
    EXPECT_STREQ(name_of(RunState::finished), "finished");
    EXPECT_STREQ(name_of(RunState::interrupted), "interrupted");
}

} // namespace
} // namespace logging2::core::test
