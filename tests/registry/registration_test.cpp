#include "registry_fixture.hpp"

namespace services_test {

/// An interface that declares its own identifier.
class DeclaredInterface {
public:
    virtual ~DeclaredInterface() = default;
};

class DeclaredService : public DeclaredInterface {};

} // namespace services_test

CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(services_test::DeclaredInterface, "test.declared/1.0")

namespace services_test {
namespace {

using namespace cppmicroservices;

using Texts = std::vector<std::string>;

ServiceProperties ranking(int value) {
    return {{Constants::SERVICE_RANKING, value}};
}

class ServiceRegistryTest : public RunningFramework {};

TEST_F(ServiceRegistryTest, findsNothingIfNothingIsRegistered) {
    EXPECT_TRUE(context.GetServiceReferences<Greeter>().empty());
}

TEST_F(ServiceRegistryTest, findsWhatIsRegistered) {
    const auto registration = context.RegisterService<Greeter>(make_service("found"));

    EXPECT_EQ(greetings(), Texts{"found"});
}

TEST_F(ServiceRegistryTest, ordersByRankingThenByRegistration) {
    const auto first = context.RegisterService<Greeter>(make_service("1"));
    const auto second = context.RegisterService<Greeter>(make_service("2"), ranking(10));
    const auto third = context.RegisterService<Greeter>(make_service("3"), ranking(-5));
    const auto fourth = context.RegisterService<Greeter>(make_service("4"), ranking(10));

    EXPECT_EQ(greetings(), (Texts{"2", "4", "1", "3"}));
}

TEST_F(ServiceRegistryTest, newRankingTakesEffectAtOnce) {
    const auto first = context.RegisterService<Greeter>(make_service("1"), ranking(2));
    auto second = context.RegisterService<Greeter>(make_service("2"));

    second.SetProperties(ranking(3));
    EXPECT_EQ(greetings(), (Texts{"2", "1"}));
    second.SetProperties(ranking(-1));
    EXPECT_EQ(greetings(), (Texts{"1", "2"}));
    second.SetProperties(ranking(2));
    EXPECT_EQ(greetings(), (Texts{"1", "2"}));
}

TEST_F(ServiceRegistryTest, filterKeepsTheOrder) {
    const ServiceProperties wanted = {{"wanted", true}};
    auto low = wanted;
    low.insert({Constants::SERVICE_RANKING, -1});
    auto high = wanted;
    high.insert({Constants::SERVICE_RANKING, 1});
    const auto first = context.RegisterService<Greeter>(make_service("low"), low);
    const auto second = context.RegisterService<Greeter>(make_service("plain"), wanted);
    const auto third = context.RegisterService<Greeter>(make_service("other"), ranking(5));
    const auto fourth = context.RegisterService<Greeter>(make_service("high"), high);

    EXPECT_EQ(greetings("(wanted=true)"), (Texts{"high", "plain", "low"}));
}

TEST_F(ServiceRegistryTest, setPropertiesReplacesAllUserProperties) {
    auto registration = context.RegisterService<Greeter>(make_service(), {{"before", 1}});
    const auto reference = find<Greeter>();
    const auto id = value_of<long>(reference.GetProperty("service.id"));

    registration.SetProperties({{"after", 2}});

    EXPECT_TRUE(reference.GetProperty("before").Empty());
    EXPECT_EQ(value_of<int>(reference.GetProperty("after")), 2);
    EXPECT_EQ(value_of<long>(reference.GetProperty("service.id")), id);
    EXPECT_FALSE(reference.GetProperty("objectclass").Empty());
}

TEST_F(ServiceRegistryTest, registrySetsItsOwnProperties) {
    const auto first = context.RegisterService<Greeter>(make_service());
    const auto second = context.RegisterService<Greeter, Counter>(make_service());
    const auto greeter = find<Greeter>();
    const auto both = find<Counter>();

    EXPECT_LT(value_of<long>(greeter.GetProperty("service.id")),
              value_of<long>(both.GetProperty("service.id")));
    EXPECT_EQ(value_of<Texts>(greeter.GetProperty("objectclass")),
              Texts{us_service_interface_iid<Greeter>()});
    EXPECT_EQ(value_of<Texts>(both.GetProperty("objectclass")).size(), 2u);
    EXPECT_EQ(value_of<std::string>(both.GetProperty("service.scope")), "singleton");
}

TEST_F(ServiceRegistryTest, propertiesOfTheRegistryCannotBeReplaced) {
    auto registration = context.RegisterService<Greeter>(make_service());
    const auto reference = find<Greeter>();
    const auto id = value_of<long>(reference.GetProperty("service.id"));

    registration.SetProperties({{"service.id", id + 1},
                                {"service.scope", std::string("other")},
                                {"objectclass", std::string("other")}});

    EXPECT_EQ(value_of<long>(reference.GetProperty("service.id")), id);
    EXPECT_EQ(value_of<std::string>(reference.GetProperty("service.scope")), "singleton");
    EXPECT_EQ(value_of<Texts>(reference.GetProperty("objectclass")),
              Texts{us_service_interface_iid<Greeter>()});
}

TEST_F(ServiceRegistryTest, rankingHasAFixedKey) {
    EXPECT_EQ(Constants::SERVICE_RANKING, "service.ranking");
}

TEST_F(ServiceRegistryTest, refusesKeysThatDifferOnlyInCase) {
    const ServiceProperties variants = {{"Key", 1}, {"kEY", 2}};
    auto registration = context.RegisterService<Greeter>(make_service());
    const auto expectRefusal = [](const std::string& text) {
        const std::string start = "Properties contain case variants of the key: ";
        EXPECT_TRUE(text == start + "Key" || text == start + "kEY") << text;
    };

    expectRefusal(thrown_text<std::runtime_error>(
        [&] { (void)context.RegisterService<Counter>(make_service(), variants); }));
    expectRefusal(thrown_text<std::runtime_error>([&] { registration.SetProperties(variants); }));
    EXPECT_TRUE(context.GetServiceReferences<Counter>().empty());
}

TEST_F(ServiceRegistryTest, refusesRankingOfAnotherType) {
    auto registration = context.RegisterService<Greeter>(make_service());

    EXPECT_THROW(registration.SetProperties({{Constants::SERVICE_RANKING, std::string("9")}}),
                 std::invalid_argument);
}

TEST_F(ServiceRegistryTest, refusesNullService) {
    EXPECT_EQ(thrown_text<std::invalid_argument>(
                  [&] { (void)context.RegisterService<Greeter>(std::shared_ptr<NamedService>()); }),
              "Can't register as null class");
}

TEST_F(ServiceRegistryTest, refusesNullFactory) {
    EXPECT_EQ(thrown_text<ServiceException>([&] {
                  (void)context.RegisterService<Greeter>(std::shared_ptr<ServiceFactory>());
              }),
              "The service factory argument must not be nullptr.");
}

TEST_F(ServiceRegistryTest, servesEveryInterfaceOfARegistration) {
    const auto registration = context.RegisterService<Greeter, Counter>(make_service("abc"));

    const auto greeter = context.GetService(find<Greeter>());
    const auto counter = context.GetService(find<Counter>());

    EXPECT_EQ(greeter->greeting(), "abc");
    EXPECT_EQ(counter->count(), 3);
}

TEST_F(ServiceRegistryTest, findsByInterfaceIdentifier) {
    const auto registration = context.RegisterService<Greeter>(make_service());

    EXPECT_EQ(context.GetServiceReferences("services_test::Greeter").size(), 1u);
    EXPECT_TRUE(context.GetServiceReferences("services_test::Counter").empty());
}

TEST_F(ServiceRegistryTest, emptyFilterIsNoFilter) {
    const auto registration = context.RegisterService<Greeter>(make_service());

    EXPECT_EQ(context.GetServiceReferences<Greeter>("").size(), 1u);
}

TEST_F(ServiceRegistryTest, emptyIdentifierFindsServicesOfEveryInterface) {
    const auto first = context.RegisterService<Greeter>(make_service());
    const auto second = context.RegisterService<Counter>(make_service());

    EXPECT_EQ(context.GetServiceReferences("").size(), 2u);
}

TEST_F(ServiceRegistryTest, droppingTheRegistrationLeavesTheServiceRegistered) {
    { const auto registration = context.RegisterService<Greeter>(make_service("stays")); }

    EXPECT_EQ(greetings(), Texts{"stays"});
}

TEST_F(ServiceRegistryTest, unregisteredServiceIsNotFound) {
    auto registration = context.RegisterService<Greeter>(make_service("gone"));
    const auto other = context.RegisterService<Greeter>(make_service("stays"));

    registration.Unregister();

    EXPECT_EQ(greetings(), Texts{"stays"});
}

TEST_F(ServiceRegistryTest, secondUnregisterIsRefused) {
    auto registration = context.RegisterService<Greeter>(make_service());
    registration.Unregister();

    EXPECT_EQ(thrown_text<std::logic_error>([&] { registration.Unregister(); }),
              "Service is unregistered");
    EXPECT_EQ(thrown_text<std::logic_error>([&] { registration.SetProperties({}); }),
              "Service is unregistered");
}

TEST_F(ServiceRegistryTest, defaultRegistrationRefusesCalls) {
    ServiceRegistration<Greeter> registration;

    EXPECT_EQ(thrown_text<std::logic_error>([&] { registration.Unregister(); }),
              "ServiceRegistrationBase object invalid");
    EXPECT_EQ(thrown_text<std::logic_error>([&] { registration.SetProperties({}); }),
              "ServiceRegistrationBase object invalid");
}

TEST_F(ServiceRegistryTest, voidIsNotAnInterface) {
    const auto expected = "The service interface class has no "
                          "CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro";

    EXPECT_EQ(thrown_text<ServiceException>([&] { (void)context.GetServiceReferences<void>(); }),
              expected);
    EXPECT_EQ(
        thrown_text<ServiceException>([] { (void)BundleContext().GetServiceReferences<void>(); }),
        expected);
}

TEST_F(ServiceRegistryTest, qualifiedClassNameIsTheInterfaceIdentifier) {
    EXPECT_EQ(us_service_interface_iid<Greeter>(), "services_test::Greeter");
    EXPECT_EQ(detail::GetDemangledName(typeid(Greeter)), "services_test::Greeter");
    EXPECT_EQ(us_service_interface_iid<void>(), "");
}

TEST_F(ServiceRegistryTest, declaredIdentifierReplacesTheClassName) {
    const auto registration =
        context.RegisterService<DeclaredInterface>(std::make_shared<DeclaredService>());

    EXPECT_EQ(us_service_interface_iid<DeclaredInterface>(), "test.declared/1.0");
    EXPECT_EQ(context.GetServiceReferences("test.declared/1.0").size(), 1u);
}

} // namespace
} // namespace services_test
