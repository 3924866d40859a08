#pragma once

#include <cppmicroservices/Any.h>
#include <cppmicroservices/Bundle.h>
#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/ServiceException.h>
#include <cppmicroservices/ServiceProperties.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace services_test {

class Greeter {
public:
    virtual ~Greeter() = default;
    virtual std::string greeting() const = 0;
};

class Counter {
public:
    virtual ~Counter() = default;
    virtual int count() const = 0;
};

/// A service of both interfaces, identified by its greeting.
class NamedService : public Greeter, public Counter {
public:
    explicit NamedService(std::string text = "hello") : name(std::move(text)) {}

    std::string greeting() const override { return name; }
    int count() const override { return static_cast<int>(name.size()); }

private:
    std::string name;
};

inline std::shared_ptr<NamedService> make_service(const std::string& name = "hello") {
    return std::make_shared<NamedService>(name);
}

/// The value that the Any holds. If it holds another type, the test fails and the result is a
/// default value.
template <class Value>
Value value_of(const cppmicroservices::Any& any) {
    const Value* const value = cppmicroservices::any_cast<Value>(&any);
    EXPECT_NE(value, nullptr);
    return value == nullptr ? Value() : *value;
}

constexpr auto forEver = std::chrono::milliseconds(0);
constexpr auto invalidContextText = "The bundle context is no longer valid";
constexpr auto deadReferenceText =
    "Default constructed ServiceReference is not a valid input to GetService()";

inline void stop(cppmicroservices::Framework& framework) {
    framework.Stop();
    framework.WaitForStop(forEver);
}

/// The text of the exception of exactly this type that the call throws.
template <class Exception, class Call>
std::string thrown_text(Call call) {
    try {
        call();
    } catch (const Exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// A framework that runs during one test.
class RunningFramework : public testing::Test {
protected:
    RunningFramework() {
        framework.Start();
        context = framework.GetBundleContext();
    }

    ~RunningFramework() override { stop(framework); }

    /// The greetings of the services that a look-up finds, in order.
    std::vector<std::string> greetings(const std::string& filter = {}) {
        std::vector<std::string> result;
        for (const auto& reference : context.GetServiceReferences<Greeter>(filter)) {
            result.push_back(context.GetService(reference)->greeting());
        }
        return result;
    }

    /// The service that a look-up finds first.
    template <class Interface>
    cppmicroservices::ServiceReference<Interface> find(const std::string& filter = {}) {
        return context.GetServiceReferences<Interface>(filter).at(0);
    }

    cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
    cppmicroservices::BundleContext context;
};

} // namespace services_test
