#include "registry_fixture.hpp"

#include <cppmicroservices/ServiceFactory.h>

#include <atomic>
#include <future>
#include <thread>

namespace services_test {
namespace {

using namespace cppmicroservices;

constexpr int threadCount = 4;
constexpr int roundCount = 500;

/// Runs the same work on several threads and waits for them all.
template <class Work>
void run_on_threads(Work work) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&work, thread] { work(thread); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

class NamingFactory : public ServiceFactory {
public:
    InterfaceMapConstPtr GetService(const Bundle&, const ServiceRegistrationBase&) override {
        return MakeInterfaceMap<Greeter>(make_service("made"));
    }

    void UngetService(const Bundle&, const ServiceRegistrationBase&,
                      const InterfaceMapConstPtr&) override {}
};

class ServiceThreadsTest : public RunningFramework {};

TEST_F(ServiceThreadsTest, manyThreadsFindAndGetServices) {
    const auto registration =
        context.RegisterService<Greeter>(make_service("found"), {{"name", std::string("a")}});
    std::atomic<int> foundCount{0};

    run_on_threads([&](int) {
        auto own = framework.GetBundleContext();
        for (int round = 0; round < roundCount; ++round) {
            const auto references = own.GetServiceReferences<Greeter>("(name=a)");
            foundCount += own.GetService(references.at(0))->greeting() == "found" ? 1 : 0;
        }
    });

    EXPECT_EQ(foundCount, threadCount * roundCount);
}

TEST_F(ServiceThreadsTest, lookUpWorksWhileServicesAreAddedAndRemoved) {
    const auto stays = context.RegisterService<Greeter>(make_service("stays"));
    std::atomic<int> failureCount{0};

    run_on_threads([&](int thread) {
        auto own = framework.GetBundleContext();
        for (int round = 0; round < roundCount / 5; ++round) {
            auto added = own.RegisterService<Greeter>(make_service("added"),
                                                      {{Constants::SERVICE_RANKING, thread - 2}});
            failureCount += own.GetServiceReferences<Greeter>().empty() ? 1 : 0;
            added.Unregister();
        }
    });

    EXPECT_EQ(failureCount, 0);
    EXPECT_EQ(greetings(), std::vector<std::string>{"stays"});
}

TEST_F(ServiceThreadsTest, allThreadsGetTheSameObjectOfAFactory) {
    const auto registration =
        context.RegisterService<Greeter>(ToFactory(std::make_shared<NamingFactory>()));
    const auto reference = find<Greeter>();
    std::vector<std::shared_ptr<Greeter>> services(threadCount);

    run_on_threads([&](int thread) {
        auto own = framework.GetBundleContext();
        services[static_cast<std::size_t>(thread)] = own.GetService(reference);
    });

    for (const auto& service : services) {
        ASSERT_NE(service, nullptr);
        EXPECT_EQ(service.get(), services.front().get());
    }
}

TEST_F(ServiceThreadsTest, manyThreadsMayUseAndReleaseAFactory) {
    const auto registration =
        context.RegisterService<Greeter>(ToFactory(std::make_shared<NamingFactory>()));
    const auto reference = find<Greeter>();
    std::atomic<int> madeCount{0};

    run_on_threads([&](int) {
        auto own = framework.GetBundleContext();
        for (int round = 0; round < roundCount / 5; ++round) {
            const auto service = own.GetService(reference);
            madeCount += service && service->greeting() == "made" ? 1 : 0;
        }
    });

    EXPECT_EQ(madeCount, threadCount * (roundCount / 5));
}

// Repeated, because a waiter may start only after the stop.
TEST_F(ServiceThreadsTest, stopWakesAWaiter) {
    for (int round = 0; round < 20; ++round) {
        framework.Start();
        std::promise<void> isWaiting;
        auto waiter = std::async(std::launch::async, [&] {
            isWaiting.set_value();
            return framework.WaitForStop(forEver).GetType();
        });
        isWaiting.get_future().wait();

        framework.Stop();

        EXPECT_EQ(waiter.get(), FrameworkEvent::FRAMEWORK_STOPPED);
    }
}

} // namespace
} // namespace services_test
