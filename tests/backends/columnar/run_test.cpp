#include <tests/backends/columnar/columnar_writers.hpp>

#include <chrono>
#include <stdexcept>
#include <tuple>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

const ValuePath x("x");

/// The groups 5 and 0, with the triple "z" and its alias "same", with "x", and with "nothing" of
/// width 0.
GroupSetup twoGroups() {
    return GroupSetup{
        {Group(5), LoggedPathsSetupData(paths({{"z", 2}, {"same", 2}}), channels({{2, 3}}))},
        {Group(0),
         LoggedPathsSetupData(paths({{"x", 7}, {"nothing", 3}}), channels({{3, 0}, {7, 1}}))}};
}

class ColumnarRunTest : public ::testing::Test {
protected:
    ColumnarRunTest() {
        for (const double time : {1.0, 2.0, 3.0}) {
            write(*writer, 0, time, {10.0 * time});
        }
        write(*writer, 5, 1.0, {1.0, nan, 3.0});
        write(*writer, 5, 2.0, {-1.0, 5.0, nan});
        run = writer->run();
    }

    std::unique_ptr<ColumnarStreamWriter> writer =
        std::make_unique<ColumnarStreamWriter>(StreamingAttributes(), twoGroups());
    std::unique_ptr<core::Run> run;
};

TEST_F(ColumnarRunTest, infoTellsWhatBecameOfTheRun) {
    const RunInfo running = run->info();
    EXPECT_EQ(running.id.size(), 36U);
    EXPECT_EQ(running.id, writer->run()->info().id);
    EXPECT_EQ(running.state, RunState::running);
    EXPECT_FALSE(running.end);
    EXPECT_EQ(running.host + running.process + running.libraryVersion, "");
    writer->flush();
    EXPECT_EQ(run->info().state, RunState::running);
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().state, RunState::finished);
    EXPECT_LE(running.start, run->info().end);
}

TEST_F(ColumnarRunTest, seriesOutlivesItsRunAndWriter) {
    const core::Series view = run->series(x);
    const core::Series part = run->series(x, 2.0, 3.0);
    run.reset();
    writer.reset();
    EXPECT_THAT(doubles(view.values()), ElementsAre(10.0, 20.0, 30.0));
    EXPECT_THAT(doubles(part.times()), ElementsAre(2.0, 3.0));
}

TEST_F(ColumnarRunTest, revisionGrowsForStepsThatAFormerRunShowed) {
    for (const double time : {2.0, 1.0, 3.0, 4.0, 5.0}) {
        write(*writer, 5, time, {time, 0.0, 0.0});
    }
    const std::uint64_t shown = writer->run()->info().revision; // the run is gone
    write(*writer, 5, 6.0, {6.0, 0.0, 0.0});
    writer->rollback(5, 5.0);
    writer->rollback(5, 3.0);
    write(*writer, 5, 4.5, {0.0, 0.0, 0.0});
    EXPECT_GT(writer->run()->info().revision, shown);
}

TEST_F(ColumnarRunTest, outlivesItsWriter) {
    write(*writer, 0, 4.0, {40.0});
    writer.reset();
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().state, RunState::interrupted);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0, 4.0));
    EXPECT_FALSE(run->refresh());
}

TEST_F(ColumnarRunTest, finishedRunOutlivesItsWriter) {
    writer->flush();
    write(*writer, 0, 4.0, {40.0});
    writer.reset();
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().state, RunState::finished);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0, 3.0));
}

TEST_F(ColumnarRunTest, groupsAreThoseOfTheSetup) {
    writer->rollback(5, 0.0);
    run->refresh();
    const std::vector<GroupInfo> groups = run->groups();
    ASSERT_EQ(groups.size(), 2U);
    EXPECT_EQ(groups[0].id, 5U);
    EXPECT_EQ(groups[0].stepCount, 0U);
    EXPECT_FALSE(groups[0].firstTime);
    EXPECT_EQ(groups[1].id, 0U);
    EXPECT_EQ(groups[1].stepCount, 3U);
    EXPECT_EQ(groups[1].firstTime, 1.0);
    EXPECT_EQ(groups[1].lastTime, 3.0);
}

TEST_F(ColumnarRunTest, signalsAreOrderedByGroupChannelAndPath) {
    std::vector<std::tuple<std::string, std::size_t, std::size_t, std::size_t>> found;
    for (const SignalInfo& signal : run->signals()) {
        found.emplace_back(signal.path.text(), signal.group, signal.channel, signal.width);
    }
    EXPECT_THAT(found, ElementsAre(std::tuple("same", 5, 2, 3), std::tuple("z", 5, 2, 3),
                                   std::tuple("nothing", 0, 3, 0), std::tuple("x", 0, 7, 1)));
}

TEST_F(ColumnarRunTest, seriesOfOnePieceIsAView) {
    const auto [times, values, width] = run->series(x);
    EXPECT_THAT(doubles(times), ElementsAre(1.0, 2.0, 3.0));
    EXPECT_THAT(doubles(values), ElementsAre(10.0, 20.0, 30.0));
    EXPECT_EQ(width, 1U);
    EXPECT_TRUE(run->series(x).isView());
    EXPECT_EQ(run->series(x, StepRange{1, 1}).values().data(), values.data() + 1);
}

TEST_F(ColumnarRunTest, piecesAreViewsOfTheWholeSignal) {
    for (const double time : countedTimes(10000)) {
        write(*writer, 0, time + 4.0, {time});
    }
    run->refresh();
    const Series whole = run->series(x);
    EXPECT_FALSE(whole.isView());
    Doubles times;
    for (const Series& piece : run->pieces(x)) {
        EXPECT_TRUE(piece.isView());
        times.insert(times.end(), piece.times().begin(), piece.times().end());
    }
    EXPECT_EQ(times, doubles(whole.times()));
    EXPECT_EQ(times.size(), 10003U);
}

TEST_F(ColumnarRunTest, signalWithoutSamplesHasNoPieces) {
    writer->rollback(0, 0.0);
    run->refresh();
    EXPECT_THAT(run->pieces(x), IsEmpty());
    EXPECT_EQ(run->series(x).size(), 0U);
    EXPECT_EQ(run->series(x).width(), 1U);
}

TEST_F(ColumnarRunTest, rangesIncludeTheirLimits) {
    const auto timesIn = [this](double from, double to) {
        return doubles(run->series(x, from, to).times());
    };
    EXPECT_THAT(timesIn(1.0, 2.0), ElementsAre(1.0, 2.0));
    EXPECT_THAT(timesIn(1.5, infinity), ElementsAre(2.0, 3.0));
    EXPECT_THAT(timesIn(2.1, 2.9), IsEmpty());
    EXPECT_THAT(timesIn(3.0, 1.0), IsEmpty());
    EXPECT_THAT(timesIn(nan, 3.0), IsEmpty());
}

TEST_F(ColumnarRunTest, rangesFindTimesOutOfOrder) {
    for (const double time : {nan, 1.5, 9.0, 2.5}) {
        write(*writer, 0, time, {10.0 * time});
    }
    run->refresh();
    EXPECT_THAT(doubles(run->series(x, 1.5, 3.0).times()), ElementsAre(2.0, 3.0, 1.5, 2.5));
    const StepRange steps = run->steps(0, 1.5, 3.0);
    EXPECT_EQ(steps.first, 1U);
    EXPECT_EQ(steps.count, 6U);
    EXPECT_EQ(run->steps(0, 100.0, 200.0).count, 0U);
}

TEST_F(ColumnarRunTest, stepsBeyondTheEndAreRefused) {
    EXPECT_EQ(run->series(x, StepRange{3, 0}).size(), 0U);
    EXPECT_THAT(([&] {
                    run->series(x, StepRange{2, 2});
                }),
                ThrowsMessage<std::out_of_range>("\"x\" has only 3 steps"));
    EXPECT_THROW(run->series(x, StepRange{4, 0}), std::out_of_range);
}

TEST_F(ColumnarRunTest, unknownNamesAreRefused) {
    const ValuePath unknown("unknown");
    const auto isNamed = ThrowsMessage<std::out_of_range>(HasSubstr("\"unknown\""));
    EXPECT_THAT([&] { run->series(unknown); }, isNamed);
    EXPECT_THAT([&] { run->pieces(unknown); }, isNamed);
    EXPECT_THAT([&] { run->summary(unknown); }, isNamed);
    EXPECT_THAT([&] { run->overview(unknown, 0.0, 1.0, 1); }, isNamed);
    EXPECT_THAT([&] { run->steps(7, 0.0, 1.0); },
                ThrowsMessage<std::out_of_range>("there is no group 7"));
}

TEST_F(ColumnarRunTest, summaryLeavesOutNan) {
    const SignalSummary summary = run->summary(ValuePath("z"));
    EXPECT_EQ(summary.sampleCount, 2U);
    EXPECT_EQ(summary.leastTime, 1.0);
    EXPECT_EQ(summary.greatestTime, 2.0);
    EXPECT_THAT(summary.least, ElementsAre(-1.0, 5.0, 3.0));
    EXPECT_THAT(summary.greatest, ElementsAre(1.0, 5.0, 3.0));
    EXPECT_THAT(summary.nanCount, ElementsAre(0U, 1U, 1U));
    EXPECT_EQ(summary.byteCount, 48U);
    EXPECT_EQ(run->summary(ValuePath("nothing")).sampleCount, 3U);
}

TEST_F(ColumnarRunTest, summaryOfNoSamplesHasNoTimes) {
    writer->rollback(0, 0.0);
    run->refresh();
    const SignalSummary summary = run->summary(x);
    EXPECT_FALSE(summary.leastTime);
    EXPECT_THAT(summary.least, ElementsAre(infinity));
}

TEST_F(ColumnarRunTest, overviewDividesTheInterval) {
    const Overview overview = run->overview(x, 1.0, 3.0, 2);
    EXPECT_THAT(overview.sampleCount, ElementsAre(1U, 2U));
    EXPECT_THAT(overview.least, ElementsAre(10.0, 20.0));
    EXPECT_THAT(overview.greatest, ElementsAre(10.0, 30.0));
    EXPECT_EQ(run->overview(ValuePath("z"), 0.0, 9.0, 1).nanCount,
              std::vector<std::size_t>({0, 1, 1}));
}

TEST_F(ColumnarRunTest, outlineHasFirstLeastGreatestAndLast) {
    const Outline outline = run->outline(x, 0, 1.0, 3.0, 2);
    ASSERT_EQ(outline.size(), 2U);
    EXPECT_EQ(outline[0].sampleCount, 1U);
    EXPECT_EQ(outline[1].sampleCount, 2U);
    EXPECT_EQ(outline[1].firstTime, 2.0);
    EXPECT_EQ(outline[1].lastTime, 3.0);
    EXPECT_EQ(outline[1].first, 20.0);
    EXPECT_EQ(outline[1].last, 30.0);
    EXPECT_EQ(outline[1].least, 20.0);
    EXPECT_EQ(outline[1].greatest, 30.0);
    EXPECT_TRUE(run->outline(ValuePath("z"), 1, 0.0, 9.0, 1).at(0).hasNan);
}

TEST_F(ColumnarRunTest, impossibleOutlinesAreRefused) {
    EXPECT_THROW(run->outline(x, 1, 0.0, 1.0, 1), std::out_of_range);
    EXPECT_THROW(run->outline(x, 0, 0.0, 1.0, 0), std::invalid_argument);
}

TEST_F(ColumnarRunTest, impossibleOverviewsAreRefused) {
    EXPECT_THROW(run->overview(x, 0.0, 1.0, 0), std::invalid_argument);
    EXPECT_THROW(run->overview(x, -infinity, 1.0, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(x, 0.0, nan, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(x, 1.0, 0.0, 1), std::invalid_argument);
    EXPECT_THROW(run->overview(x, 0.0, 1.0, ~std::size_t{0}), std::invalid_argument);
}

TEST_F(ColumnarRunTest, revisionCountsRollbacksOfShownSteps) {
    EXPECT_FALSE(run->refresh());
    writer->rollback(0, 2.0);
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(run->info().revision, 1U);
    write(*writer, 0, 5.0, {50.0});
    writer->rollback(0, 4.0);
    EXPECT_FALSE(run->info().revision != 1U);
    run->refresh();
    EXPECT_EQ(run->info().revision, 1U);
    EXPECT_THAT(timesOf(*run), ElementsAre(1.0, 2.0));
}

TEST_F(ColumnarRunTest, snapshotHasTheStepsOfItsInterval) {
    const auto snapshot = writer->snapshot(2.0, 6.0);
    EXPECT_THAT(timesOf(*snapshot), ElementsAre(2.0, 3.0));
    for (const double time : {4.0, 5.0, 6.0, 7.0}) {
        write(*writer, 0, time, {10.0 * time});
    }
    EXPECT_TRUE(snapshot->refresh());
    EXPECT_THAT(timesOf(*snapshot), ElementsAre(2.0, 3.0, 4.0, 5.0, 6.0));
    writer->rollback(0, 4.0);
    writer->flush();
    writer.reset();
    snapshot->refresh();
    EXPECT_THAT(timesOf(*snapshot), ElementsAre(2.0, 3.0, 4.0));
    EXPECT_THAT(timesOf(*snapshot, "z"), ElementsAre(2.0));
}

TEST(ColumnarSnapshotTest, keepsItsStepsBeyondTheLimit) {
    ColumnarOptions options;
    options.byteLimit = std::size_t{16} * 1024;
    options.beyondLimit = BeyondLimit::discardOldest;
    ColumnarStreamWriter writer({}, scalarSetup(), options);
    writeTimes(writer, countedTimes(500));
    const auto snapshot = writer.snapshot(400.0, 700.0);
    { const auto gone = writer.snapshot(0.0, 1.0); }
    const auto nothing = writer.snapshot(1e6, 2e6);
    for (const double time : countedTimes(10000)) {
        writeTimes(writer, {time + 500.0});
    }
    snapshot->refresh();
    Doubles expected = countedTimes(701);
    expected.erase(expected.begin(), expected.begin() + 400);
    EXPECT_EQ(timesOf(*snapshot), expected);
    EXPECT_THAT(timesOf(*nothing), IsEmpty());
}

} // namespace
} // namespace logging2::core::test
