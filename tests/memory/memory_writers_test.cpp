#include <tests/memory/memory_writers.hpp>

// Writing and rollback. memory_writers_flush_test.cpp tests the stores that flush makes.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TYPED_TEST_SUITE(MemoryWritersTest, MemoryWriters, WriterNames);

TYPED_TEST(MemoryWritersTest, writeAppendsAndReturnsTrue) {
    auto writer = this->make(mixedWidthSetup());
    const std::vector<double> row{1.0, 2.0, 3.0};
    EXPECT_TRUE(writer.write(0, 0.5, row.data(), row.size()));
    EXPECT_EQ(writer.numSteps(0), 1U);
    EXPECT_THAT(this->times(writer), ElementsAre(0.5));
    ASSERT_EQ(writer.data(0).size(), 1U);
    EXPECT_EQ(*writer.data(0).front(), row);
}

TYPED_TEST(MemoryWritersTest, writeCopiesTheValues) {
    auto writer = this->make();
    double value = 1.0;
    writer.write(0, 0.0, &value, 1);
    value = 2.0;
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersTest, rowHasExactlyTheGivenLength) {
    auto writer = this->make();
    const std::vector<double> row{1.0, 2.0, 3.0, 4.0, 5.0};
    writer.write(0, 0.0, row.data(), 5);
    writer.write(0, 1.0, nullptr, 0);
    EXPECT_EQ(writer.data(0)[0]->size(), 5U);
    EXPECT_EQ(writer.data(0)[0]->capacity(), 5U);
    EXPECT_TRUE(writer.data(0)[1]->empty());
}

TYPED_TEST(MemoryWritersTest, groupsAreIndependent) {
    const LoggedPathsSetupData scalar(paths({{"x", 0}}), channels({{0, 1}}));
    auto writer = this->make(GroupSetup{{Group(0), scalar}, {Group(1), scalar}});
    write(writer, 1, 5.0, {50.0});
    write(writer, 0, 1.0, {10.0});
    write(writer, 1, 6.0, {60.0});
    writer.rollback(1, 5.0);
    EXPECT_THAT(this->times(writer, 0), ElementsAre(1.0));
    EXPECT_THAT(this->times(writer, 1), ElementsAre(5.0));
    EXPECT_THAT(this->firstValues(writer, 1), ElementsAre(50.0));
}

TYPED_TEST(MemoryWritersTest, anyTimeIsAppendedWithoutRollbackOnTimeRegression) {
    auto writer = this->make();
    this->writeTimes(writer, {3.0, 3.0, 1.0, 2.0});
    EXPECT_THAT(this->times(writer), ElementsAre(3.0, 3.0, 1.0, 2.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 3.0, 4.0));
}

TYPED_TEST(MemoryWritersTest, earlierTimeReplacesAllSamplesFromThere) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {0.0, 1.0, 2.0, 1.0});
    EXPECT_THAT(this->times(writer), ElementsAre(0.0, 1.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 4.0));
}

TYPED_TEST(MemoryWritersTest, repeatedTimeReplacesTheSample) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {3.0, 3.0});
    EXPECT_THAT(this->times(writer), ElementsAre(3.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(2.0));
}

TYPED_TEST(MemoryWritersTest, timeBetweenSamplesDropsOnlyLaterSamples) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {0.0, 1.0, 2.0, 1.5});
    EXPECT_THAT(this->times(writer), ElementsAre(0.0, 1.0, 1.5));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 4.0));
}

TYPED_TEST(MemoryWritersTest, timeBeforeEverySampleReplacesTheWholeGroup) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {1.0, 2.0, 3.0, 0.5});
    EXPECT_THAT(this->times(writer), ElementsAre(0.5));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(4.0));
}

TYPED_TEST(MemoryWritersTest, laterTimesAreAppendedWithRollbackOnTimeRegression) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0, 3.0));
}

TYPED_TEST(MemoryWritersTest, nanTimesRollNothingBack) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {2.0, nan, 1.0});
    EXPECT_EQ(writer.numSteps(0), 3U);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 3.0));
}

// After a NaN, samples may stay out of order: the scan for the first later time starts at the
// front, and only one sample of the repeated time is replaced.
TYPED_TEST(MemoryWritersTest, regressionAfterANanMayLeaveTimesOutOfOrder) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {1.0, nan, 1.0, 1.0});
    ASSERT_EQ(writer.numSteps(0), 3U);
    EXPECT_EQ(this->times(writer)[0], 1.0);
    EXPECT_TRUE(std::isnan(this->times(writer)[1]));
    EXPECT_EQ(this->times(writer)[2], 1.0);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 4.0));
}

TYPED_TEST(MemoryWritersTest, regressionAfterDirectAccessReplacesOneSampleOfEqualTime) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    writer.times(0)[1] = 3.0;
    const double value = 9.0;
    writer.write(0, 3.0, &value, 1);
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 3.0, 3.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 9.0));
}

template <class Writer>
class CountingWriter : public Writer {
public:
    using Writer::rollback;
    using Writer::Writer;
    void rollback(std::size_t group, double time) override {
        ++rollbacks;
        Writer::rollback(group, time);
    }
    int rollbacks = 0;
};

TYPED_TEST(MemoryWritersTest, regressionCallsTheVirtualRollback) {
    CountingWriter<TypeParam> writer(attributes(true), scalarSetup());
    this->writeTimes(writer, {1.0, 2.0, 2.0, 1.5});
    EXPECT_EQ(writer.rollbacks, 2);
}

TYPED_TEST(MemoryWritersTest, rollbackKeepsSamplesAtEqualTime) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 2.0, 3.0});
    writer.rollback(0, 2.0);
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0, 2.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 3.0));
}

TYPED_TEST(MemoryWritersTest, rollbackDropsEarlierTimesAfterALaterOne) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 3.0, 2.0});
    writer.rollback(0, 2.0);
    EXPECT_THAT(this->times(writer), ElementsAre(1.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersTest, rollbackSkipsNanTimes) {
    auto writer = this->make();
    this->writeTimes(writer, {nan, 1.0, nan, 2.0, nan});
    writer.rollback(0, 1.0);
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 3.0));
    writer.rollback(0, nan);
    EXPECT_EQ(writer.numSteps(0), 3U);
}

TYPED_TEST(MemoryWritersTest, rollbackToTheLastTimeOrLaterChangesNothing) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.rollback(0, 2.0);
    writer.rollback(0, 5.0);
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0));
    EXPECT_EQ(writer.data(0).size(), 2U);
}

TYPED_TEST(MemoryWritersTest, rollbackOfAnEmptyGroupChangesNothing) {
    auto writer = this->make();
    writer.rollback(0, 0.0);
    writer.rollback(0, std::size_t{3});
    EXPECT_EQ(writer.numSteps(0), 0U);
}

TYPED_TEST(MemoryWritersTest, rollbackByCountDropsTheLastSamples) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0, 4.0});
    writer.rollback(0, std::size_t{3});
    EXPECT_THAT(this->times(writer), ElementsAre(1.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersTest, rollbackByZeroChangesNothing) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.rollback(0, std::size_t{0});
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersTest, rollbackByZeroKeepsRowsWithoutTimes) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0});
    writer.times(0).clear();
    writer.rollback(0, std::size_t{0});
    EXPECT_EQ(writer.data(0).size(), 2U);
}

TYPED_TEST(MemoryWritersTest, rollbackByAllSamplesOrMoreEmptiesTheGroup) {
    for (const std::size_t count : {2U, 3U, 1000U}) {
        auto writer = this->make();
        this->writeTimes(writer, {1.0, 2.0});
        writer.rollback(0, count);
        EXPECT_THAT(this->times(writer), IsEmpty());
        EXPECT_TRUE(writer.data(0).empty());
    }
}

TYPED_TEST(MemoryWritersTest, rollbackReleasesTheRows) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    const std::weak_ptr<std::vector<double>> first = writer.data(0)[0];
    const std::weak_ptr<std::vector<double>> last = writer.data(0)[2];
    writer.rollback(0, std::size_t{1});
    EXPECT_FALSE(first.expired());
    EXPECT_TRUE(last.expired());
    writer.rollback(0, std::size_t{2});
    EXPECT_TRUE(first.expired());
}

TYPED_TEST(MemoryWritersTest, directAccessChangesTheGroup) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0});
    writer.times(0).push_back(2.0);
    EXPECT_EQ(writer.numSteps(0), 2U);
    writer.data(0).clear();
    EXPECT_TRUE(writer.data(0).empty());
}

TYPED_TEST(MemoryWritersTest, startsWithEmptyGroups) {
    const LoggedPathsSetupData scalar(paths({{"x", 0}}), channels({{0, 1}}));
    auto writer = this->make(GroupSetup{{Group(0), scalar}, {Group(1), scalar}});
    EXPECT_EQ(writer.numSteps(0), 0U);
    EXPECT_EQ(writer.numSteps(1), 0U);
    EXPECT_TRUE(writer.data(0).empty());
}

TYPED_TEST(MemoryWritersTest, sharesTheSetupOfItsCaller) {
    const GroupSetup setup = mixedWidthSetup();
    auto writer = this->make(setup);
    write(writer, 0, 0.0, {1.0, 2.0, 3.0});
    writer.flush();
    EXPECT_EQ(setup.size(), 1U);
    EXPECT_EQ(memoryStore(writer, "b").values->size(), 2U);
}

TYPED_TEST(MemoryWritersTest, hasNoDataStoreInfo) {
    auto writer = this->make();
    EXPECT_FALSE(writer.dataStoreInfo().has_value());
    writer.flush();
    EXPECT_FALSE(writer.dataStoreInfo().has_value());
}

TYPED_TEST(MemoryWritersTest, destructionThroughTheInterfaceReleasesTheRows) {
    auto writer = std::make_unique<TypeParam>(attributes(), scalarSetup());
    write(*writer, 0, 1.0, {1.0});
    const std::weak_ptr<std::vector<double>> row = writer->data(0)[0];
    std::unique_ptr<StreamWriter> owner = std::move(writer);
    EXPECT_FALSE(row.expired());
    owner.reset();
    EXPECT_TRUE(row.expired());
}

TYPED_TEST(MemoryWritersTest, rollbackByEveryTimeReleasesRowsWithoutTimes) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0, 2.0, 3.0});
    writer.times(0).pop_back();
    writer.rollback(0, std::size_t{2});
    EXPECT_TRUE(writer.data(0).empty());
}

TYPED_TEST(MemoryWritersTest, valuesMayPointIntoTheReplacedRow) {
    auto writer = this->makeRollingBack();
    this->writeTimes(writer, {1.0, 2.0});
    writer.write(0, 2.0, writer.data(0).back()->data(), 1);
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0));
}

TYPED_TEST(MemoryWritersTest, errorForAPathWithoutDataNamesThePath) {
    const auto writer = this->make();
    try {
        writer.dataStore(ValuePath("far"));
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_THAT(error.what(), HasSubstr("the path \"far\""));
    }
}

template <class Writer>
class DecliningWriter : public Writer {
public:
    using Writer::rollback;
    using Writer::Writer;
    void rollback(std::size_t, double) override {}
};

// A host's override of rollback may keep samples. Then only a sample of exactly the same time is
// replaced.
TYPED_TEST(MemoryWritersTest, regressionReplacesOnlyAnEqualTimeIfRollbackDeclines) {
    DecliningWriter<TypeParam> writer(attributes(true), scalarSetup());
    this->writeTimes(writer, {1.0, 2.0, 1.5, 1.5});
    EXPECT_THAT(this->times(writer), ElementsAre(1.0, 2.0, 1.5));
    EXPECT_THAT(this->firstValues(writer), ElementsAre(1.0, 2.0, 4.0));
}

} // namespace
} // namespace logging2::core::test
