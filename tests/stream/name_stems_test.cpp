#include <logging2/stream/name_stems.hpp>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <thread>
#include <vector>

namespace logging2::core {
namespace {

TEST(NameStemsTest, haveTheirFixedTexts) {
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

TEST(NameStemsTest, areTheSameObjectsInALibraryWithHiddenSymbols) {
    void* const module = dlopen(LOGGING2_HIDDEN_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    const auto ask = [module](const char* name) {
        return reinterpret_cast<const void* (*)()>(dlsym(module, name))();
    };
    EXPECT_EQ(ask("times_of_the_module"), &times());
    EXPECT_EQ(ask("values_of_the_module"), &values());
    dlclose(module);
}

} // namespace
} // namespace logging2::core
