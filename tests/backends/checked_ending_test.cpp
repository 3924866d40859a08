#include <tests/backends/checked_backends.hpp>

// The rules of a checked back-end for flush, close and the calls after them.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

class CheckedEndingTest : public CheckedBackendsTest {
protected:
    CheckedEndingTest() { registerWithChecks(double_backend(script)); }

    const std::shared_ptr<Script> script = std::make_shared<Script>();
};

constexpr const char* flushedBefore = "flush: the stream was flushed before, by flush or by close";

std::string mistake_of_store(const StreamWriter& writer, const char* path) {
    return mistake_of([&] { writer.dataStore(ValuePath(path)); });
}

/// Expects a refusal of all three calls that add or discard samples.
void expect_ended(StreamWriter& writer) {
    EXPECT_EQ(mistake_of([&] { writer.write(0, 0.1, row, 3); }),
              "write: a sample of group 0 at time 0.1 was passed after flush or close");
    EXPECT_EQ(mistake_of([&] { writer.rollback(0, 2.5); }),
              "rollback: group 0 was to go back to time 2.5 after flush or close");
    EXPECT_EQ(mistake_of([&] { writer.flushIntermediate(); }),
              "flushIntermediate: the stream was flushed or closed before");
}

TEST_P(CheckedBackendTest, unknownPathIsRefused) {
    const auto target = checkedWriter();
    const std::string text =
        "dataStore: the path \"c\" is not in the setup (the paths are \"a\" and \"b\")";
    EXPECT_EQ(mistake_of_store(*target, "c"), text);
    target->flush();
    EXPECT_EQ(mistake_of_store(*target, "c"), text);
}

TEST_P(CheckedBackendTest, storesAreRefusedBeforeTheFlush) {
    const auto target = checkedWriter();
    const std::string text = "dataStore: the path \"a\" was asked for before flush";
    EXPECT_EQ(mistake_of_store(*target, "a"), text);
    target->write(0, 1.0, row, 3);
    target->flushIntermediate();
    EXPECT_EQ(mistake_of_store(*target, "a"), text);
    target->flush();
    EXPECT_THAT(read(*target, "a"), Pair(ElementsAre(1.0), ElementsAre(1.0)));
}

TEST_P(CheckedBackendTest, secondFlushIsRefused) {
    const auto target = checkedWriter();
    target->flush();
    EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
}

TEST_P(CheckedBackendTest, changesAreRefusedAfterTheFlush) {
    const auto target = checkedWriter();
    target->write(0, 1.0, row, 3);
    target->flush();
    expect_ended(*target);
    EXPECT_THAT(read(*target, "a"), Pair(ElementsAre(1.0), ElementsAre(1.0)));
}

TEST_P(CheckedBackendTest, changesAreRefusedAfterClose) {
    const auto target = checkedWriter();
    target->close();
    expect_ended(*target);
    target->close();
}

TEST_P(CheckedBackendTest, closeAfterTheFlushIsAllowed) {
    const auto target = checkedWriter();
    target->flush();
    EXPECT_EQ(mistake_of([&] { target->close(); }), noError);
    EXPECT_EQ(mistake_of_store(*target, "a"), noError);
    EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
}

TEST_F(CheckedBackendsTest, closeFlushesMemoryWriters) {
    for (const std::string name : {"checked:memory", "checked:memory-restricted"}) {
        const auto target = writer(name);
        target->write(0, 1.0, row, 3);
        target->close();
        EXPECT_THAT(*memoryStore(*target, "a").times, ElementsAre(1.0));
        EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
    }
}

TEST_F(CheckedBackendsTest, closeFlushesMemoryWritersThatAreCheckedTwice) {
    keep(register_checked_backend(context(), "checked:memory"));
    const auto target = writer("checked:checked:memory");
    target->write(0, 1.0, row, 3);
    target->close();
    EXPECT_THAT(*memoryStore(*target, "a").times, ElementsAre(1.0));
    EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
}

TEST_F(CheckedBackendsTest, closeDoesNotFlushFileWriters) {
    const auto target = writer("checked:native");
    target->write(0, 1.0, row, 3);
    target->close();
    EXPECT_EQ(mistake_of_store(*target, "a"),
              "dataStore: the path \"a\" was asked for before flush");
    target->flush();
    const auto series = reader("native", target->dataStore(ValuePath("a")))->timeseries();
    EXPECT_THAT(series, Pair(ElementsAre(1.0), ElementsAre(1.0)));
}

TEST_F(CheckedEndingTest, callsAreForwardedOnce) {
    const auto target = writer("checked:double");
    EXPECT_EQ(target->dataStoreInfo()->words, (std::array<std::uintptr_t, 3>{1, 2, 3}));
    target->flushIntermediate();
    target->close();
    target->flush();
    target->close();
    EXPECT_EQ(script->flushIntermediateCount, 1);
    EXPECT_EQ(script->flushCount, 1);
    EXPECT_EQ(script->closeCount, 2);
    EXPECT_EQ(boost::any_cast<std::string>(target->dataStore(ValuePath("a"))), "a store");
}

TEST_F(CheckedEndingTest, refusedCallsAreNotForwarded) {
    const auto target = writer("checked:double");
    target->flush();
    expect_ended(*target);
    EXPECT_THROW(target->flush(), std::logic_error);
    EXPECT_EQ(script->writeCount, 0);
    EXPECT_EQ(script->flushIntermediateCount, 0);
    EXPECT_EQ(script->flushCount, 1);
}

TEST_F(CheckedEndingTest, failedFlushCountsAsAFlush) {
    const auto target = writer("checked:double");
    script->onFlush = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->flush(), std::bad_alloc);
    EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
    EXPECT_THROW(target->write(0, 1.0, row, 3), std::logic_error);
    EXPECT_THROW(target->rollback(0, 1.0), std::logic_error);
}

TEST_F(CheckedEndingTest, failedCloseCountsAsAFlushIfItFlushes) {
    CheckedOptions options;
    options.closeFlushes = true;
    unregister();
    registerWithChecks(double_backend(script), options);
    const auto target = writer("checked:double");
    script->onClose = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->close(), std::bad_alloc);
    EXPECT_EQ(mistake_of([&] { target->flush(); }), flushedBefore);
    EXPECT_EQ(mistake_of([&] { target->flushIntermediate(); }), noError);
}

TEST_F(CheckedEndingTest, failedCloseStillEndsWriting) {
    const auto target = writer("checked:double");
    script->onClose = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->close(), std::bad_alloc);
    expect_ended(*target);
    target->flush();
    EXPECT_EQ(script->flushCount, 1);
}

TEST_F(CheckedEndingTest, storesAreAvailableAfterAFailedFlush) {
    const auto target = writer("checked:double");
    script->onFlush = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->flush(), std::bad_alloc);
    EXPECT_EQ(mistake_of([&] { target->flushIntermediate(); }), noError);
    EXPECT_EQ(mistake_of_store(*target, "a"), noError);
    EXPECT_EQ(mistake_of([&] { target->close(); }), noError);
}

} // namespace
} // namespace logging2::core::test
