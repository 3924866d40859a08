#include "registry_fixture.hpp"

#include <algorithm>
#include <functional>

namespace services_test {
namespace {

using namespace cppmicroservices;

class ServiceReferenceTest : public RunningFramework {
protected:
    ServiceRegistration<Greeter, Counter> registration = context.RegisterService<Greeter, Counter>(
        make_service("abc"), {{"Name", std::string("value")}});
    ServiceReference<Greeter> reference = registration.GetReference();
};

TEST_F(ServiceReferenceTest, defaultReferenceIsFalse) {
    const ServiceReference<Greeter> none;

    EXPECT_FALSE(none);
    EXPECT_EQ(none.GetInterfaceId(), "");
}

TEST_F(ServiceReferenceTest, nulledReferenceIsFalse) {
    EXPECT_TRUE(reference);

    reference = nullptr;

    EXPECT_FALSE(reference);
    EXPECT_EQ(reference, ServiceReference<Greeter>());
}

TEST_F(ServiceReferenceTest, readsPropertiesInWhateverCase) {
    EXPECT_EQ(any_cast<std::string>(reference.GetProperty("name")), "value");
    EXPECT_EQ(any_cast<std::string>(reference.GetProperty("NAME")), "value");
    EXPECT_TRUE(reference.GetProperty("other").Empty());
}

TEST_F(ServiceReferenceTest, listsPropertyKeysAsGiven) {
    auto keys = reference.GetPropertyKeys();
    std::sort(keys.begin(), keys.end());

    EXPECT_EQ(keys, (std::vector<std::string>{"Name", Constants::OBJECTCLASS, Constants::SERVICE_ID,
                                              Constants::SERVICE_SCOPE}));
}

TEST_F(ServiceReferenceTest, tellsItsInterface) {
    EXPECT_EQ(reference.GetInterfaceId(), "services_test::Greeter");
    EXPECT_EQ(registration.GetReference<Counter>().GetInterfaceId(), "services_test::Counter");
}

TEST_F(ServiceReferenceTest, convertsToRegisteredInterfacesOnly) {
    EXPECT_TRUE(reference.IsConvertibleTo("services_test::Counter"));
    EXPECT_FALSE(reference.IsConvertibleTo("services_test::Other"));

    EXPECT_EQ(context.GetService(ServiceReference<Counter>(reference))->count(), 3);
    EXPECT_FALSE(ServiceReference<NamedService>(reference));
}

TEST_F(ServiceReferenceTest, equalsReferencesToTheSameService) {
    const auto other = context.RegisterService<Greeter>(make_service());
    const std::hash<ServiceReference<Greeter>> hash;

    EXPECT_TRUE(reference == context.GetServiceReference<Greeter>());
    EXPECT_EQ(hash(reference), hash(context.GetServiceReference<Greeter>()));
    EXPECT_FALSE(reference == other.GetReference());
}

TEST_F(ServiceReferenceTest, preferredServiceIsTheGreaterOne) {
    auto other = context.RegisterService<Greeter>(make_service());
    EXPECT_TRUE(other.GetReference() < reference);
    EXPECT_FALSE(reference < other.GetReference());

    other.SetProperties({{Constants::SERVICE_RANKING, 1}});

    EXPECT_TRUE(reference < other.GetReference());
    EXPECT_FALSE(other.GetReference() < reference);
    EXPECT_TRUE(ServiceReference<Greeter>() < reference);
}

TEST_F(ServiceReferenceTest, everyGetServiceReturnsAnOwnerOfItsOwn) {
    const auto first = context.GetService(reference);
    const auto second = context.GetService(reference);

    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_TRUE(first.owner_before(second) || second.owner_before(first));
}

TEST_F(ServiceReferenceTest, untypedGetServiceGivesTheObjectOfTheReferencesInterface) {
    const ServiceReferenceBase& base = reference;

    const std::shared_ptr<void> service = context.GetService(base);

    EXPECT_EQ(service.get(), context.GetService(reference).get());
    EXPECT_EQ(service.use_count(), 1);
}

TEST_F(ServiceReferenceTest, mapGetServiceGivesTheObjectsOfAllInterfaces) {
    const InterfaceMapConstPtr map = context.GetService(ServiceReferenceU(reference));

    ASSERT_EQ(map->size(), 2u);
    EXPECT_EQ(map->at("services_test::Greeter").get(), context.GetService(reference).get());
    EXPECT_EQ(map->count("services_test::Counter"), 1u);
    EXPECT_EQ(map.use_count(), 1);
}

TEST_F(ServiceReferenceTest, bundleUsesTheServiceUntilTheLastPointerGoes) {
    EXPECT_TRUE(reference.GetUsingBundles().empty());

    auto first = context.GetService(reference);
    auto second = context.GetService(reference);
    auto copy = second;
    EXPECT_EQ(reference.GetUsingBundles(), std::vector<Bundle>{framework});

    first.reset();
    second.reset();
    EXPECT_EQ(reference.GetUsingBundles().size(), 1u);
    copy.reset();
    EXPECT_TRUE(reference.GetUsingBundles().empty());
}

TEST_F(ServiceReferenceTest, unregisterTurnsTheReferenceFalse) {
    const auto service = context.GetService(reference);

    registration.Unregister();

    EXPECT_FALSE(reference);
    EXPECT_FALSE(reference.IsConvertibleTo("services_test::Counter"));
    EXPECT_TRUE(reference.GetUsingBundles().empty());
}

TEST_F(ServiceReferenceTest, propertiesOfADeadReferenceCanBeRead) {
    registration.Unregister();

    EXPECT_EQ(any_cast<std::string>(reference.GetProperty("name")), "value");
    EXPECT_EQ(reference.GetPropertyKeys().size(), 4u);
    EXPECT_EQ(reference.GetInterfaceId(), "services_test::Greeter");
}

TEST_F(ServiceReferenceTest, obtainedPointerStaysUsableAfterUnregister) {
    const auto service = context.GetService(reference);

    registration.Unregister();

    EXPECT_EQ(service->greeting(), "abc");
    EXPECT_EQ(service.use_count(), 1);
}

TEST_F(ServiceReferenceTest, getServiceRefusesDeadReferences) {
    EXPECT_EQ(thrown_text<std::invalid_argument>(
                  [&] { context.GetService(ServiceReference<Greeter>()); }),
              deadReferenceText);
    auto nulled = reference;
    nulled = nullptr;
    EXPECT_EQ(thrown_text<std::invalid_argument>([&] { context.GetService(nulled); }),
              deadReferenceText);
    registration.Unregister();
    EXPECT_EQ(thrown_text<std::invalid_argument>([&] { context.GetService(reference); }),
              deadReferenceText);
    EXPECT_EQ(thrown_text<std::invalid_argument>(
                  [&] { context.GetService(ServiceReferenceU(reference)); }),
              deadReferenceText);
}

TEST_F(ServiceReferenceTest, referenceIsCheckedBeforeTheContext) {
    BundleContext none;

    EXPECT_EQ(
        thrown_text<std::invalid_argument>([&] { none.GetService(ServiceReference<Greeter>()); }),
        deadReferenceText);
    EXPECT_EQ(thrown_text<IllegalStateException>([&] { none.GetService(reference); }),
              invalidContextText);
}

} // namespace
} // namespace services_test
