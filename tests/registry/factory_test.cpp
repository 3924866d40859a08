#include "registry_fixture.hpp"

#include <cppmicroservices/ServiceFactory.h>

#include <functional>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace services_test {
namespace {

using namespace cppmicroservices;

/// Does what a test tells it, and counts.
class ScriptedFactory : public ServiceFactory {
public:
    InterfaceMapConstPtr GetService(const Bundle& bundle,
                                    const ServiceRegistrationBase& registration) override {
        ++madeCount;
        callers.push_back(bundle);
        return make(registration);
    }

    void UngetService(const Bundle&, const ServiceRegistrationBase&,
                      const InterfaceMapConstPtr& service) override {
        takenBack.push_back(service);
        onUnget();
    }

    std::function<InterfaceMapConstPtr(const ServiceRegistrationBase&)> make;
    std::function<void()> onUnget = [] {};
    int madeCount = 0;
    std::vector<Bundle> callers;
    std::vector<InterfaceMapConstPtr> takenBack;
};

/// What a listener heard: the event's type and that of the service exception in it, if any.
struct Heard {
    FrameworkEvent::Type event;
    std::optional<ServiceException::Type> cause;

    bool operator==(const Heard& other) const {
        return event == other.event && cause == other.cause;
    }
};

Heard summary(const FrameworkEvent& event) {
    if (const auto throwable = event.GetThrowable()) {
        try {
            std::rethrow_exception(throwable);
        } catch (const ServiceException& exception) {
            return {event.GetType(), exception.GetType()};
        } catch (const std::exception&) {
            return {event.GetType(), std::nullopt};
        }
    }
    return {event.GetType(), std::nullopt};
}

class ServiceFactoryTest : public RunningFramework {
protected:
    ServiceFactoryTest() {
        factory->make = [](const ServiceRegistrationBase&) -> InterfaceMapConstPtr {
            return MakeInterfaceMap<Greeter>(make_service("made"));
        };
        context.AddFrameworkListener(
            [this](const FrameworkEvent& event) { events.push_back(summary(event)); });
    }

    ~ServiceFactoryTest() override { stop(framework); }

    /// What the caller gets when the factory makes this.
    void expectNullPointer(std::function<InterfaceMapConstPtr()> make) {
        factory->make = [make](const ServiceRegistrationBase&) { return make(); };
        const auto service = context.GetService(reference);
        EXPECT_FALSE(service);
        EXPECT_EQ(service.get(), nullptr);
        EXPECT_EQ(service.use_count(), 1);
    }

    std::vector<Heard> events;
    std::shared_ptr<ScriptedFactory> factory = std::make_shared<ScriptedFactory>();
    ServiceRegistration<Greeter> registration =
        context.RegisterService<Greeter>(ToFactory(factory));
    ServiceReference<Greeter> reference = registration.GetReference();
};

TEST_F(ServiceFactoryTest, nothingIsMadeBeforeItIsAskedFor) {
    EXPECT_EQ(context.GetServiceReferences<Greeter>().size(), 1u);
    EXPECT_EQ(factory->madeCount, 0);
    EXPECT_EQ(any_cast<std::string>(reference.GetProperty(Constants::SERVICE_SCOPE)), "bundle");
}

TEST_F(ServiceFactoryTest, objectIsMadeOnceAndKept) {
    const auto first = context.GetService(reference);
    const auto second = context.GetService(reference);

    EXPECT_EQ(first->greeting(), "made");
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(factory->callers, std::vector<Bundle>{framework});
    EXPECT_TRUE(events.empty());
}

TEST_F(ServiceFactoryTest, objectIsTakenBackWithTheLastPointer) {
    auto first = context.GetService(reference);
    auto second = context.GetService(reference);
    const auto* made = first.get();

    first.reset();
    EXPECT_TRUE(factory->takenBack.empty());
    EXPECT_EQ(reference.GetUsingBundles().size(), 1u);
    second.reset();

    ASSERT_EQ(factory->takenBack.size(), 1u);
    EXPECT_EQ(factory->takenBack[0]->at("services_test::Greeter").get(), made);
    EXPECT_TRUE(reference.GetUsingBundles().empty());
}

TEST_F(ServiceFactoryTest, objectIsMadeAgainAfterItWasTakenBack) {
    context.GetService(reference).reset();

    const auto again = context.GetService(reference);

    EXPECT_EQ(again->greeting(), "made");
    EXPECT_EQ(factory->madeCount, 2);
}

TEST_F(ServiceFactoryTest, unregisterTakesTheObjectBackAndLeavesThePointerUsable) {
    const auto service = context.GetService(reference);

    registration.Unregister();

    EXPECT_EQ(factory->takenBack.size(), 1u);
    EXPECT_EQ(service->greeting(), "made");
}

TEST_F(ServiceFactoryTest, objectIsTakenBackOnceOnly) {
    auto service = context.GetService(reference);
    registration.Unregister();

    service.reset();

    EXPECT_EQ(factory->takenBack.size(), 1u);
}

TEST_F(ServiceFactoryTest, pointerStaysUsableAfterStop) {
    auto service = context.GetService(reference);

    stop(framework);

    EXPECT_EQ(service->greeting(), "made");
    service.reset();
    EXPECT_EQ(factory->takenBack.size(), 1u);
}

TEST_F(ServiceFactoryTest, nullMapGivesNullAndAnError) {
    expectNullPointer([] { return nullptr; });

    EXPECT_EQ(events, (std::vector<Heard>{
                          {FrameworkEvent::FRAMEWORK_ERROR, ServiceException::FACTORY_ERROR}}));
}

TEST_F(ServiceFactoryTest, emptyMapGivesNullAndAnError) {
    expectNullPointer([] { return std::make_shared<InterfaceMap>(); });

    EXPECT_EQ(events, (std::vector<Heard>{
                          {FrameworkEvent::FRAMEWORK_ERROR, ServiceException::FACTORY_ERROR}}));
}

TEST_F(ServiceFactoryTest, missingInterfaceGivesNullAndAWarning) {
    expectNullPointer([] { return MakeInterfaceMap<Counter>(make_service()); });

    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].event, FrameworkEvent::FRAMEWORK_WARNING);
}

TEST_F(ServiceFactoryTest, exceptionGivesNullAndAnError) {
    expectNullPointer([]() -> InterfaceMapConstPtr { throw std::runtime_error("factory"); });

    EXPECT_EQ(events, (std::vector<Heard>{
                          {FrameworkEvent::FRAMEWORK_ERROR, ServiceException::FACTORY_EXCEPTION}}));
}

TEST_F(ServiceFactoryTest, nullEntryGivesNullAndNoEvent) {
    expectNullPointer([] {
        return std::make_shared<InterfaceMap>(InterfaceMap{{"services_test::Greeter", nullptr}});
    });

    EXPECT_TRUE(events.empty());
}

TEST_F(ServiceFactoryTest, failedObjectIsNotKept) {
    expectNullPointer([] { return nullptr; });
    expectNullPointer([] { return nullptr; });

    EXPECT_EQ(factory->madeCount, 2);
    EXPECT_TRUE(factory->takenBack.empty());
}

TEST_F(ServiceFactoryTest, mapGetServiceGivesNullWhenTheFactoryFails) {
    factory->make = [](const ServiceRegistrationBase&) { return nullptr; };

    EXPECT_EQ(context.GetService(ServiceReferenceU(reference)).get(), nullptr);
}

TEST_F(ServiceFactoryTest, askingForTheServiceWhileMakingItGivesNull) {
    bool innerIsNull = false;
    factory->make = [&](const ServiceRegistrationBase& own) -> InterfaceMapConstPtr {
        const ServiceReference<Greeter> again = own.GetReference("services_test::Greeter");
        innerIsNull = context.GetService(again) == nullptr;
        return MakeInterfaceMap<Greeter>(make_service("outer"));
    };

    const auto service = context.GetService(reference);

    EXPECT_TRUE(innerIsNull);
    EXPECT_EQ(service->greeting(), "outer");
    EXPECT_EQ(factory->madeCount, 1);
    EXPECT_EQ(events, (std::vector<Heard>{
                          {FrameworkEvent::FRAMEWORK_ERROR, ServiceException::FACTORY_RECURSION}}));
}

TEST_F(ServiceFactoryTest, exceptionFromTakingBackIsAnEvent) {
    factory->onUnget = [] { throw std::runtime_error("factory"); };
    auto service = context.GetService(reference);

    EXPECT_NO_THROW(service.reset());

    EXPECT_EQ(events, (std::vector<Heard>{
                          {FrameworkEvent::FRAMEWORK_ERROR, ServiceException::FACTORY_EXCEPTION}}));
}

TEST_F(ServiceFactoryTest, firstReferenceMayYieldNoObjectWhileALaterOneDoes) {
    registration.SetProperties({{Constants::SERVICE_RANKING, 7}, {"name", std::string("same")}});
    const auto good =
        context.RegisterService<Greeter>(make_service("good"), {{"name", std::string("same")}});
    factory->make = [](const ServiceRegistrationBase&) { return nullptr; };

    const auto references = context.GetServiceReferences<Greeter>("(name=same)");

    ASSERT_EQ(references.size(), 2u);
    EXPECT_FALSE(context.GetService(references[0]));
    EXPECT_EQ(context.GetService(references[1])->greeting(), "good");
}

TEST_F(ServiceFactoryTest, everyInterfaceOfTheRegistrationCanBeAskedFor) {
    auto both = std::make_shared<ScriptedFactory>();
    both->make = [](const ServiceRegistrationBase&) -> InterfaceMapConstPtr {
        return MakeInterfaceMap<Greeter, Counter>(make_service("four"));
    };
    const auto added = context.RegisterService<Greeter, Counter>(ToFactory(both));

    EXPECT_EQ(context.GetService(added.GetReference<Counter>())->count(), 4);
    EXPECT_EQ(context.GetService(added.GetReference<Greeter>())->greeting(), "four");
}

TEST(ServiceExceptionTest, carriesTextAndType) {
    const ServiceException plain("text");
    const ServiceException typed("text", ServiceException::REMOTE);

    EXPECT_STREQ(plain.what(), "text");
    EXPECT_EQ(plain.GetType(), ServiceException::UNSPECIFIED);
    EXPECT_EQ(typed.GetType(), ServiceException::REMOTE);
}

TEST(ServiceExceptionTest, isARuntimeError) {
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, ServiceException>));
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, IllegalStateException>));
    EXPECT_TRUE(std::is_final_v<IllegalStateException>);
}

TEST(ServiceExceptionTest, typesHaveTheirValues) {
    EXPECT_EQ(ServiceException::UNREGISTERED, 1);
    EXPECT_EQ(ServiceException::FACTORY_ERROR, 2);
    EXPECT_EQ(ServiceException::FACTORY_EXCEPTION, 3);
    EXPECT_EQ(ServiceException::REMOTE, 5);
    EXPECT_EQ(ServiceException::FACTORY_RECURSION, 6);
}

} // namespace
} // namespace services_test
