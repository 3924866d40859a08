#include <tests/backends/recording/fixed_run.hpp>
#include <tests/backends/recording/recordings.hpp>

#include <tests/support/AllocationCounter.hpp>

#include <sqlite3.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

// Each allocation of a run fails once, on the host's thread, on the storing thread, and inside
// SQLite. Nothing is lost, and nothing is left of a recording that could not be made.

namespace logging2::core::test {
namespace {

/// SQLite's own memory. Its functions are those that it would use anyway.
class SqliteMemory {
public:
    /// Once per process, before SQLite is used.
    static void replace() {
        sqlite3_config(SQLITE_CONFIG_GETMALLOC, &former);
        sqlite3_mem_methods methods = former;
        methods.xMalloc = [](int byteCount) -> void* {
            return isToFail() ? nullptr : former.xMalloc(byteCount);
        };
        methods.xRealloc = [](void* memory, int byteCount) -> void* {
            return isToFail() ? nullptr : former.xRealloc(memory, byteCount);
        };
        sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
    }

    /// Makes the allocation behind so many others fail.
    explicit SqliteMemory(std::size_t before) { left = static_cast<std::ptrdiff_t>(before) + 1; }
    ~SqliteMemory() { left = 0; }
    SqliteMemory(const SqliteMemory&) = delete;
    SqliteMemory& operator=(const SqliteMemory&) = delete;

    /// Whether that allocation was requested.
    static bool happened() { return left <= 0; }

private:
    static bool isToFail() { return --left == 0; }

    static inline sqlite3_mem_methods former{};
    static inline std::atomic<std::ptrdiff_t> left{0};
};

class RecordingSweepTest : public RecordingTest {
protected:
    RecordingSweepTest() { use_small_buffers(options); }

    static void SetUpTestSuite() { SqliteMemory::replace(); }

    /// Runs with a failure of that kind until none happens any more.
    template <class Failure>
    void sweep(const char* what, std::size_t stride = 1) {
        live();
        expectAllOrNothing(false);
        std::size_t count = 0;
        for (bool hasFailed = true; hasFailed && !HasFailure(); count += stride) {
            SCOPED_TRACE("failing allocation " + std::to_string(count));
            const std::size_t formerRefusedCount = refusedCount;
            const std::size_t formerCount = live_allocation_count();
            {
                const Failure failure(count);
                live();
                hasFailed = failure.happened();
            }
            EXPECT_EQ(live_allocation_count(), formerCount) << "memory leaked";
            expectAllOrNothing(refusedCount > formerRefusedCount);
        }
        EXPECT_GT(count, 10U);
        std::cout << "allocation sweep | recording: " << what << " | " << (count - 1) / stride
                  << " | " << refusedCount << " without a writer, " << errorCount
                  << " errors of calls\n";
    }

    void live() {
        const auto writer = madeWriter();
        if (!writer) {
            return;
        }
        const auto untilItWorks = [this](const auto& call) { insist(call); };
        live_fixed_run(*writer, untilItWorks, [this](const auto& call) { tryOnce(call); });
        insist([&] { open(*writer)->series(ValuePath("y")); });
    }

    /// The run is complete, or nothing is left of it.
    void expectAllOrNothing(bool wasRefused) {
        const std::vector<std::string> names = directory.names();
        ASSERT_EQ(names.size(), wasRefused ? 0U : 1U);
        for (const std::string& name : names) {
            const std::filesystem::path recording = directory.path() / name;
            expect_fixed_run(*open_recording(recording.string()));
            std::filesystem::remove_all(recording);
        }
    }

    std::unique_ptr<RecordingStreamWriter> madeWriter() {
        std::unique_ptr<RecordingStreamWriter> writer;
        if (!tryOnce([&] { writer = makeWriter(twoGroups()); })) {
            ++refusedCount;
        }
        return writer;
    }

    template <class Function>
    bool tryOnce(const Function& call) {
        try {
            call();
            return true;
        } catch (const std::bad_alloc&) {
            ++errorCount;
        } catch (const RecordingError&) {
            ++errorCount;
        }
        return false;
    }

    template <class Function>
    void insist(const Function& call) {
        while (!tryOnce(call)) {
        }
    }

    std::size_t refusedCount = 0;
    std::size_t errorCount = 0;
};

TEST_F(RecordingSweepTest, hostWithoutMemoryLosesNothing) {
    sweep<AllocationFailure>("host's thread");
}

TEST_F(RecordingSweepTest, storingThreadWithoutMemoryLosesNothing) {
    sweep<AllocationFailureElsewhere>("storing thread");
}

TEST_F(RecordingSweepTest, sqliteWithoutMemoryLosesNothing) {
    // There are thousands of them.
    sweep<SqliteMemory>("SQLite", 7);
}

} // namespace
} // namespace logging2::core::test
