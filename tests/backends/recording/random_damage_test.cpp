#include <tests/backends/recording/answers.hpp>
#include <tests/backends/recording/damaged_recordings.hpp>

#include <cstdlib>
#include <random>

// Bytes of a recording are changed at random: every answer is an error or right, and a check finds
// what changes an answer.

namespace logging2::core::test {
namespace {

class RandomDamageTest : public DamagedRecordingTest {
protected:
    std::vector<std::string> answers() const { return answers_of(location.string()); }

    std::size_t below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    }

    std::string damaged(std::string bytes) {
        const std::size_t pick = below(12);
        if (pick == 0) {
            bytes.resize(below(bytes.size()));
        } else if (pick == 1) {
            const std::size_t first = below(bytes.size());
            bytes.replace(first, below(64), std::string(below(64), '\0'));
        } else {
            for (std::size_t count = 1 + below(3); count > 0; --count) {
                char& byte = bytes[below(bytes.size())];
                byte = static_cast<char>(byte ^ (1 << below(8)));
            }
        }
        return bytes;
    }

    /// LOGGING2_DAMAGE_SEEDS is how many damages are tried.
    static unsigned seedCount() {
        const char* const text =
            std::getenv("LOGGING2_DAMAGE_SEEDS"); // NOLINT(concurrency-mt-unsafe)
        return text == nullptr ? 500 : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    }

    void expectErrorsOrRightAnswers(const std::filesystem::path& file) {
        const std::string whole = bytesOf(file);
        const std::vector<std::string> expected = answers();
        for (unsigned seed = 1; seed <= seedCount() && !HasFailure(); ++seed) {
            SCOPED_TRACE("seed " + std::to_string(seed));
            random.seed(seed);
            writeBytes(file, damaged(whole));
            const std::vector<std::string> actual = answers();
            EXPECT_TRUE(actual == expected || check_recording(location.string()).findingCount > 0);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                EXPECT_TRUE(actual[i].empty() || actual[i] == expected[i])
                    << "question " << i << ": " << actual[i].substr(0, 1000);
            }
        }
    }

    std::mt19937 random;
};

TEST_F(RandomDamageTest, ofTheDataFileNeverGivesWrongAnswers) {
    expectErrorsOrRightAnswers(samples());
}

TEST_F(RandomDamageTest, ofTheIndexNeverGivesWrongAnswers) {
    expectErrorsOrRightAnswers(index());
}

} // namespace
} // namespace logging2::core::test
