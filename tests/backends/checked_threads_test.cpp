#include <tests/backends/checked_backends.hpp>

#include <future>
#include <thread>

// A checked writer detects a second thread, and reports nothing else as one.

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;

class CheckedThreadsTest : public CheckedBackendsTest {
protected:
    CheckedThreadsTest() {
        registerWithChecks(double_backend(script));
        target = writer("checked:double");
    }

    /// Makes the call while another thread is inside `write` of the inner writer. May be used once
    /// per test.
    template <class Function>
    void whileAnotherThreadWrites(Function call) {
        script->onWrite = [this] {
            entered.set_value();
            leave.get_future().wait();
        };
        std::thread other([&] { EXPECT_TRUE(target->write(0, 1.0, row, 3)); });
        entered.get_future().wait();
        call();
        leave.set_value();
        other.join();
        script->onWrite = [] {};
    }

    const std::shared_ptr<Script> script = std::make_shared<Script>();
    std::unique_ptr<StreamWriter> target;
    std::promise<void> entered;
    std::promise<void> leave;
};

TEST_F(CheckedThreadsTest, everyCallIsRefusedDuringACallOfAnotherThread) {
    const std::vector<std::pair<std::string, std::function<void()>>> calls{
        {"write", [&] { target->write(0, 2.0, row, 3); }},
        {"rollback", [&] { target->rollback(0, 1.0); }},
        {"dataStore", [&] { target->dataStore(ValuePath("a")); }},
        {"dataStoreInfo", [&] { target->dataStoreInfo(); }},
        {"flush", [&] { target->flush(); }},
        {"flushIntermediate", [&] { target->flushIntermediate(); }},
        {"close", [&] { target->close(); }}};
    whileAnotherThreadWrites([&] {
        for (const auto& [name, call] : calls) {
            EXPECT_EQ(mistake_of(call),
                      name +
                          ": another thread is inside a call of this writer, but only one thread "
                          "at a time may use it");
        }
    });
    EXPECT_EQ(script->writeCount, 1);
    EXPECT_EQ(script->flushCount + script->flushIntermediateCount + script->closeCount, 0);
    target->flush();
}

TEST_F(CheckedThreadsTest, writerStaysUsableAfterARefusedCall) {
    whileAnotherThreadWrites([&] { EXPECT_THROW(target->flush(), std::logic_error); });
    EXPECT_TRUE(target->write(0, 2.0, row, 3));
    target->flush();
    EXPECT_EQ(script->writeCount, 2);
    EXPECT_EQ(script->flushCount, 1);
}

TEST_F(CheckedThreadsTest, writerMayMoveBetweenThreads) {
    const auto moving = writer("checked:memory");
    for (const double time : {1.0, 2.0}) {
        std::thread([&] { EXPECT_TRUE(moving->write(0, time, row, 3)); }).join();
    }
    moving->write(0, 3.0, row, 3);
    std::thread([&] { moving->flush(); }).join();
    EXPECT_THAT(*memoryStore(*moving, "a").times, ElementsAre(1.0, 2.0, 3.0));
    target->flush();
}

TEST_F(CheckedThreadsTest, failedCallEndsTheThreadsUse) {
    script->onWrite = [] { throw std::bad_alloc(); };
    EXPECT_THROW(target->write(0, 1.0, row, 3), std::bad_alloc);
    EXPECT_THROW(target->write(0, 1.0, row, 2), std::logic_error);
    std::thread([&] { EXPECT_EQ(mistake_of([&] { target->flush(); }), "no error"); }).join();
}

TEST_F(CheckedThreadsTest, nestedCallOfTheSameThreadIsAllowed) {
    script->onWrite = [&] { EXPECT_EQ(mistake_of([&] { target->dataStoreInfo(); }), "no error"); };
    EXPECT_TRUE(target->write(0, 1.0, row, 3));
    target->flush();
}

TEST_F(CheckedThreadsTest, nestedCallDoesNotEndTheOuterCall) {
    script->onWrite = [&] {
        target->dataStoreInfo();
        std::thread([&] { EXPECT_THROW(target->flush(), std::logic_error); }).join();
    };
    EXPECT_TRUE(target->write(0, 1.0, row, 3));
    target->flush();
}

} // namespace
} // namespace logging2::core::test
