#include <logging2/stream/name_stems.hpp>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace logging2::core {
namespace {

TEST(NameStemsTest, areTheStemsOfTimesAndValuesFiles) {
    EXPECT_EQ(times(), u"times_");
    EXPECT_EQ(values(), u"values_");
}

TEST(NameStemsTest, areTheSameObjectsOnEveryCallAndThread) {
    const std::u16string* const timesStem = &times();
    const std::u16string* const valuesStem = &values();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([=] {
            EXPECT_EQ(&times(), timesStem);
            EXPECT_EQ(&values(), valuesStem);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace logging2::core
