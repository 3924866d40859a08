#include <logging2/native/detail/row_capacity.hpp>

#include <gtest/gtest.h>

namespace logging2::core::detail {
namespace {

TEST(RowCapacityTest, fills64MebibytesWithOneDoublePerPath) {
    const struct {
        std::size_t pathCount;
        std::size_t rowCount;
    } cases[] = {
        {0, 8388608}, {1, 4194304}, {2, 2796202},  {3, 2097152},     {8, 932067},
        {100, 83055}, {1000, 8380}, {8388606, 1},  {4194303, 2},     {4194304, 1},
        {8388607, 1}, {8388608, 1}, {20000000, 1}, {(1U << 31U), 1},
    };
    for (const auto& [pathCount, rowCount] : cases) {
        EXPECT_EQ(row_capacity(pathCount), rowCount) << pathCount << " paths";
    }
}

} // namespace
} // namespace logging2::core::detail
