#include <tests/registry/side_by_side/RealFramework.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/logging2.hpp>

#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>

#include <gtest/gtest.h>

namespace side_by_side {
namespace {

using Texts = std::vector<std::string>;

TEST(SideBySideTest, eachRegistryFindsItsOwnServices) {
    RealFramework real;
    real.add("same");
    real.add("real");
    auto own = cppmicroservices::FrameworkFactory().NewFramework();
    own.Start();
    auto context = own.GetBundleContext();
    context.RegisterService<Greeter>(std::make_shared<NamedGreeter>("own"),
                                     {{"name", std::string("same")}});

    const auto found = context.GetServiceReferences<Greeter>("(name=same)");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(context.GetService(found[0])->greeting(), "own");
    EXPECT_TRUE(context.GetServiceReferences<Greeter>("(name=real)").empty());
    EXPECT_EQ(real.greetings("(name=same)"), Texts{"same"});
    EXPECT_EQ(real.greetings("(name=*)"), (Texts{"same", "real"}));
    own.Stop();
    own.WaitForStop(std::chrono::milliseconds(0));
}

TEST(SideBySideTest, stoppingOneRegistryDoesNotStopTheOther) {
    RealFramework real;
    real.add("stays");
    auto own = cppmicroservices::FrameworkFactory().NewFramework();
    own.Start();
    const auto context = own.GetBundleContext();

    own.Stop();
    EXPECT_EQ(own.WaitForStop(std::chrono::milliseconds(0)).GetType(),
              cppmicroservices::FrameworkEvent::FRAMEWORK_STOPPED);

    EXPECT_FALSE(context);
    EXPECT_EQ(real.greetings(""), Texts{"stays"});
}

TEST(SideBySideTest, eachRegistryThrowsItsOwnExceptions) {
    EXPECT_THROW(cppmicroservices::BundleContext().GetServiceReferences<Greeter>(),
                 cppmicroservices::IllegalStateException);
    EXPECT_TRUE(RealFramework::refusesAnInvalidContext());
}

TEST(SideBySideTest, backendIsFoundWhileTheOtherRegistryRuns) {
    using namespace logging2::core;
    const RealFramework real;
    foundation::install_and_start_vantrel_core();
    register_builtin_backends(foundation::get_global_bundle_context());

    const auto writer = get_stream_writer("memory", StreamingAttributes{}, {});

    ASSERT_TRUE(writer.has_value());
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(writer->get()), nullptr);
    foundation::stop_vantrel_core();
}

} // namespace
} // namespace side_by_side
