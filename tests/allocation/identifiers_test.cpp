#include <tests/allocation/native_subjects.hpp>

#include <optional>

// Identifiers and locations while every allocation fails once.

namespace logging2::core::test {
namespace {

using LocationSweepTest = NativeSweepTest;

TEST(IdentifiersSweepTest, everyFailureOfUniqueIdPropagates) {
    expect_every_failure_propagates(
        "get_unique_id", "the next call makes one", [] { return 0; },
        [](int) { EXPECT_EQ(get_unique_id().text().size(), 36U); },
        [](int, Attempt) { EXPECT_EQ(get_unique_id().text().size(), 36U); });
}

TEST(IdentifiersSweepTest, secondCallOfConstantTextsAllocatesNothing) {
    expect_no_allocation(
        "datastore_run_id, datastore_model_id, times, values, again", [] { return 0; },
        [](int) {
            EXPECT_EQ(datastore_run_id(), "runId");
            EXPECT_EQ(datastore_model_id(), "model");
            EXPECT_EQ(times(), u"times_");
            EXPECT_EQ(values(), u"values_");
        });
}

/// Expects the location in one of its two possible directories.
void expect_location(const StreamLocationCreator& creator, const NativeSweepTest& test,
                     Attempt attempt) {
    const std::filesystem::path unique = native(creator.getUniquePath().text());
    const bool atHost = isBelow(unique, test.directory.path());
    const bool atFallback = isBelow(unique, test.fallback.path());
    EXPECT_TRUE(atHost || (atFallback && attempt.failed)) << unique;
    EXPECT_TRUE(std::filesystem::is_directory(unique.parent_path()));
}

TEST_F(LocationSweepTest, creatorAbsorbsOnlyFailuresOfTheHostDirectory) {
    const SweepCounts counts = for_every_failing_allocation(
        [] { return std::optional<StreamLocationCreator>(); },
        [](std::optional<StreamLocationCreator>& creator) { creator.emplace(); },
        [&](std::optional<StreamLocationCreator>& creator, Attempt attempt) {
            EXPECT_NE(creator.has_value(), attempt.threw);
            if (creator) {
                expect_location(*creator, *this, attempt);
            }
        });
    EXPECT_GT(counts.thrown, 10U);
    EXPECT_GT(counts.absorbed(), 0U);
    print_sweep("StreamLocationCreator: constructor", counts,
                "no creator; absorbed: the host's directory name, the fallback is taken");
}

TEST_F(LocationSweepTest, failedSetUniquePathKeepsThePath) {
    struct Subject {
        StreamLocationCreator creator;
        std::u16string former = creator.getUniquePath().text();
    };
    const SweepCounts counts = for_every_failing_allocation(
        [] { return Subject(); }, [](Subject& subject) { subject.creator.setUniquePath(); },
        [&](Subject& subject, Attempt attempt) {
            EXPECT_EQ(subject.creator.getUniquePath().text() == subject.former, attempt.threw);
            expect_location(subject.creator, *this, attempt);
        });
    print_sweep("StreamLocationCreator: setUniquePath", counts,
                "the previous path stays; absorbed: as above");
}

TEST_F(LocationSweepTest, everyFailureOfTheFallbackDirectoryPropagates) {
    auto former = fl::filesystem::setTempDirectoryName([]() -> std::u16string { throw 1; });
    expect_every_failure_propagates(
        "StreamLocationCreator: tempdir, fallback", "the next call succeeds",
        [] { return StreamLocationCreator(); },
        [](StreamLocationCreator& creator) { EXPECT_FALSE(creator.tempdir().empty()); },
        [&](StreamLocationCreator& creator, Attempt) {
            EXPECT_EQ(native(creator.tempdir().text()),
                      std::filesystem::canonical(fallback.path()));
        });
    fl::filesystem::setTempDirectoryName(std::move(former));
}

TEST_F(LocationSweepTest, everyFailureOfUserNameAndIdentifierPropagates) {
    const std::u16string user = StreamLocationCreator().username().text();
    expect_every_failure_propagates(
        "StreamLocationCreator: username", "never another name",
        [] { return StreamLocationCreator(); },
        [&](const StreamLocationCreator& creator) { EXPECT_EQ(creator.username().text(), user); },
        [](StreamLocationCreator&, Attempt) {});
    expect_every_failure_propagates(
        "StreamLocationCreator: uniqueId", "the next call makes one",
        [] { return StreamLocationCreator(); },
        [](const StreamLocationCreator& creator) { EXPECT_FALSE(creator.uniqueId().empty()); },
        [](StreamLocationCreator& creator, Attempt) { EXPECT_FALSE(creator.uniqueId().empty()); });
}

TEST_F(LocationSweepTest, failedCopyLeavesTheSource) {
    struct Pair {
        StreamLocationCreator from;
        StreamLocationCreator to;
        std::u16string path = from.getUniquePath().text();
    };
    expect_every_failure_propagates(
        "StreamLocationCreator: copy", "the source stays", [] { return Pair(); },
        [](const Pair& pair) { const StreamLocationCreator copy(pair.from); },
        [](const Pair& pair, Attempt) { EXPECT_EQ(pair.from.getUniquePath().text(), pair.path); });
    expect_no_allocation(
        "StreamLocationCreator: moves", [] { return Pair(); },
        [](Pair& pair) {
            StreamLocationCreator moved(std::move(pair.from));
            pair.to = std::move(moved);
        });
}

TEST_F(LocationSweepTest, pathAndDestructorAllocateNothing) {
    using Creator = std::optional<StreamLocationCreator>;
    const auto arrange = [] { return Creator(std::in_place); };
    expect_no_allocation("StreamLocationCreator: getUniquePath", arrange,
                         [](Creator& creator) { EXPECT_FALSE(creator->getUniquePath().empty()); });
    expect_no_allocation("StreamLocationCreator: destructor", arrange,
                         [](Creator& creator) { creator.reset(); });
}

} // namespace
} // namespace logging2::core::test
