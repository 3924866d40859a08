#include "registry_fixture.hpp"

namespace services_test {
namespace {

using namespace cppmicroservices;

using std::chrono::milliseconds;

Framework new_framework() {
    return FrameworkFactory().NewFramework();
}

void expect_invalid(BundleContext context) {
    EXPECT_FALSE(context);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.GetServiceReferences<Greeter>(); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.GetServiceReferences("any"); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.GetServiceReference<Greeter>(); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>(
                  [&] { (void)context.RegisterService<Greeter>(make_service()); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>(
                  [&] { context.AddFrameworkListener([](const FrameworkEvent&) {}); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.RemoveListener(ListenerToken()); }),
              invalidContextText);
}

TEST(FrameworkTest, defaultContextIsInvalid) {
    expect_invalid(BundleContext());
}

TEST(FrameworkTest, contextIsInvalidBeforeInit) {
    auto framework = new_framework();

    expect_invalid(framework.GetBundleContext());
}

TEST(FrameworkTest, contextIsUsableFromInitOn) {
    auto framework = new_framework();

    framework.Init();

    auto context = framework.GetBundleContext();
    EXPECT_TRUE(context);
    const auto registration = context.RegisterService<Greeter>(make_service());
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
    stop(framework);
}

TEST(FrameworkTest, startInitialisesByItself) {
    auto framework = new_framework();

    framework.Start();

    EXPECT_TRUE(framework.GetBundleContext());
    stop(framework);
}

TEST(FrameworkTest, startKeepsTheContextOfInit) {
    auto framework = new_framework();
    framework.Init();
    auto context = framework.GetBundleContext();
    const auto registration = context.RegisterService<Greeter>(make_service());

    framework.Start();

    EXPECT_TRUE(context);
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
    stop(framework);
}

TEST(FrameworkTest, goesThroughItsStates) {
    auto framework = new_framework();
    EXPECT_EQ(framework.GetState(), Bundle::STATE_INSTALLED);
    framework.Init();
    EXPECT_EQ(framework.GetState(), Bundle::STATE_STARTING);
    framework.Start();
    EXPECT_EQ(framework.GetState(), Bundle::STATE_ACTIVE);
    stop(framework);
    EXPECT_EQ(framework.GetState(), Bundle::STATE_RESOLVED);
}

TEST(FrameworkTest, initAndStartMayBeRepeated) {
    auto framework = new_framework();
    framework.Init();
    auto context = framework.GetBundleContext();

    framework.Init();
    framework.Start();
    framework.Start();

    EXPECT_EQ(framework.GetState(), Bundle::STATE_ACTIVE);
    EXPECT_TRUE(context);
    stop(framework);
}

TEST(FrameworkTest, takesAConfiguration) {
    const FrameworkConfiguration configuration = {{"some.setting", 1}};
    auto framework = FrameworkFactory().NewFramework(configuration);

    framework.Start();

    EXPECT_EQ(framework.GetState(), Bundle::STATE_ACTIVE);
    stop(framework);
}

TEST(FrameworkTest, contextIsInvalidAfterStop) {
    auto framework = new_framework();
    framework.Start();
    const auto context = framework.GetBundleContext();

    stop(framework);

    expect_invalid(context);
    expect_invalid(framework.GetBundleContext());
}

TEST(FrameworkTest, oldContextStaysInvalidAfterRestart) {
    auto framework = new_framework();
    framework.Start();
    const auto before = framework.GetBundleContext();
    stop(framework);

    framework.Start();

    expect_invalid(before);
    EXPECT_TRUE(framework.GetBundleContext());
    stop(framework);
}

TEST(FrameworkTest, servicesAreGoneAfterRestart) {
    auto framework = new_framework();
    framework.Start();
    const auto registration = framework.GetBundleContext().RegisterService<Greeter>(make_service());
    stop(framework);

    framework.Start();

    EXPECT_TRUE(framework.GetBundleContext().GetServiceReferences<Greeter>().empty());
    stop(framework);
}

TEST(FrameworkTest, waitForStopIsAnErrorBeforeInit) {
    auto framework = new_framework();

    EXPECT_EQ(framework.WaitForStop(forEver).GetType(), FrameworkEvent::FRAMEWORK_ERROR);
}

TEST(FrameworkTest, waitForStopTimesOutWhileRunning) {
    auto framework = new_framework();
    framework.Init();
    EXPECT_EQ(framework.WaitForStop(milliseconds(1)).GetType(),
              FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
    framework.Start();
    EXPECT_EQ(framework.WaitForStop(milliseconds(1)).GetType(),
              FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
    stop(framework);
}

TEST(FrameworkTest, waitForStopAnswersAgainAfterStop) {
    auto framework = new_framework();
    framework.Start();
    framework.Stop();

    EXPECT_EQ(framework.WaitForStop(forEver).GetType(), FrameworkEvent::FRAMEWORK_STOPPED);
    EXPECT_EQ(framework.WaitForStop(forEver).GetType(), FrameworkEvent::FRAMEWORK_STOPPED);
}

TEST(FrameworkTest, servicePointerStaysUsableAfterStop) {
    auto framework = new_framework();
    framework.Start();
    auto context = framework.GetBundleContext();
    const auto registration = context.RegisterService<Greeter>(make_service("kept"));
    const auto service = context.GetService(context.GetServiceReference<Greeter>());

    stop(framework);

    EXPECT_EQ(service->greeting(), "kept");
}

TEST(FrameworkTest, unregisterAfterStopDoesNothing) {
    auto framework = new_framework();
    framework.Start();
    auto registration = framework.GetBundleContext().RegisterService<Greeter>(make_service());

    stop(framework);

    EXPECT_NO_THROW(registration.Unregister());
}

TEST(FrameworkTest, registrationKeepsTheServiceObjectAfterStop) {
    auto framework = new_framework();
    framework.Start();
    std::weak_ptr<NamedService> alive;
    {
        auto service = make_service();
        alive = service;
        const auto registration =
            framework.GetBundleContext().RegisterService<Greeter>(std::move(service));
        stop(framework);
        EXPECT_FALSE(alive.expired());
    }
    EXPECT_TRUE(alive.expired());
}

TEST(FrameworkTest, referenceKeepsTheServiceObjectAfterStop) {
    auto framework = new_framework();
    framework.Start();
    auto service = make_service();
    const std::weak_ptr<NamedService> alive = service;
    (void)framework.GetBundleContext().RegisterService<Greeter>(std::move(service));
    service = nullptr;
    auto reference = framework.GetBundleContext().GetServiceReference<Greeter>();

    stop(framework);

    EXPECT_FALSE(alive.expired());
    reference = nullptr;
    EXPECT_TRUE(alive.expired());
}

TEST(FrameworkTest, referenceIsFalseAfterStop) {
    auto framework = new_framework();
    framework.Start();
    (void)framework.GetBundleContext().RegisterService<Greeter>(make_service());
    const auto reference = framework.GetBundleContext().GetServiceReference<Greeter>();

    stop(framework);
    framework.Start();

    EXPECT_FALSE(reference);
    EXPECT_EQ(thrown_text<std::invalid_argument>(
                  [&] { framework.GetBundleContext().GetService(reference); }),
              deadReferenceText);
    stop(framework);
}

TEST(FrameworkTest, stopsWithItsLastHandle) {
    BundleContext context;
    {
        auto framework = new_framework();
        framework.Start();
        context = framework.GetBundleContext();
        EXPECT_TRUE(context);
    }
    expect_invalid(context);
}

TEST(FrameworkTest, anyHandleKeepsItRunning) {
    Bundle bundle;
    BundleContext context;
    {
        auto framework = new_framework();
        framework.Start();
        bundle = framework;
        context = framework.GetBundleContext();
    }
    EXPECT_TRUE(context);
    bundle = nullptr;
    EXPECT_FALSE(context);
}

TEST(FrameworkTest, eventTypesHaveTheirValues) {
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_STARTED, 0x1u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_ERROR, 0x2u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_WARNING, 0x10u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_INFO, 0x20u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_STOPPED, 0x40u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT, 0x200u);
}

TEST(FrameworkTest, emptyBundleRefusesCalls) {
    Bundle bundle;

    EXPECT_FALSE(bundle);
    EXPECT_EQ(thrown_text<std::invalid_argument>([&] { bundle.GetState(); }), "invalid bundle");
    EXPECT_EQ(thrown_text<std::invalid_argument>([&] { bundle.Start(); }), "invalid bundle");
}

TEST(FrameworkTest, twoFrameworksAreIndependent) {
    auto first = new_framework();
    auto second = new_framework();
    first.Start();
    second.Start();
    const auto registration = first.GetBundleContext().RegisterService<Greeter>(make_service());

    EXPECT_EQ(first.GetBundleContext().GetServiceReferences<Greeter>().size(), 1u);
    EXPECT_TRUE(second.GetBundleContext().GetServiceReferences<Greeter>().empty());
    stop(second);
    EXPECT_TRUE(first.GetBundleContext());
    EXPECT_NE(first, second);
    stop(first);
}

TEST(FrameworkTest, listenerHearsTheStart) {
    auto framework = new_framework();
    framework.Init();
    std::vector<FrameworkEvent::Type> heard;
    const auto token = framework.GetBundleContext().AddFrameworkListener(
        [&](const FrameworkEvent& event) { heard.push_back(event.GetType()); });
    EXPECT_TRUE(token);

    framework.Start();

    EXPECT_EQ(heard, std::vector{FrameworkEvent::FRAMEWORK_STARTED});
    stop(framework);
}

TEST(FrameworkTest, removedListenerHearsNothing) {
    auto framework = new_framework();
    framework.Init();
    bool heard = false;
    auto token = framework.GetBundleContext().AddFrameworkListener(
        [&](const FrameworkEvent&) { heard = true; });

    framework.GetBundleContext().RemoveListener(std::move(token));
    framework.Start();

    EXPECT_FALSE(heard);
    stop(framework);
}

TEST(FrameworkTest, listenerIsReleasedByStop) {
    auto framework = new_framework();
    framework.Init();
    auto heardCount = std::make_shared<int>(0);
    const std::weak_ptr<int> alive = heardCount;
    auto context = framework.GetBundleContext();
    context.AddFrameworkListener([heardCount](const FrameworkEvent&) { ++*heardCount; });
    heardCount = nullptr;
    EXPECT_FALSE(alive.expired());

    stop(framework);

    EXPECT_TRUE(alive.expired());
}

TEST(FrameworkTest, listenerMayThrow) {
    auto framework = new_framework();
    framework.Init();
    framework.GetBundleContext().AddFrameworkListener(
        [](const FrameworkEvent&) { throw std::runtime_error("listener"); });

    EXPECT_NO_THROW(framework.Start());
    stop(framework);
}

} // namespace
} // namespace services_test
