#include <tests/native/native_writers.hpp>
#include <tests/support/FailingCalls.hpp>
#include <tests/system/batches.hpp>
#include <tests/system/stored_files.hpp>

#include <boost/uuid/entropy_error.hpp>

#include <cerrno>
#include <functional>
#include <new>

// Each system call fails in turn. Only documented exceptions leave the library, and nothing else is
// lost.

namespace logging2::core::test {
namespace {

constexpr std::size_t rowCount = 4;

/// Calls `life` repeatedly and makes the next call of the kind fail each time, until no such call
/// is left. Returns the number of failed calls.
std::size_t failEach(Call kind, const std::function<void()>& life,
                     const std::function<void()>& check) {
    for (std::size_t n = 0;; ++n) {
        SCOPED_TRACE(::testing::PrintToString(kind) + " number " + std::to_string(n));
        std::vector<Outcome> outcomes(n, works());
        outcomes.push_back(fails(EIO));
        std::size_t count = 0;
        {
            const FailingCalls calls(kind, "", outcomes);
            life();
            count = calls.count();
        }
        check();
        if (count <= n || ::testing::Test::HasFailure()) {
            return n;
        }
    }
}

class EveryCallOfAWriterTest : public NativeStreamWriterTest,
                               public ::testing::WithParamInterface<Call> {
protected:
    /// The life of a writer: a batch that the thread appends, one that flushIntermediate() writes
    /// and one that flush() writes.
    void live() {
        writer.reset();
        try {
            writer = std::make_unique<NativeStreamWriter>(StreamingAttributes{}, mixedWidthSetup());
        } catch (const std::filesystem::filesystem_error&) {
            return;
        } catch (const boost::uuids::entropy_error&) {
            return;
        }
        Access::setBufferSize(*writer, 0, rowCount);
        writeBatch(0);
        Access::waitUntilTaken(*writer);
        Access::setBufferSize(*writer, 0, 100);
        writeBatch(1);
        writer->flushIntermediate();
        writeBatch(2);
        writer->flush();
    }

    void writeBatch(std::size_t batch) {
        for (const double row : Batches({batch}, rowCount).times) {
            write(*writer, 0, row, {10.0 * row, 100.0 * row, 100.0 * row + 1.0});
        }
    }

    /// The number of batches that are missing in a file. The file must hold the others complete and
    /// in order.
    static std::size_t missing(const std::vector<double>& held,
                               std::vector<double> Batches::*column) {
        const std::vector<Batches> possible = {Batches({0, 1, 2}, rowCount),
                                               Batches({1, 2}, rowCount), Batches({0, 2}, rowCount),
                                               Batches({0, 1}, rowCount)};
        for (std::size_t i = 0; i < possible.size(); ++i) {
            if (held == possible[i].*column) {
                return i == 0 ? 0 : 1;
            }
        }
        ADD_FAILURE() << "a file holds something else";
        return 0;
    }

    void expectOneBatchMissingAtMost() const {
        if (writer) {
            EXPECT_LE(missing(timesIn(*writer, "a"), &Batches::times) +
                          missing(valuesIn(*writer, "a"), &Batches::scalars) +
                          missing(valuesIn(*writer, "b"), &Batches::pairs),
                      1U);
        }
    }

    std::unique_ptr<NativeStreamWriter> writer;
};

TEST_P(EveryCallOfAWriterTest, failureLosesTheLocationOrOneBatchInOneFile) {
    EXPECT_GT(failEach(
                  GetParam(), [this] { live(); }, [this] { expectOneBatchMissingAtMost(); }),
              0U);
    ASSERT_TRUE(writer) << "no call failed in the last run";
}

// The seek to the end of a file is part of opening it.
INSTANTIATE_TEST_SUITE_P(Kind, EveryCallOfAWriterTest,
                         ::testing::Values(Call::open, Call::close, Call::read, Call::write,
                                           Call::stat, Call::makeDirectory),
                         ::testing::PrintToStringParamName());

class EveryCallOfAReaderTest : public StoredFilesTest, public ::testing::WithParamInterface<Call> {
protected:
    void live() {
        read();
        EXPECT_NO_THROW(reader.reset());
    }

    void read() const {
        try {
            const auto [readTimes, readValues] = reader->timeseries();
            EXPECT_TRUE(readTimes == storedTimes || readTimes == zeros);
            EXPECT_TRUE(readValues == storedValues || readValues == zeros);
        } catch (const std::bad_alloc&) {
        } catch (const std::filesystem::filesystem_error&) {
        }
    }

    const std::vector<double> zeros = {0.0, 0.0, 0.0};
};

TEST_P(EveryCallOfAReaderTest, failedCallLosesOneReadOrLeavesOneFile) {
    EXPECT_GT(failEach(
                  GetParam(), [this] { live(); },
                  [this] {
                      EXPECT_LE(directory.names().size(), 1U);
                      store();
                  }),
              0U);
}

INSTANTIATE_TEST_SUITE_P(Kind, EveryCallOfAReaderTest,
                         ::testing::Values(Call::open, Call::close, Call::read, Call::seek,
                                           Call::stat, Call::remove),
                         ::testing::PrintToStringParamName());

} // namespace
} // namespace logging2::core::test
