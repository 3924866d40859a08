#include <logging2/backends/builtin/builtin_backends.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <logging2/logging2.hpp>
#include <tests/support/registrations.hpp>
#include <tests/support/setups.hpp>

#include <cppmicroservices/IllegalStateException.h>

#include <gmock/gmock.h>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class BuiltinBackendsTest : public ::testing::Test {
protected:
    BuiltinBackendsTest() {
        foundation::install_and_start_vantrel_core();
        registrations = register_builtin_backends(foundation::get_global_bundle_context());
    }
    ~BuiltinBackendsTest() override {
        registrations.clear();
        foundation::stop_vantrel_core();
    }

    SystemTempDirectory directory;
    BackendRegistrations registrations;
};

std::unique_ptr<StreamWriter> writerNamed(const std::string& name) {
    StreamingAttributes attributes;
    attributes.pointLimit = 2;
    return get_stream_writer(name, attributes, scalarSetup()).value();
}

TEST_F(BuiltinBackendsTest, offersEachWriterByName) {
    const auto memory = writerNamed("memory");
    const auto restricted = writerNamed("memory-restricted");
    const auto native = writerNamed("native");
    EXPECT_NE(dynamic_cast<NativeStreamWriter*>(native.get()), nullptr);
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(memory.get()), nullptr);
    EXPECT_NE(dynamic_cast<MemoryStreamRestrictedWriter*>(restricted.get()), nullptr);
}

TEST_F(BuiltinBackendsTest, everyListedNameIsRegistered) {
    EXPECT_EQ(registrations.size(), 2 * builtin_backends().size());
    std::vector<std::string> names;
    for (const BackendInfo& backend :
         registered_backends(foundation::get_global_bundle_context())) {
        EXPECT_TRUE(get_stream_reader(backend.name, boost::any()).has_value()) << backend.name;
        names.push_back(backend.name);
    }
    EXPECT_THAT(names, ElementsAre("memory", "memory-restricted", "native"));
}

TEST_F(BuiltinBackendsTest, registrationsCanBeRemoved) {
    unregister(registrations);
    EXPECT_FALSE(get_stream_writer("memory", StreamingAttributes{}, scalarSetup()).has_value());
    EXPECT_FALSE(get_stream_reader("memory", boost::any()).has_value());
}

TEST(BuiltinBackendsWithoutFrameworkTest, invalidContextIsRefused) {
    EXPECT_THROW(register_builtin_backends(cppmicroservices::BundleContext()),
                 cppmicroservices::IllegalStateException);
}

} // namespace
} // namespace logging2::core::test
