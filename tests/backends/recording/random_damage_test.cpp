#include <tests/backends/recording/damaged_recordings.hpp>

#include <cstdlib>
#include <random>
#include <sstream>

// Bytes of a recording are changed at random: every answer is an error or right.

namespace logging2::core::test {
namespace {

class RandomDamageTest : public DamagedRecordingTest,
                         public ::testing::WithParamInterface<Compression> {
protected:
    RandomDamageTest() : DamagedRecordingTest(GetParam()) {}

    /// Each answer as a text of its own. An answer that is an error is empty.
    std::vector<std::string> answers() const {
        std::vector<std::string> result;
        std::unique_ptr<core::Run> run;
        const auto ask = [&](auto question) {
            std::ostringstream text;
            text.precision(17);
            try {
                if (!run) {
                    run = opened();
                }
                question(text);
                result.push_back(text.str());
            } catch (const RecordingError&) {
                result.emplace_back();
            }
        };
        ask([&](std::ostream& text) { print(text, run->info()); });
        ask([&](std::ostream& text) { print(text, run->groups()); });
        ask([&](std::ostream& text) { print(text, run->signals()); });
        for (const char* path : {"x", "v"}) {
            const ValuePath signal(path);
            ask([&](std::ostream& text) { print(text, run->series(signal)); });
            ask([&](std::ostream& text) { print(text, run->series(signal, 10.0, 20.0)); });
            ask([&](std::ostream& text) { print(text, run->series(signal, 50.0, 65.0)); });
            ask([&](std::ostream& text) { print(text, run->overview(signal, 0.0, 70.0, 9)); });
        }
        return result;
    }

    static void print(std::ostream& text, const RunInfo& info) {
        text << info.id << info.name << static_cast<int>(info.state)
             << info.start.time_since_epoch().count() << info.revision
             << ::testing::PrintToString(info.properties);
        if (info.end) {
            text << info.end->time_since_epoch().count();
        }
    }
    static void print(std::ostream& text, const std::vector<GroupInfo>& groups) {
        for (const GroupInfo& group : groups) {
            text << group.id << ' ' << group.stepCount << ' ' << group.firstTime.value_or(nan)
                 << ' ' << group.lastTime.value_or(nan) << '\n';
        }
    }
    static void print(std::ostream& text, const std::vector<SignalInfo>& signals) {
        for (const SignalInfo& signal : signals) {
            text << signal.path << ' ' << signal.group << ' ' << signal.channel << ' '
                 << signal.width << '\n';
        }
    }
    static void print(std::ostream& text, const DoubleView& view) {
        for (const double value : view) {
            text << value << ' ';
        }
        text << '\n';
    }
    static void print(std::ostream& text, const Series& series) {
        text << series.width() << '\n';
        print(text, series.times());
        print(text, series.values());
    }
    static void print(std::ostream& text, const Overview& overview) {
        text << ::testing::PrintToString(overview.least)
             << ::testing::PrintToString(overview.greatest)
             << ::testing::PrintToString(overview.nanCount)
             << ::testing::PrintToString(overview.sampleCount);
    }

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
            for (std::size_t i = 0; i < expected.size(); ++i) {
                EXPECT_TRUE(actual[i].empty() || actual[i] == expected[i])
                    << "question " << i << ": " << actual[i].substr(0, 1000);
            }
        }
    }

    std::mt19937 random;
};

TEST_P(RandomDamageTest, ofTheDataFileNeverGivesWrongAnswers) {
    expectErrorsOrRightAnswers(samples());
}

TEST_P(RandomDamageTest, ofTheIndexNeverGivesWrongAnswers) {
    expectErrorsOrRightAnswers(index());
}

INSTANTIATE_TEST_SUITE_P(Recording, RandomDamageTest,
                         ::testing::Values(Compression::none, Compression::lz4),
                         [](const auto& test) {
                             return test.param == Compression::none ? "notPacked" : "packed";
                         });

} // namespace
} // namespace logging2::core::test
