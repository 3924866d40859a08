#include <tests/native/native_writers.hpp>
#include <tests/support/WarningRecorder.hpp>

#include <stdexcept>

// What a writer derives from its setup before anything is written.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class NativeStreamWriterSetupTest : public NativeStreamWriterTest {
protected:
    static NativeStreamWriter make(const GroupSetup& setup) {
        return NativeStreamWriter(StreamingAttributes{}, setup);
    }
};

TEST_F(NativeStreamWriterSetupTest, storesNameTheFilesOfGroupAndChannel) {
    const auto writer = make(GroupSetup{
        {Group(12), LoggedPathsSetupData(paths({{"a", 7}, {"b", 9}}), channels({{7, 1}, {9, 3}}))},
        {Group(3), LoggedPathsSetupData(paths({{"c", 1}}), channels({{1, 1}}))}});
    EXPECT_THAT(timesFile(writer, "a").string(), EndsWith("_times_12"));
    EXPECT_THAT(valuesFile(writer, "a").string(), EndsWith("_values_12_7"));
    EXPECT_THAT(valuesFile(writer, "b").string(), EndsWith("_values_12_9"));
    EXPECT_THAT(timesFile(writer, "c").string(), EndsWith("_times_3"));
    EXPECT_EQ(timesFile(writer, "a").parent_path(), valuesFile(writer, "c").parent_path());
    const std::string stem = timesFile(writer, "a").string();
    EXPECT_EQ(stem.substr(0, stem.size() - 9) + "_values_3_1", valuesFile(writer, "c").string());
}

TEST_F(NativeStreamWriterSetupTest, constructionCreatesTheUserDirectoryAndNoFile) {
    const auto writer = make(scalarSetup());
    EXPECT_TRUE(std::filesystem::is_directory(timesFile(writer, "x").parent_path()));
    EXPECT_THAT(fileNames(), IsEmpty());
}

TEST_F(NativeStreamWriterSetupTest, aliasesShareBothFiles) {
    const auto writer = make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"a", 7}, {"b", 7}}), channels({{7, 1}}))}});
    EXPECT_EQ(valuesFile(writer, "a"), valuesFile(writer, "b"));
    EXPECT_EQ(timesFile(writer, "a"), timesFile(writer, "b"));
}

TEST_F(NativeStreamWriterSetupTest, pathOfTwoGroupsBelongsToTheFirstGroup) {
    const auto writer =
        make(GroupSetup{{Group(5), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 1}}))},
                        {Group(2), LoggedPathsSetupData(paths({{"x", 8}}), channels({{8, 1}}))}});
    EXPECT_THAT(valuesFile(writer, "x").string(), EndsWith("_values_5_1"));
    EXPECT_THAT(timesFile(writer, "x").string(), EndsWith("_times_5"));
}

TEST_F(NativeStreamWriterSetupTest, unknownPathThrowsOutOfRangeThatNamesIt) {
    const auto writer = make(scalarSetup());
    try {
        writer.dataStore(ValuePath("y"));
        FAIL() << "nothing was thrown";
    } catch (const std::out_of_range& error) {
        EXPECT_THAT(error.what(), HasSubstr("the path \"y\""));
    }
}

TEST_F(NativeStreamWriterSetupTest, storesOfOnePathShareTheirRecord) {
    const auto writer = make(scalarSetup());
    const boost::any first = writer.dataStore(ValuePath("x"));
    const boost::any second = writer.dataStore(ValuePath("x"));
    EXPECT_EQ(&boost::any_cast<const NativeDatastore&>(first).timesLocation(),
              &boost::any_cast<const NativeDatastore&>(second).timesLocation());
}

TEST_F(NativeStreamWriterSetupTest, twoWritersNeverShareFiles) {
    const auto first = make(scalarSetup());
    const auto second = make(scalarSetup());
    EXPECT_NE(timesFile(first, "x"), timesFile(second, "x"));
}

TEST_F(NativeStreamWriterSetupTest, numberOfPathsSetsTheBufferSize) {
    const auto writer = make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"a", 1}}), channels({{1, 50}, {2, 1}}))},
        {Group(200), LoggedPathsSetupData(paths({{"b", 3}, {"c", 3}}), channels({{3, 1}}))},
        {Group(std::size_t{1} << 32U), LoggedPathsSetupData({}, channels({{4, 1}}))}});
    EXPECT_EQ(writer.getBufferSize(0), 4194304U);
    EXPECT_EQ(writer.getBufferSize(200), 2796202U);
    EXPECT_EQ(writer.getBufferSize(std::size_t{1} << 32U), 8388608U);
    EXPECT_EQ(writer.numChannels(0), 2U);
    EXPECT_EQ(writer.numChannels(200), 3U);
    EXPECT_EQ(writer.numChannels(std::size_t{1} << 32U), 1U);
    EXPECT_THROW(writer.getBufferSize(1), std::out_of_range);
    EXPECT_THROW(writer.numChannels(1), std::out_of_range);
}

TEST_F(NativeStreamWriterSetupTest, hasNoDataStoreInfo) {
    EXPECT_FALSE(make(scalarSetup()).dataStoreInfo().has_value());
}

TEST_F(NativeStreamWriterSetupTest, nonAsciiTemporaryDirectoryCorruptsOnlyTheTimesLocation) {
    const SystemTempDirectory umlaut("-\xc3\xbc");
    auto writer = make(scalarSetup());
    writeTimes(writer, 0, {1.0});
    writer.flush();
    EXPECT_EQ(valuesIn(writer, "x"), std::vector<double>{10.0});
    EXPECT_FALSE(std::filesystem::exists(timesFile(writer, "x")));
    const std::u16string location = store(writer, "x").timesLocation();
    EXPECT_NE(location.find(std::u16string{0xffc3, 0xffbc}), std::u16string::npos);
    const std::string values = valuesFile(writer, "x").string();
    EXPECT_EQ(doublesOf(values.substr(0, values.find("_values")) + "_times_0"),
              std::vector<double>{1.0});
}

TEST_F(NativeStreamWriterSetupTest, rollbackOnlyWarns) {
    StreamingAttributes attributes;
    attributes.name = BasicTableString<char>("run \xc3\xbc");
    attributes.rollbackOnTimeRegression = true;
    NativeStreamWriter writer(attributes, scalarSetup());
    writeTimes(writer, 0, {1.0, 2.0});
    WarningRecorder recorder;
    writer.rollback(0, 1.0);
    ASSERT_EQ(recorder.warnings.size(), 1U);
    EXPECT_EQ(recorder.warnings[0].catalog(), "vantrel:common:logging2:core:common");
    EXPECT_EQ(recorder.warnings[0].key(), "RollbackNotSupported");
    EXPECT_THAT(recorder.warnings[0].arguments(),
                ElementsAre(std::u16string(u"run ") + char16_t{0xffc3} + char16_t{0xffbc}));
    writer.rollback(77, 0.0);
    EXPECT_EQ(recorder.warnings.size(), 2U);
    writeTimes(writer, 0, {1.0});
    EXPECT_EQ(recorder.warnings.size(), 2U) << "a time regression causes no rollback here";
    writer.flush();
    EXPECT_THAT(timesIn(writer, "x"), ElementsAre(1.0, 2.0, 1.0));
    EXPECT_THAT(valuesIn(writer, "x"), ElementsAre(10.0, 20.0, 10.0));
}

TEST_F(NativeStreamWriterSetupTest, exceptionOfTheWarningHandlerPropagates) {
    auto writer = make(scalarSetup());
    const auto former = foundation::setWarningHandler(
        [](const foundation::Message&) { throw std::domain_error("strict host"); });
    EXPECT_THROW(writer.rollback(0, 0.0), std::domain_error);
    foundation::setWarningHandler(former);
}

TEST_F(NativeStreamWriterSetupTest, everyPathStartsWithAColumnBesidesTheTimes) {
    auto writer = make(GroupSetup{
        {Group(0), LoggedPathsSetupData(paths({{"a", 1}, {"b", 1}, {"c", 1}}), channels({{1, 1}}))},
        {Group(1), LoggedPathsSetupData({}, channels({{2, 1}, {3, 1}}))}});
    EXPECT_EQ(Access::columns(writer, 0).size(), 4U);
    EXPECT_EQ(Access::columns(writer, 1).size(), 1U);
}

} // namespace
} // namespace logging2::core::test
