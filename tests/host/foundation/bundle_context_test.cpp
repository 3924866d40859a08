#include <logging2/host/foundation/bundle_context.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

// Each case runs in a process of its own, because the framework starts once per process.

namespace {

TEST(BundleContextTest, isInvalidBeforeTheFrameworkStarts) {
    EXPECT_FALSE(foundation::get_global_bundle_context());
}

TEST(BundleContextTest, isValidOnceTheFrameworkHasStarted) {
    foundation::install_and_start_vantrel_core();
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

TEST(BundleContextTest, stoppingMakesContextsInvalid) {
    foundation::install_and_start_vantrel_core();
    const cppmicroservices::BundleContext context = foundation::get_global_bundle_context();
    foundation::stop_vantrel_core();
    EXPECT_FALSE(context);
    EXPECT_FALSE(foundation::get_global_bundle_context());
}

TEST(BundleContextTest, stoppedFrameworkStaysStopped) {
    foundation::install_and_start_vantrel_core();
    foundation::stop_vantrel_core();
    foundation::install_and_start_vantrel_core();
    EXPECT_FALSE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

TEST(BundleContextTest, stoppingWithoutAStartDoesNothing) {
    foundation::stop_vantrel_core();
    foundation::install_and_start_vantrel_core();
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

TEST(BundleContextTest, manyThreadsStartOneFramework) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([] {
            foundation::install_and_start_vantrel_core();
            EXPECT_TRUE(foundation::get_global_bundle_context());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    foundation::stop_vantrel_core();
}

/// A service that asks for the context in its destructor.
struct AskingService {
    ~AskingService() { static_cast<void>(foundation::get_global_bundle_context()); }
};

TEST(BundleContextTest, serviceMayAskForTheContextWhileTheFrameworkStops) {
    foundation::install_and_start_vantrel_core();
    foundation::get_global_bundle_context().RegisterService<AskingService>(
        std::make_shared<AskingService>());
    foundation::stop_vantrel_core();
    EXPECT_FALSE(foundation::get_global_bundle_context());
}

} // namespace
