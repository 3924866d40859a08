#include <examples/simulate/logging/LogSession.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/models/BouncingBall.hpp>
#include <examples/simulate/models/DcMotor.hpp>
#include <examples/simulate/report/samples.hpp>
#include <tests/integration/support/runs.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <gtest/gtest.h>

namespace {

using integration::LoggedRun;
using simulate::Backend;

TEST(LogSessionTest, readsEveryPathBeforeItDestroysAReader) {
    const LoggedRun kept = integration::run_model(simulate::DcMotor(), 0.1);
    const LoggedRun singleUse =
        integration::run_model(simulate::DcMotor(), 0.1, 1e-9, Backend("single-use"));
    for (const std::string path : {"motor.state", "load.torque", "motor.voltage"}) {
        EXPECT_TRUE(integration::same_bits(integration::values_of(kept, path),
                                           integration::values_of(singleUse, path)));
    }
}

TEST(LogSessionTest, flushesOnceAndOpensOneReaderPerPath) {
    const auto before = integration::single_use_counts();
    integration::run_model(simulate::DcMotor(), 0.1, 1e-9, Backend("single-use"));
    const auto after = integration::single_use_counts();
    EXPECT_EQ(after.flushes - before.flushes, 1u);
    EXPECT_EQ(after.readersOpened - before.readersOpened, 6u);
    EXPECT_EQ(after.readersDestroyed - before.readersDestroyed, 6u);
}

TEST(LogSessionTest, abandonedSessionLetsTheBackendCleanUp) {
    integration::register_test_backends();
    const auto before = integration::single_use_counts();
    {
        const simulate::LogSession session(Backend("single-use"), {},
                                           simulate::BouncingBall().groups());
    }
    const auto after = integration::single_use_counts();
    EXPECT_EQ(after.flushes - before.flushes, 1u);
    EXPECT_EQ(after.readersDestroyed - before.readersDestroyed, 2u);
}

TEST(LogSessionTest, missingValuesAreDetected) {
    EXPECT_THROW(integration::run_model(simulate::BouncingBall(), 1, 1e-9, Backend("short")),
                 simulate::HostError);
}

TEST(LogSessionTest, rejectedStepsOfADecliningBackendAreCountedAndKept) {
    const LoggedRun rolledBack = integration::run_model(simulate::BouncingBall(), 5);
    const LoggedRun declined =
        integration::run_model(simulate::BouncingBall(), 5, 1e-9, Backend("declining"));
    EXPECT_EQ(declined.counts.declined, rolledBack.counts.takenBack);
    EXPECT_EQ(declined.counts.takenBack, 0u);
    EXPECT_EQ(declined.groups[0].times.size(),
              rolledBack.groups[0].times.size() + declined.counts.declined);
}

TEST(LogSessionTest, acceptedStepsOfADecliningBackendAreExact) {
    const LoggedRun rolledBack = integration::run_model(simulate::BouncingBall(), 5);
    const LoggedRun declined =
        integration::run_model(simulate::BouncingBall(), 5, 1e-9, Backend("declining"));
    const auto& times = declined.groups[0].times;
    EXPECT_EQ(simulate::rejected_samples(times).size(), declined.counts.declined);
    std::vector<double> accepted;
    for (const std::size_t sample : simulate::accepted_samples(times)) {
        accepted.push_back(times[sample]);
    }
    EXPECT_TRUE(integration::same_bits(accepted, rolledBack.groups[0].times));
}

} // namespace
