#include <tests/lookup/LookUpTest.hpp>

#include <cppmicroservices/IllegalStateException.h>

#include <thread>
#include <vector>

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using RegisteredBackendsTest = LookUpTest;

std::vector<std::string> names(const std::vector<BackendInfo>& backends) {
    std::vector<std::string> result;
    for (const BackendInfo& backend : backends) {
        result.push_back(backend.name);
    }
    return result;
}

void expect_info(const BackendInfo& actual, const BackendInfo& expected) {
    EXPECT_EQ(actual.name, expected.name);
    EXPECT_EQ(actual.description, expected.description);
    EXPECT_EQ(actual.supportsRollback, expected.supportsRollback);
    EXPECT_EQ(actual.isPersistent, expected.isPersistent);
}

TEST_F(RegisteredBackendsTest, listIsEmptyAtFirst) {
    EXPECT_THAT(registered_backends(context()), IsEmpty());
}

TEST_F(RegisteredBackendsTest, describesEachBackendAsItWasRegistered) {
    const std::vector<BackendInfo> expected{{"none", "", false, false},
                                            {"undoes", "discards samples", true, false},
                                            {"stays", "outlives the process", false, true},
                                            {"both", "does everything", true, true}};
    for (const BackendInfo& info : expected) {
        register_backend(context(), make_backend<MemoryStreamWriter, MemoryStreamReader>(info));
    }
    const std::vector<BackendInfo> actual = registered_backends(context());
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        expect_info(actual[i], expected[i]);
    }
}

TEST_F(RegisteredBackendsTest, unregisteredBackendIsNotListed) {
    BackendRegistrations gone = register_backend(context(), memoryBackend("gone"));
    register_backend(context(), memoryBackend("kept"));
    unregister(gone);
    EXPECT_THAT(names(registered_backends(context())), ElementsAre("kept"));
}

TEST_F(RegisteredBackendsTest, highestRankingComesFirst) {
    register_backend(context(), memoryBackend("a"));
    BackendRegistrations low = register_backend(context(), memoryBackend("low"));
    BackendRegistrations high = register_backend(context(), memoryBackend("high"));
    register_backend(context(), memoryBackend("b"));
    setRanking(low, memoryBackend("low"), -1);
    setRanking(high, memoryBackend("high"), 1);
    EXPECT_THAT(names(registered_backends(context())), ElementsAre("high", "a", "b", "low"));
}

TEST_F(RegisteredBackendsTest, duplicateNameIsListedAsTheLookUpFindsIt) {
    Backend first = memoryBackend("n");
    first.description = "first";
    Backend second = memoryBackend("n");
    second.description = "second";
    second.createWriter = [](auto&&...) { return nullptr; };
    register_backend(context(), first);
    BackendRegistrations later = register_backend(context(), second);
    ASSERT_EQ(registered_backends(context()).size(), 1U);
    EXPECT_EQ(registered_backends(context()).front().description, "first");
    EXPECT_NE(writerNamed("n").value(), nullptr);

    setRanking(later, second, 1);
    ASSERT_EQ(registered_backends(context()).size(), 1U);
    EXPECT_EQ(registered_backends(context()).front().description, "second");
    EXPECT_EQ(writerNamed("n").value(), nullptr);
}

TEST_F(RegisteredBackendsTest, serviceRegisteredByHandHasOnlyAName) {
    register_backend(context(), memoryBackend("helper"));
    const auto service =
        context().GetService(context().GetServiceReferences<StreamWriterService>().front());
    ServiceProperties properties;
    properties[vtllogging_write_type_id()] = std::string("by hand");
    context().RegisterService<StreamWriterService>(service, properties);
    const std::vector<BackendInfo> backends = registered_backends(context());
    ASSERT_EQ(backends.size(), 2U);
    expect_info(backends[1], {"by hand", "", false, false});
}

TEST_F(RegisteredBackendsTest, serviceWithoutANameIsNotListed) {
    BackendRegistrations unnamed = register_backend(context(), memoryBackend("n"));
    unnamed.front().SetProperties({});
    BackendRegistrations numbered = register_backend(context(), memoryBackend("n"));
    setProperty(numbered.front(), vtllogging_write_type_id(), 42);
    EXPECT_THAT(registered_backends(context()), IsEmpty());
}

TEST_F(RegisteredBackendsTest, backendWithoutAWriterServiceIsNotListed) {
    register_backend(context(), memoryBackend("n")).front().Unregister();
    EXPECT_TRUE(readerNamed("n").has_value());
    EXPECT_THAT(registered_backends(context()), IsEmpty());
}

TEST_F(RegisteredBackendsTest, invalidContextIsRefused) {
    EXPECT_THROW(registered_backends({}), cppmicroservices::IllegalStateException);
}

TEST_F(RegisteredBackendsTest, listIsConsistentWhileAnotherThreadRegisters) {
    register_backend(context(), memoryBackend("kept"));
    std::thread registering([] {
        for (int i = 0; i < 500; ++i) {
            BackendRegistrations passing = register_backend(context(), memoryBackend("passing"));
            unregister(passing);
        }
    });
    for (int i = 0; i < 500; ++i) {
        const std::vector<BackendInfo> backends = registered_backends(context());
        EXPECT_FALSE(backends.empty());
        for (const BackendInfo& backend : backends) {
            EXPECT_EQ(backend.description, "description of " + backend.name);
        }
    }
    registering.join();
}

} // namespace
} // namespace logging2::core::test
