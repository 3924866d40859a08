#include <logging2/ids/identifiers.hpp>

#include <gtest/gtest.h>

#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace logging2::core {
namespace {

std::string uniqueText() {
    std::ostringstream stream;
    stream << get_unique_id();
    return stream.str();
}

TEST(DatastoreIdTest, areFixedKeys) {
    EXPECT_EQ(datastore_run_id(), "runId");
    EXPECT_EQ(datastore_model_id(), "model");
}

TEST(DatastoreIdTest, areTheSameObjectsOnEveryCall) {
    EXPECT_EQ(&datastore_run_id(), &datastore_run_id());
    EXPECT_EQ(&datastore_model_id(), &datastore_model_id());
}

TEST(UniqueIdTest, isAVersion4Variant1UuidInLowerCase) {
    const std::regex pattern("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    for (int i = 0; i < 100; ++i) {
        const std::string text = uniqueText();
        EXPECT_TRUE(std::regex_match(text, pattern)) << text;
    }
}

// A digit that is not seen in 1000 draws has odds of about (15/16)^1000, below 1e-28.
TEST(UniqueIdTest, everyOtherBitIsRandom) {
    std::set<char> seen[36];
    for (int i = 0; i < 1000; ++i) {
        const std::string text = uniqueText();
        for (std::size_t k = 0; k < text.size(); ++k) {
            seen[k].insert(text[k]);
        }
    }
    for (std::size_t k = 0; k < 36; ++k) {
        const bool isHyphen = k == 8 || k == 13 || k == 18 || k == 23;
        const std::size_t expected = isHyphen || k == 14 ? 1 : k == 19 ? 4 : 16;
        EXPECT_EQ(seen[k].size(), expected) << "character " << k;
    }
}

TEST(UniqueIdTest, isUniqueAcrossThreads) {
    std::mutex mutex;
    std::set<std::string> texts;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 250; ++k) {
                const std::string text = uniqueText();
                const std::lock_guard lock(mutex);
                texts.insert(text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(texts.size(), 1000U);
}

} // namespace
} // namespace logging2::core
