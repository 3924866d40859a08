#include "registry_fixture.hpp"

#include <cppmicroservices/ServiceFactory.h>

#include <functional>
#include <stdexcept>
#include <thread>
#include <type_traits>

namespace services_test {
namespace {

using namespace cppmicroservices;

/// A factory whose behaviour a test sets, and which counts its calls.
class ScriptedFactory : public ServiceFactory {
public:
    InterfaceMapConstPtr GetService(const Bundle& bundle, const ServiceRegistrationBase&) override {
        ++madeCount;
        callers.push_back(bundle);
        return make();
    }

    void UngetService(const Bundle&, const ServiceRegistrationBase&,
                      const InterfaceMapConstPtr& service) override {
        released.push_back(service);
        onUnget();
    }

    std::function<InterfaceMapConstPtr()> make;
    std::function<void()> onUnget = [] {};
    int madeCount = 0;
    std::vector<Bundle> callers;
    std::vector<InterfaceMapConstPtr> released;
};

class ServiceFactoryTest : public RunningFramework {
protected:
    ServiceFactoryTest() {
        factory->make = []() -> InterfaceMapConstPtr {
            return MakeInterfaceMap<Greeter>(make_service("made"));
        };
    }

    ~ServiceFactoryTest() override { stop(framework); }

    /// Expects a null pointer if the factory makes this.
    void expectNullPointer(std::function<InterfaceMapConstPtr()> make) {
        factory->make = std::move(make);
        const auto service = context.GetService(reference);
        EXPECT_FALSE(service);
        EXPECT_EQ(service.get(), nullptr);
        EXPECT_EQ(service.use_count(), 1);
    }

    std::shared_ptr<ScriptedFactory> factory = std::make_shared<ScriptedFactory>();
    ServiceRegistration<Greeter> registration =
        context.RegisterService<Greeter>(ToFactory(factory));
    ServiceReference<Greeter> reference = find<Greeter>();
};

TEST_F(ServiceFactoryTest, objectIsNotMadeBeforeItIsRequested) {
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
    EXPECT_EQ(factory->madeCount, 0);
    EXPECT_EQ(value_of<std::string>(reference.GetProperty("service.scope")), "bundle");
}

TEST_F(ServiceFactoryTest, objectIsMadeOnceAndKept) {
    const auto first = context.GetService(reference);
    const auto second = context.GetService(reference);

    EXPECT_EQ(first->greeting(), "made");
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first.use_count(), 1);
    ASSERT_EQ(factory->callers.size(), 1u);
}

TEST_F(ServiceFactoryTest, objectIsReleasedWithTheLastPointer) {
    auto first = context.GetService(reference);
    auto second = context.GetService(reference);
    const auto* made = first.get();

    first.reset();
    EXPECT_TRUE(factory->released.empty());
    second.reset();

    ASSERT_EQ(factory->released.size(), 1u);
    EXPECT_EQ(factory->released[0]->at("services_test::Greeter").get(), made);
}

TEST_F(ServiceFactoryTest, objectIsMadeAgainAfterItsRelease) {
    context.GetService(reference).reset();

    const auto again = context.GetService(reference);

    EXPECT_EQ(again->greeting(), "made");
    EXPECT_EQ(factory->madeCount, 2);
}

TEST_F(ServiceFactoryTest, unregisterReleasesTheObjectAndLeavesThePointerUsable) {
    const auto service = context.GetService(reference);

    registration.Unregister();

    EXPECT_EQ(factory->released.size(), 1u);
    EXPECT_EQ(service->greeting(), "made");
}

TEST_F(ServiceFactoryTest, objectMadeDuringUnregisterIsReleasedAtMostOnce) {
    std::thread unregistering;
    factory->make = [&]() -> InterfaceMapConstPtr {
        unregistering = std::thread([this] { registration.Unregister(); });
        while (!context.GetServiceReferences<Greeter>().empty()) {
            std::this_thread::yield();
        }
        return MakeInterfaceMap<Greeter>(make_service("made"));
    };

    auto service = context.GetService(reference);
    unregistering.join();

    EXPECT_EQ(service->greeting(), "made");
    service.reset();
    EXPECT_LE(factory->released.size(), 1u);
}

TEST_F(ServiceFactoryTest, objectIsReleasedOnlyOnce) {
    auto service = context.GetService(reference);
    registration.Unregister();

    service.reset();

    EXPECT_EQ(factory->released.size(), 1u);
}

TEST_F(ServiceFactoryTest, pointerStaysUsableAfterStop) {
    auto service = context.GetService(reference);

    stop(framework);

    EXPECT_EQ(service->greeting(), "made");
    service.reset();
    EXPECT_EQ(factory->released.size(), 1u);
}

TEST_F(ServiceFactoryTest, factoryReceivesTheRequestingBundle) {
    const auto other = context.RegisterService<Counter>(make_service("four"));

    const auto service = context.GetService(reference);

    auto caller = factory->callers.at(0).GetBundleContext();
    EXPECT_EQ(caller.GetService(caller.GetServiceReferences<Counter>().at(0))->count(), 4);
}

TEST_F(ServiceFactoryTest, nullMapGivesNull) {
    expectNullPointer([] { return nullptr; });
}

TEST_F(ServiceFactoryTest, emptyMapGivesNull) {
    expectNullPointer([] { return std::make_shared<InterfaceMap>(); });
}

TEST_F(ServiceFactoryTest, missingInterfaceGivesNull) {
    expectNullPointer(
        []() -> InterfaceMapConstPtr { return MakeInterfaceMap<Counter>(make_service()); });
}

TEST_F(ServiceFactoryTest, exceptionGivesNull) {
    expectNullPointer([]() -> InterfaceMapConstPtr { throw std::runtime_error("factory"); });
}

TEST_F(ServiceFactoryTest, nullEntryGivesNull) {
    expectNullPointer([] {
        return std::make_shared<InterfaceMap>(InterfaceMap{{"services_test::Greeter", nullptr}});
    });
}

TEST_F(ServiceFactoryTest, failedObjectIsNotKept) {
    expectNullPointer([] { return nullptr; });
    expectNullPointer([] { return nullptr; });

    EXPECT_EQ(factory->madeCount, 2);
    EXPECT_TRUE(factory->released.empty());
}

TEST_F(ServiceFactoryTest, requestDuringTheServicesCreationGivesNull) {
    bool innerIsNull = false;
    factory->make = [&]() -> InterfaceMapConstPtr {
        innerIsNull = context.GetService(reference) == nullptr;
        return MakeInterfaceMap<Greeter>(make_service("outer"));
    };

    const auto service = context.GetService(reference);

    EXPECT_TRUE(innerIsNull);
    EXPECT_EQ(service->greeting(), "outer");
    EXPECT_EQ(factory->madeCount, 1);
}

TEST_F(ServiceFactoryTest, exceptionDuringReleaseIsIgnored) {
    factory->onUnget = [] { throw std::runtime_error("factory"); };
    auto service = context.GetService(reference);

    EXPECT_NO_THROW(service.reset());

    EXPECT_EQ(factory->released.size(), 1u);
}

TEST_F(ServiceFactoryTest, laterReferenceWorksIfTheFirstYieldsNoObject) {
    registration.SetProperties({{Constants::SERVICE_RANKING, 7}, {"name", std::string("same")}});
    const auto good =
        context.RegisterService<Greeter>(make_service("good"), {{"name", std::string("same")}});
    factory->make = [] { return nullptr; };

    const auto references = context.GetServiceReferences<Greeter>("(name=same)");

    ASSERT_EQ(references.size(), 2u);
    EXPECT_FALSE(context.GetService(references[0]));
    EXPECT_EQ(context.GetService(references[1])->greeting(), "good");
}

TEST_F(ServiceFactoryTest, everyInterfaceOfTheRegistrationCanBeRequested) {
    auto both = std::make_shared<ScriptedFactory>();
    both->make = []() -> InterfaceMapConstPtr {
        return MakeInterfaceMap<Greeter, Counter>(make_service("four"));
    };
    const auto added = context.RegisterService<Greeter, Counter>(ToFactory(both));

    EXPECT_EQ(context.GetService(find<Counter>())->count(), 4);
    EXPECT_EQ(context.GetService(ServiceReference<Greeter>(find<Counter>()))->greeting(), "four");
}

TEST(ServiceExceptionTest, carriesItsText) {
    EXPECT_STREQ(ServiceException("text").what(), "text");
    EXPECT_STREQ(IllegalStateException("text").what(), "text");
}

TEST(ServiceExceptionTest, isARuntimeError) {
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, ServiceException>));
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, IllegalStateException>));
    EXPECT_TRUE(std::is_final_v<IllegalStateException>);
}

} // namespace
} // namespace services_test
