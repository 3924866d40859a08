#include "registry_fixture.hpp"

#include <atomic>
#include <future>
#include <thread>

namespace services_test {
namespace {

using namespace cppmicroservices;

using std::chrono::milliseconds;

Framework new_framework() {
    return FrameworkFactory().NewFramework();
}

ServiceReference<Greeter> first_of(BundleContext context) {
    return context.GetServiceReferences<Greeter>().at(0);
}

void expect_invalid(BundleContext context) {
    EXPECT_FALSE(context);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.GetServiceReferences<Greeter>(); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { context.GetServiceReferences("any"); }),
              invalidContextText);
    EXPECT_EQ(thrown_text<IllegalStateException>(
                  [&] { (void)context.RegisterService<Greeter>(make_service()); }),
              invalidContextText);
}

TEST(FrameworkTest, defaultContextIsInvalid) {
    expect_invalid(BundleContext());
}

TEST(FrameworkTest, contextIsInvalidBeforeStart) {
    auto framework = new_framework();

    expect_invalid(framework.GetBundleContext());
}

TEST(FrameworkTest, contextIsUsableAfterStart) {
    auto framework = new_framework();

    framework.Start();

    auto context = framework.GetBundleContext();
    EXPECT_TRUE(context);
    const auto registration = context.RegisterService<Greeter>(make_service());
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
    stop(framework);
}

TEST(FrameworkTest, secondStartDoesNothing) {
    auto framework = new_framework();
    framework.Start();
    auto context = framework.GetBundleContext();
    const auto registration = context.RegisterService<Greeter>(make_service());

    framework.Start();

    EXPECT_TRUE(context);
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
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

TEST(FrameworkTest, waitForStopReportsAnErrorBeforeStart) {
    auto framework = new_framework();

    EXPECT_EQ(framework.WaitForStop(forEver).GetType(), FrameworkEvent::FRAMEWORK_ERROR);
}

TEST(FrameworkTest, waitForStopTimesOutWhileRunning) {
    auto framework = new_framework();
    framework.Start();
    EXPECT_EQ(framework.WaitForStop(milliseconds(1)).GetType(),
              FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
    stop(framework);
}

TEST(FrameworkTest, waitForStopWaitsUntilServicesAreDestroyed) {
    auto framework = new_framework();
    framework.Start();
    std::promise<void> isDestroying;
    std::atomic<bool> isDestroyed{false};
    std::atomic<bool> returned{false};
    const auto destroy = [&](NamedService* service) {
        isDestroying.set_value();
        for (int i = 0; i < 1000 && !returned; ++i) {
            std::this_thread::yield();
        }
        delete service;
        isDestroyed = true;
    };
    framework.GetBundleContext().RegisterService<Greeter>(
        std::shared_ptr<NamedService>(new NamedService, destroy));

    std::thread stopping([&] { framework.Stop(); });
    isDestroying.get_future().wait();
    framework.WaitForStop(forEver);

    EXPECT_TRUE(isDestroyed);
    returned = true;
    stopping.join();
}

TEST(FrameworkTest, waitForStopCanBeRepeatedAfterStop) {
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
    const auto service = context.GetService(first_of(context));

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
    auto reference = first_of(framework.GetBundleContext());

    stop(framework);

    EXPECT_FALSE(alive.expired());
    reference = ServiceReference<Greeter>();
    EXPECT_TRUE(alive.expired());
}

TEST(FrameworkTest, referenceIsFalseAfterStop) {
    auto framework = new_framework();
    framework.Start();
    (void)framework.GetBundleContext().RegisterService<Greeter>(make_service());
    const auto reference = first_of(framework.GetBundleContext());

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
    bundle = Bundle();
    EXPECT_FALSE(context);
}

TEST(FrameworkTest, eventTypesHaveFixedValues) {
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_ERROR, 0x2u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_STOPPED, 0x40u);
    EXPECT_EQ(FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT, 0x200u);
}

TEST(FrameworkTest, emptyBundleRefusesCalls) {
    Bundle bundle;

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
    stop(first);
}

} // namespace
} // namespace services_test
