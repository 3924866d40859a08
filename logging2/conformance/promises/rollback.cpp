#include <logging2/conformance/detail/Promise.hpp>

#include <cmath>
#include <limits>

// Rollback or its refusal, and rollbackOnTimeRegression.

namespace logging2::core::conformance {
namespace {

using test::mixedWidthSetup;
using test::write;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

bool declines(const Subject& subject) {
    return !rollsBack(subject);
}

bool ignoresRegression(const Subject& subject) {
    return !obeysRegression(subject);
}

const Promise table[] = {
    {"rollbackDiscardsLaterSamples", rollsBack,
     [](Session& session) {
         const auto writer = session.writer(mixedWidthSetup());
         write(*writer, 0, 1.0, {1.0, 10.0, 100.0});
         write(*writer, 0, 2.0, {2.0, 20.0, 200.0});
         write(*writer, 0, 3.0, {3.0, 30.0, 300.0});
         writer->rollback(0, 1.5);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "a"), {1.0}, {1.0}));
         EXPECT_TRUE(holds(session.read(*writer, "b"), {1.0}, {10.0, 100.0}));
     }},
    {"rollbackKeepsSamplesAtEqualTime", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0, 2.0, 3.0});
         writer->rollback(0, 2.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0, 2.0}, {1.0, 2.0, 3.0}));
     }},
    {"rollbackDistinguishesNeighbouringTimes", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         const double before = std::nextafter(1.0, -infinity);
         write_calls(*writer, 0, {before, 1.0, std::nextafter(1.0, infinity)});
         writer->rollback(0, 1.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {before, 1.0}, {1.0, 2.0}));
     }},
    {"rollbackToTheLastTimeOrLaterChangesNothing", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         for (const double time : {2.0, 2.5, infinity}) {
             writer->rollback(0, time);
         }
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0}, {1.0, 2.0}));
     }},
    {"rollbackBeforeTheFirstTimeEmptiesTheGroup", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->rollback(0, 0.5);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {}, {}));
     }},
    {"rollbackDiscardsEarlierTimesAfterTheFirstLaterTime", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {0.0, 2.0, 1.0});
         writer->rollback(0, 1.5);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {0.0}, {1.0}));
     }},
    {"rollbackDiscardsEqualTimesAfterTheFirstLaterTime", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 1.0, 2.0, 1.0, 2.0, 1.0});
         writer->rollback(0, 1.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 1.0}, {1.0, 2.0}));
     }},
    {"rollbackTreatsNanAsNotLater", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, nan, 2.0});
         writer->rollback(0, 1.5);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, nan}, {1.0, 2.0}));
     }},
    {"rollbackDiscardsNanAfterTheFirstLaterTime", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 3.0, nan});
         writer->rollback(0, 2.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
     }},
    {"rollbackOfOneGroupKeepsTheOthers", rollsBack,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2));
         write_calls(*writer, 0, {1.0, 2.0});
         write_calls(*writer, 1, {1.0, 2.0});
         writer->rollback(1, 1.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {1.0, 2.0}, {1.0, 2.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x1"), {1.0}, {1.0}));
     }},
    {"rollbackOfAnEmptyGroupChangesNothing", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         EXPECT_NO_THROW(writer->rollback(0, 0.0));
         write_calls(*writer, 0, {1.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
     }},
    {"samplesMayFollowARollback", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0, 3.0});
         writer->rollback(0, 1.0);
         write_calls(*writer, 0, {1.5, 2.5}, 4.0);
         writer->rollback(0, 2.0);
         write_calls(*writer, 0, {2.0}, 6.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 1.5, 2.0}, {1.0, 4.0, 6.0}));
     }},
    {"rollbackDiscardsSamplesBeforeFlushIntermediate", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->flushIntermediate();
         write_calls(*writer, 0, {3.0}, 3.0);
         writer->rollback(0, 1.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
     }},
    {"rollbackIssuesNoWarning", rollsBack,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->rollback(0, 1.0);
         EXPECT_TRUE(session.warnings().empty());
     }},
    {"declinedRollbackIssuesOneWarning", declines,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2));
         write_calls(*writer, 0, {1.0, 2.0});
         writer->rollback(0, 1.0);
         writer->rollback(1, 5.0);
         const auto warnings = session.warnings();
         ASSERT_EQ(warnings.size(), 2U);
         for (const foundation::Message& warning : warnings) {
             EXPECT_EQ(warning.catalog(), "vantrel:common:logging2:core:common");
             EXPECT_EQ(warning.key(), "RollbackNotSupported");
             EXPECT_EQ(warning.arguments(), std::vector<std::u16string>{u"run 1"});
         }
     }},
    {"declinedRollbackKeepsTheSamples", declines,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->rollback(0, 1.0);
         write_calls(*writer, 0, {1.5}, 3.0);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0, 1.5}, {1.0, 2.0, 3.0}));
     }},
    {"repeatedTimeReplacesTheSample", obeysRegression,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), rolling_back());
         write_calls(*writer, 0, {1.0, 3.0, 3.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 3.0}, {1.0, 3.0}));
     }},
    {"neighbouringLaterTimeReplacesNothing", obeysRegression,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), rolling_back());
         const double after = std::nextafter(1.0, infinity);
         write_calls(*writer, 0, {1.0, after});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, after}, {1.0, 2.0}));
     }},
    {"earlierTimeReplacesAllSamplesFromThere", obeysRegression,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), rolling_back());
         write_calls(*writer, 0, {0.0, 1.0, 2.0, 1.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {0.0, 1.0}, {1.0, 4.0}));
     }},
    {"earlierTimeOfOneGroupKeepsTheOthers", obeysRegression,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2), rolling_back());
         write_calls(*writer, 0, {1.0, 2.0, 3.0});
         write_calls(*writer, 1, {1.0, 2.0, 1.5});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x1"), {1.0, 1.5}, {1.0, 3.0}));
     }},
    {"unsupportedRegressionFlagReplacesNothing", ignoresRegression,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), rolling_back());
         write_calls(*writer, 0, {2.0, 2.0, 1.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {2.0, 2.0, 1.0}, {1.0, 2.0, 3.0}));
         EXPECT_TRUE(session.warnings().empty());
     }},
};

} // namespace

std::vector<Promise> rollback_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
