#include <tests/lookup/LookUpTest.hpp>

#include <atomic>
#include <exception>
#include <thread>

// A back-end is registered and unregistered while another thread looks it up.

namespace logging2::core::test {
namespace {

/// The results of the look-ups in a run.
struct Outcomes {
    int found = 0;
    int notFound = 0;
    int nulls = 0;
    std::string error;
};

class LookUpRaceTest : public LookUpTest {
protected:
    /// Looks up until the back-end was found and not found often enough, or an exception was
    /// thrown.
    template <class LookUp>
    static Outcomes lookUpDuringRegistrations(LookUp lookUp) {
        std::atomic<bool> done{false};
        std::thread registering([&done] {
            while (!done) {
                BackendRegistrations passing = register_backend(context(), memoryBackend("n"));
                unregister(passing);
            }
        });
        Outcomes outcomes;
        try {
            while (outcomes.found < 2000 || outcomes.notFound < 2000) {
                const auto product = lookUp();
                ++(product ? outcomes.found : outcomes.notFound);
                outcomes.nulls += product && !*product ? 1 : 0;
            }
        } catch (const std::exception& error) {
            outcomes.error = error.what();
        }
        done = true;
        registering.join();
        return outcomes;
    }
};

TEST_F(LookUpRaceTest, concurrentRegistrationNeverBreaksWriterLookUps) {
    const Outcomes outcomes = lookUpDuringRegistrations([] { return writerNamed("n"); });
    EXPECT_EQ(outcomes.error, "");
    EXPECT_EQ(outcomes.nulls, 0);
}

TEST_F(LookUpRaceTest, concurrentRegistrationNeverBreaksReaderLookUps) {
    const Outcomes outcomes = lookUpDuringRegistrations([] { return readerNamed("n"); });
    EXPECT_EQ(outcomes.error, "");
    EXPECT_EQ(outcomes.nulls, 0);
}

} // namespace
} // namespace logging2::core::test
