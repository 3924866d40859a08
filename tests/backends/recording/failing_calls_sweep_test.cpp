#include <tests/backends/recording/fixed_run.hpp>
#include <tests/backends/recording/recordings.hpp>

#include <tests/support/FailingCalls.hpp>
#include <tests/support/descriptors.hpp>

#include <cerrno>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

// Each system call of a run fails once, or from some moment on until the host has seen several
// errors. Nothing is lost, and nothing is left of a recording that could not be made.

namespace logging2::core::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

struct Kind {
    Call call;
    int error;
};

constexpr Kind kinds[] = {
    {Call::open, EMFILE},       {Call::close, EIO},      {Call::read, EIO},
    {Call::write, ENOSPC},      {Call::write, EIO},      {Call::stat, EACCES},
    {Call::makeDirectory, EIO}, {Call::changeMode, EIO}, {Call::remove, EIO},
    {Call::synchronize, EIO},   {Call::lock, ENOLCK},    {Call::truncate, EIO},
    {Call::map, ENOMEM},        {Call::statOpen, EIO},   {Call::lockRange, ENOLCK},
    {Call::lockRange, EAGAIN},  {Call::reserve, ENOSPC}, {Call::reserve, EOPNOTSUPP}};

constexpr const char* files[] = {"/samples.bin",
                                 "/index.sqlite",
                                 "/index.sqlite-wal",
                                 "/index.sqlite-shm",
                                 ".recording",
                                 "/index.sqlite-journal",
                                 "/runs"};

/// One in so many calls is made to fail.
#ifdef LOGGING2_SANITIZED
constexpr std::size_t callsPerFailure = 5;
#else
constexpr std::size_t callsPerFailure = 1;
#endif

/// What came of the runs in which one kind of call fails on one file.
struct Counts {
    std::size_t runs = 0;
    std::size_t refused = 0; ///< no writer could be made
    std::size_t errors = 0;  ///< that calls threw
};

class FailingCallsSweepTest : public RecordingTest,
                              public ::testing::WithParamInterface<Durability> {
protected:
    FailingCallsSweepTest() {
        options.directory = (directory.path() / "runs").string();
        options.durability = GetParam();
        use_small_buffers(options);
    }

    void sweep() {
        { makeWriter(twoGroups())->flush(); }
        for (const Kind& kind : kinds) {
            for (const char* file : files) {
                if (!takesTooLong(kind, file)) {
                    sweep(kind, file, true);
                    sweep(kind, file, false);
                }
            }
        }
    }

    void sweep(const Kind& kind, const char* file, bool once) {
        counts = {};
        std::size_t first = 0;
        const std::size_t formerCount = descriptor_count();
        for (bool hasFailed = true; hasFailed && !HasFailure(); first += callsPerFailure) {
            SCOPED_TRACE(::testing::Message()
                         << kind.call << " " << file << ", number " << first << ", error "
                         << kind.error << (once ? ", once" : ", from then on"));
            std::filesystem::remove_all(options.directory);
            hasFailed = runWithFailure(kind, file, first, once);
            EXPECT_EQ(descriptor_count(), formerCount);
        }
        if (first > callsPerFailure) {
            std::cout << kind.call << ' ' << file << (once ? ", once: " : ", from then on: ")
                      << counts.runs << " runs, " << counts.refused << " without a writer, "
                      << counts.errors << " errors\n";
        }
    }

    /// The calls from this one on fail, or it alone. Returns whether there was such a call.
    bool runWithFailure(const Kind& kind, const char* file, std::size_t first, bool once) {
        std::vector<Outcome> outcomes(first, works());
        outcomes.resize(first + (once ? 1 : 100000), fails(kind.error));
        calls = std::make_unique<FailingCalls>(kind.call, file, outcomes);
        failureCount = 0;
        live();
        return endFault() > first;
    }

    std::size_t endFault() {
        if (calls) {
            callCount = calls->count();
            calls.reset();
        }
        return callCount;
    }

    void live() {
        ++counts.runs;
        std::unique_ptr<RecordingStreamWriter> writer;
        try {
            writer = makeWriter(twoGroups());
        } catch (const RecordingError& error) {
            ++counts.refused;
            endFault();
            expectNothingLeft(error);
            return;
        }
        const auto untilItWorks = [&](const auto& call) { insist(*writer, call); };
        if (goesOn) {
            live_fixed_run(*writer, untilItWorks, [&](const auto& call) { tryOnce(call); });
        } else {
            live_fixed_run(*writer, untilItWorks, untilItWorks);
        }
        endFault();
        expect_fixed_run(*open(*writer));
        const std::string location = writer->location();
        writer.reset();
        expect_fixed_run(*open_recording(location));
    }

    void expectNothingLeft(const RecordingError& error) const {
        EXPECT_THAT(error.what(), StartsWith(error.location() + ": "));
        EXPECT_THAT(error.location(), HasSubstr(directory.path().string()));
        if (std::filesystem::exists(options.directory)) {
            EXPECT_TRUE(std::filesystem::is_empty(options.directory)) << error.what();
        }
    }

    /// SQLite tries to lock its log for ten seconds.
    static bool takesTooLong(const Kind& kind, const std::string& file) {
        return kind.call == Call::lockRange && file == "/index.sqlite-shm";
    }

    /// Repeats the call until it works. The fault is over after a few errors.
    template <class Function>
    void insist(const RecordingStreamWriter& writer, const Function& call) {
        for (;;) {
            try {
                call();
                return;
            } catch (const RecordingError& error) {
                ++counts.errors;
                EXPECT_THAT(error.location(), StartsWith(writer.location()));
                if (++failureCount == 4) {
                    endFault();
                }
                ASSERT_LT(failureCount, 10U) << error.what();
            }
        }
    }

    template <class Function>
    void tryOnce(const Function& call) {
        try {
            call();
        } catch (const RecordingError&) {
            ++counts.errors;
        }
    }

    bool goesOn = false; ///< instead of repeating a flushIntermediate that has failed
    std::unique_ptr<FailingCalls> calls;
    std::size_t callCount = 0;
    std::size_t failureCount = 0;
    Counts counts;
};

TEST_P(FailingCallsSweepTest, nothingIsLostWhateverFails) {
    sweep();
}

TEST_P(FailingCallsSweepTest, hostMayGoOnInsteadOfRepeating) {
    goesOn = true;
    sweep();
}

INSTANTIATE_TEST_SUITE_P(Durability, FailingCallsSweepTest,
                         ::testing::Values(Durability::process, Durability::power),
                         [](const auto& instance) {
                             return instance.param == Durability::power ? "power" : "process";
                         });

} // namespace
} // namespace logging2::core::test
