#include <tests/memory/memory_writers.hpp>

#include <memory>
#include <stdexcept>

// What moves of the writers leave behind and take along.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class Writer>
class MemoryWritersMovesTest : public MemoryWritersTest<Writer> {};
TYPED_TEST_SUITE(MemoryWritersMovesTest, MemoryWriters, WriterNames);

TYPED_TEST(MemoryWritersMovesTest, moveConstructionLeavesTheStoresInTheSource) {
    auto source = this->make();
    this->writeTimes(source, {1.0});
    source.flush();
    TypeParam target(std::move(source));
    EXPECT_THROW(target.dataStore(ValuePath("x")), std::out_of_range);
    // NOLINTNEXTLINE(bugprone-use-after-move)
    EXPECT_THAT(*memoryStore(source, "x").values, ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersMovesTest, moveConstructionBeforeTheFlushMovesEverything) {
    auto source = this->make(scalarSetup(), true);
    this->writeTimes(source, {1.0, 2.0});
    TypeParam target(std::move(source));
    this->writeTimes(target, {2.0});
    EXPECT_EQ(target.numSteps(0), 2U);
    target.flush();
    EXPECT_THAT(*memoryStore(target, "x").times, ElementsAre(1.0, 2.0));
    EXPECT_THAT(*memoryStore(target, "x").values, ElementsAre(1.0, 1.0));
}

TYPED_TEST(MemoryWritersMovesTest, movesKeepWhetherTheWriterWasFlushed) {
    FlushCountingWriter<TypeParam> source(attributes(), scalarSetup());
    source.flush();
    FlushCountingWriter<TypeParam> target(std::move(source));
    target.flushes = 0;
    target.close();
    EXPECT_EQ(target.flushes, 0);
    FlushCountingWriter<TypeParam> assigned(attributes(), scalarSetup());
    assigned = std::move(target);
    assigned.flushes = 0;
    assigned.close();
    EXPECT_EQ(assigned.flushes, 0);
}

TYPED_TEST(MemoryWritersMovesTest, moveAssignmentLeavesTheStoresOfBothWriters) {
    auto source = this->make();
    this->writeTimes(source, {1.0});
    source.flush();
    this->writeTimes(source, {5.0, 6.0});
    auto target = this->make(
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"y", 0}}), channels({{0, 1}}))}});
    write(target, 0, 7.0, {70.0});
    target.flush();
    target = std::move(source);
    EXPECT_THAT(*memoryStore(target, "y").values, ElementsAre(70.0));
    EXPECT_THROW(target.dataStore(ValuePath("x")), std::out_of_range);
    EXPECT_EQ(this->times(target).back(), 6.0);
    EXPECT_EQ(target.data(0).size(), 2U);
    // NOLINTNEXTLINE(bugprone-use-after-move)
    EXPECT_THAT(*memoryStore(source, "x").values, ElementsAre(1.0));
}

TYPED_TEST(MemoryWritersMovesTest, moveAssignmentCanMoveMoreGroupsThanTheTargetHad) {
    auto source = this->make(
        GroupSetup{{Group(0), LoggedPathsSetupData(paths({{"y", 0}}), channels({{0, 1}}))},
                   {Group(1), LoggedPathsSetupData(paths({{"z", 1}}), channels({{1, 1}}))}});
    write(source, 1, 1.0, {10.0});
    auto target = this->make();
    target = std::move(source);
    write(target, 1, 2.0, {20.0});
    target.flush();
    EXPECT_THAT(*memoryStore(target, "z").values, ElementsAre(10.0, 20.0));
}

TYPED_TEST(MemoryWritersMovesTest, assignmentMovesTheAttributes) {
    TypeParam source(attributes(true), scalarSetup());
    auto target = this->make();
    target = std::move(source);
    this->writeTimes(target, {1.0, 1.0});
    EXPECT_EQ(target.numSteps(0), 1U);
}

TYPED_TEST(MemoryWritersMovesTest, movedFromWriterFlushesNothing) {
    auto source = this->make();
    this->writeTimes(source, {1.0});
    TypeParam target(std::move(source));
    source.flush(); // NOLINT(bugprone-use-after-move)
    auto assigned = this->make();
    assigned = std::move(target);
    target.flush(); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(assigned.numSteps(0), 1U);
}

TYPED_TEST(MemoryWritersMovesTest, assignmentMovesTheTimesInPlace) {
    auto source = this->make();
    this->writeTimes(source, {1.0});
    const double* const time = &source.times(0)[0];
    auto target = this->make();
    target = std::move(source);
    EXPECT_EQ(&target.times(0)[0], time);
}

TYPED_TEST(MemoryWritersMovesTest, assignmentToItselfChangesNothing) {
    auto writer = this->make();
    this->writeTimes(writer, {1.0});
    TypeParam& same = writer;
    writer = std::move(same);
    EXPECT_EQ(writer.numSteps(0), 1U);
}

} // namespace
} // namespace logging2::core::test
