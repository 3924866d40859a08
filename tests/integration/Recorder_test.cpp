#include <examples/simulate/logging/Recorder.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/models/GroupInfo.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <gtest/gtest.h>

namespace {

using integration::SpyWriter;
using simulate::Recorder;
using simulate::RollbackWarnings;

logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData> setup() {
    return simulate::logging_setup({{0, "group", false, {{"a", 0, {{"", "a", "1"}}}}, {}}});
}

foundation::Message message(const std::string& key) {
    return {"catalog", key, {}};
}

TEST(RecorderTest, forwardsAndCountsSteps) {
    SpyWriter writer(setup());
    const RollbackWarnings warnings;
    Recorder recorder(writer, warnings);
    recorder.step(0, 1.0, std::array{10.0});
    recorder.step(0, 2.0, std::array{20.0});
    recorder.takeBack(0, 1.0);
    EXPECT_EQ(writer.kept, (std::vector<SpyWriter::Step>{{1.0, {10.0}}}));
    EXPECT_EQ(recorder.counts().logged, 2u);
    EXPECT_EQ(recorder.counts().takenBack, 1u);
    EXPECT_EQ(recorder.counts().declined, 0u);
}

TEST(RecorderTest, refusedSampleEndsTheRun) {
    SpyWriter writer(setup());
    writer.accepts = false;
    const RollbackWarnings warnings;
    Recorder recorder(writer, warnings);
    EXPECT_THROW(recorder.step(0, 1.0, std::array{10.0}), simulate::HostError);
}

TEST(RecorderTest, reportsProgressEvery4096Steps) {
    SpyWriter writer(setup());
    const RollbackWarnings warnings;
    std::vector<double> reports;
    Recorder recorder(writer, warnings, [&](double time) { reports.push_back(time); });
    for (int step = 1; step <= 10000; ++step) {
        recorder.step(0, step, std::array{0.0});
    }
    EXPECT_EQ(reports, (std::vector<double>{4096, 8192}));
}

TEST(RollbackWarningsTest, countsOnlyDeclinedRollbacks) {
    const auto former = foundation::setWarningHandler([](const foundation::Message&) {});
    const RollbackWarnings warnings;
    foundation::issueWarning(message("RollbackNotSupported"));
    foundation::issueWarning(message("SomethingElse"));
    foundation::issueWarning(message("RollbackNotSupported"));
    EXPECT_EQ(warnings.count(), 2u);
    foundation::setWarningHandler(former);
}

TEST(RollbackWarningsTest, forwardsOtherWarningsAndRestoresTheHandler) {
    std::vector<std::string> seen;
    const auto former = foundation::setWarningHandler(
        [&](const foundation::Message& warning) { seen.push_back(warning.key()); });
    {
        const RollbackWarnings warnings;
        foundation::issueWarning(message("RollbackNotSupported"));
        foundation::issueWarning(message("Other"));
    }
    foundation::issueWarning(message("RollbackNotSupported"));
    foundation::setWarningHandler(former);
    EXPECT_EQ(seen, (std::vector<std::string>{"Other", "RollbackNotSupported"}));
}

} // namespace
