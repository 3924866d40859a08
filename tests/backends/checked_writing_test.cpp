#include <tests/backends/checked_backends.hpp>

#include <numeric>

// The rules of checked back-ends for `write` and `rollback`: which calls are refused, and that
// refusals change nothing.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

std::string mistake_of_write(StreamWriter& writer, std::size_t group, const double* values,
                             std::size_t n) {
    return mistake_of([&] { writer.write(group, 1.5, values, n); });
}

TEST_P(CheckedBackendTest, writeRefusesAnUnknownGroup) {
    EXPECT_EQ(mistake_of_write(*checkedWriter(groups_of({0, 1, 2})), 3, row, 1),
              "write: group 3 is not in the setup (the groups are 0, 1 and 2)");
}

TEST_P(CheckedBackendTest, messageNamesTheOnlyGroup) {
    EXPECT_EQ(mistake_of_write(*checkedWriter(), 1, row, 3),
              "write: group 1 is not in the setup (the only group is 0)");
}

TEST_P(CheckedBackendTest, messageSaysThatThereAreNoGroups) {
    EXPECT_EQ(mistake_of_write(*checkedWriter(GroupSetup()), 0, row, 1),
              "write: group 0 is not in the setup (there are no groups)");
}

TEST_P(CheckedBackendTest, messageNamesTheFirstOfManyGroups) {
    std::vector<std::size_t> ids(9);
    std::iota(ids.begin(), ids.end(), std::size_t{0});
    EXPECT_EQ(mistake_of_write(*checkedWriter(groups_of(ids)), 9, row, 1),
              "write: group 9 is not in the setup (the groups are 0, 1, 2, 3, 4, 5, 6, 7 and 8)");
    ids.push_back(9);
    EXPECT_EQ(
        mistake_of_write(*checkedWriter(groups_of(ids)), 10, row, 1),
        "write: group 10 is not in the setup (the groups are 0, 1, 2, 3, 4, 5, 6, 7 and 2 more)");
}

TEST_P(CheckedBackendTest, writeRefusesARowOfAnotherLength) {
    const auto wide = checkedWriter();
    EXPECT_EQ(mistake_of_write(*wide, 0, row, 1),
              "write: a row of group 0 has 3 values, but 1 value was passed");
    EXPECT_EQ(mistake_of_write(*wide, 0, row, 4),
              "write: a row of group 0 has 3 values, but 4 values were passed");
    EXPECT_EQ(mistake_of_write(*wide, 0, nullptr, 0),
              "write: a row of group 0 has 3 values, but 0 values were passed");
    EXPECT_EQ(mistake_of_write(*checkedWriter(scalarSetup()), 0, row, 2),
              "write: a row of group 0 has 1 value, but 2 values were passed");
}

TEST_P(CheckedBackendTest, writeRefusesANullRow) {
    EXPECT_EQ(mistake_of_write(*checkedWriter(), 0, nullptr, 3),
              "write: a row of group 0 has 3 values, but a null pointer was passed");
}

TEST_P(CheckedBackendTest, nullRowIsAllowedForRowsWithoutValues) {
    const auto target = checkedWriter(
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 0}}))}});
    EXPECT_TRUE(target->write(0, 1.5, nullptr, 0));
    target->flush();
    EXPECT_THAT(read(*target, "x"), Pair(ElementsAre(1.5), IsEmpty()));
}

TEST_P(CheckedBackendTest, rollbackRefusesAnUnknownGroup) {
    EXPECT_EQ(mistake_of([] { checkedWriter()->rollback(7, 1.5); }),
              "rollback: group 7 is not in the setup (the only group is 0)");
}

TEST_P(CheckedBackendTest, refusedSamplesChangeNothing) {
    const auto target = checkedWriter();
    target->write(0, 1.0, row, 3);
    for (const std::size_t n : {0U, 2U, 4U}) {
        EXPECT_THROW(target->write(0, 2.0, row, n), std::logic_error);
    }
    EXPECT_THROW(target->write(0, 2.0, nullptr, 3), std::logic_error);
    EXPECT_THROW(target->write(1, 2.0, row, 3), std::logic_error);
    EXPECT_THROW(target->rollback(1, 0.0), std::logic_error);
    EXPECT_TRUE(target->write(0, 3.0, row + 1, 3));
    target->flush();
    const auto first = reader(checkedName(), target->dataStore(ValuePath("a")));
    const auto second = reader(checkedName(), target->dataStore(ValuePath("b")));
    EXPECT_THAT(first->timeseries(), Pair(ElementsAre(1.0, 3.0), ElementsAre(1.0, 2.0)));
    EXPECT_THAT(second->timeseries(), Pair(ElementsAre(1.0, 3.0), ElementsAre(2.0, 3.0, 3.0, 4.0)));
}

Series series_after_a_run(const std::string& name, StreamWriter& target) {
    for (const double time : {1.0, 2.0, 3.0, 4.0}) {
        EXPECT_TRUE(target.write(0, time, row + (time > 2.0 ? 1 : 0), 3));
        target.flushIntermediate();
        target.rollback(0, 2.5);
    }
    EXPECT_FALSE(target.dataStoreInfo().has_value());
    target.flush();
    target.close();
    return (*get_stream_reader(name, target.dataStore(ValuePath("b"))))->timeseries();
}

TEST_P(CheckedBackendTest, correctUseGivesTheInnerBackendsResult) {
    std::vector<std::size_t> warningCounts;
    std::vector<Series> results;
    for (const std::string& name : {GetParam(), checkedName()}) {
        const WarningRecorder recorder;
        results.push_back(series_after_a_run(name, *writer(name)));
        warningCounts.push_back(recorder.warnings.size());
    }
    EXPECT_THAT(results[0].first, SizeIs(GetParam() == "native" ? 4 : 2));
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(warningCounts[0], warningCounts[1]);
}

TEST_F(CheckedBackendsTest, fileGroupIdsMayBeAnyNumbers) {
    const auto target = writer("checked:native", groups_of({1000000, 7, 1}));
    for (const std::size_t group : {1U, 7U, 1000000U}) {
        EXPECT_TRUE(target->write(group, 1.0, row, 1));
    }
    for (const std::size_t group : {0U, 2U, 8U, 1000001U}) {
        EXPECT_EQ(mistake_of_write(*target, group, row, 1),
                  "write: group " + std::to_string(group) +
                      " is not in the setup (the groups are 1, 7 and 1000000)");
    }
    target->flush();
}

TEST_F(CheckedBackendsTest, unsupportedRollbackOnlyWarnsByDefault) {
    const auto target = writer("checked:native");
    const WarningRecorder recorder;
    target->rollback(0, 1.5);
    ASSERT_THAT(recorder.warnings, SizeIs(1));
    EXPECT_EQ(recorder.warnings.front().key(), "RollbackNotSupported");
    target->flush();
}

TEST_F(CheckedBackendsTest, unsupportedRollbackIsRefusedOnRequest) {
    CheckedOptions options;
    options.refuseUnsupportedRollback = true;
    registerWithChecks(double_backend(std::make_shared<Script>()), options);
    EXPECT_EQ(mistake_of([] { writer("checked:double")->rollback(0, 0.1); }),
              "rollback: the back-end \"double\" cannot discard samples, but group 0 was to go "
              "back to time 0.1");
}

TEST_F(CheckedBackendsTest, supportedRollbackIsNotRefused) {
    CheckedOptions options;
    options.refuseUnsupportedRollback = true;
    unregister();
    registerWithChecks(builtin_backends().front(), options);
    const auto target = writer("checked:memory", scalarSetup());
    target->write(0, 1.0, row, 1);
    target->write(0, 2.0, row, 1);
    target->rollback(0, 1.0);
    target->flush();
    EXPECT_THAT(*memoryStore(*target, "x").times, ElementsAre(1.0));
}

TEST_F(CheckedBackendsTest, exceptionOfTheInnerWriterPropagates) {
    const auto script = std::make_shared<Script>();
    registerWithChecks(double_backend(script));
    const auto target = writer("checked:double");
    script->onWrite = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->write(0, 1.0, row, 3), std::bad_alloc);
    script->onWrite = [] {};
    EXPECT_TRUE(target->write(0, 1.0, row, 3));
    target->flush();
}

} // namespace
} // namespace logging2::core::test
