#include "registry_fixture.hpp"

namespace services_test {
namespace {

using namespace cppmicroservices;

class ServiceReferenceTest : public RunningFramework {
protected:
    ServiceRegistration<Greeter, Counter> registration = context.RegisterService<Greeter, Counter>(
        make_service("abc"), {{"Name", std::string("value")}});
    ServiceReference<Greeter> reference = find<Greeter>();
};

TEST_F(ServiceReferenceTest, defaultReferenceIsFalse) {
    EXPECT_FALSE(ServiceReference<Greeter>());
}

TEST_F(ServiceReferenceTest, readsPropertiesRegardlessOfCase) {
    EXPECT_EQ(value_of<std::string>(reference.GetProperty("name")), "value");
    EXPECT_EQ(value_of<std::string>(reference.GetProperty("NAME")), "value");
    EXPECT_TRUE(reference.GetProperty("other").Empty());
}

TEST_F(ServiceReferenceTest, convertsOnlyToRegisteredInterfaces) {
    EXPECT_EQ(context.GetService(ServiceReference<Counter>(reference))->count(), 3);
    EXPECT_FALSE(ServiceReference<NamedService>(reference));
}

TEST_F(ServiceReferenceTest, untypedReferenceBecomesTyped) {
    const ServiceReferenceU untyped = context.GetServiceReferences("").at(0);

    EXPECT_TRUE(untyped);
    EXPECT_EQ(context.GetService(ServiceReference<Greeter>(untyped))->greeting(), "abc");
}

TEST_F(ServiceReferenceTest, everyGetServiceReturnsASeparateOwner) {
    const auto first = context.GetService(reference);
    const auto second = context.GetService(reference);

    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_TRUE(first.owner_before(second) || second.owner_before(first));
}

TEST_F(ServiceReferenceTest, unregisterMakesTheReferenceFalse) {
    const auto service = context.GetService(reference);

    registration.Unregister();

    EXPECT_FALSE(reference);
    EXPECT_FALSE(ServiceReference<Counter>(reference));
}

TEST_F(ServiceReferenceTest, propertiesOfADeadReferenceCanBeRead) {
    registration.Unregister();

    EXPECT_EQ(value_of<std::string>(reference.GetProperty("name")), "value");
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
    registration.Unregister();
    EXPECT_EQ(thrown_text<std::invalid_argument>([&] { context.GetService(reference); }),
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
