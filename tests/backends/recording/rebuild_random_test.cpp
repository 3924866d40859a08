#include <tests/backends/recording/damaged_recordings.hpp>
#include <tests/backends/recording/processes/scripted_recordings.hpp>
#include <tests/backends/recording/rebuilt_recordings.hpp>

#include <cstdlib>
#include <map>
#include <random>
#include <set>

// Recordings of random scripts with rollbacks are rebuilt, whole and with random damage.

namespace logging2::core::test {
namespace {

class RebuildRandomTest : public RebuiltRecordingTest {
protected:
    /// LOGGING2_DAMAGE_SEEDS is how many recordings are tried.
    static unsigned seedCount() {
        const char* const text =
            std::getenv("LOGGING2_DAMAGE_SEEDS"); // NOLINT(concurrency-mt-unsafe)
        return text == nullptr ? 200 : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    }

    std::size_t below(std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    }

    void record(unsigned seed) {
        random.seed(seed);
        options.chunkByteCount = std::size_t{128} << below(8);
        options.heldBackSteps = below(2) * 8;
        options.compression = below(2) == 0 ? Compression::none : Compression::lz4;
        const auto writer = makeWriter(script_setup());
        location = writer->location();
        Script script(seed);
        const std::size_t operationCount = 1 + below(3000);
        for (std::size_t i = 1; i <= operationCount; ++i) {
            perform(*writer, script.next(), static_cast<double>(i));
            if (below(40) == 0) {
                writer->flushIntermediate();
            }
        }
        if (below(2) == 0) {
            writer->flush();
        }
    }

    /// A chunk as the index of the whole recording names it.
    struct Chunk {
        std::size_t firstStep;
        std::size_t stepCount;
        std::uint64_t offset;
        std::uint64_t byteCount;
    };

    std::vector<Chunk> chunksOf(std::size_t group) const {
        std::vector<Chunk> chunks;
        sqlite3* database = nullptr;
        sqlite3_open((location / "index.sqlite").c_str(), &database);
        const std::string query = "SELECT first_step, steps, offset, byte_count FROM chunk "
                                  "WHERE signal_group = " +
                                  std::to_string(group) + " ORDER BY first_step";
        const auto keep = [](void* place, int, char** values, char**) {
            static_cast<std::vector<Chunk>*>(place)->push_back(
                {std::stoul(values[0]), std::stoul(values[1]), std::stoul(values[2]),
                 std::stoul(values[3])});
            return 0;
        };
        sqlite3_exec(database, query.c_str(), keep, &chunks, nullptr);
        sqlite3_close(database);
        return chunks;
    }

    /// Flipped bits, zeros, noise, or a missing end, but never in the description.
    void damage() {
        std::string bytes = bytesOf(samples());
        const std::size_t first = 2048;
        if (bytes.size() <= first) {
            return;
        }
        const std::size_t size = bytes.size() - first;
        const std::size_t pick = below(10);
        if (pick == 0) {
            bytes.resize(first + below(size));
        } else if (pick < 4) {
            const std::size_t place = first + below(size);
            const std::size_t count = std::min(bytes.size() - place, below(20000));
            for (std::size_t i = 0; i < count; ++i) {
                bytes[place + i] = pick == 1 ? '\0' : static_cast<char>(random());
            }
        } else {
            for (std::size_t count = 1 + below(4); count > 0; --count) {
                char& byte = bytes[first + below(size)];
                byte = static_cast<char>(byte ^ (1 << below(8)));
            }
        }
        writeBytes(samples(), bytes);
    }

    /// Whether the report tells that a step of the whole recording may be lost.
    bool isReported(const RecordingRebuild& report, std::size_t group, std::size_t step,
                    const std::vector<Chunk>& chunks) const {
        for (const LostSteps& lost : report.lostSteps) {
            if (lost.group == scriptGroups[group] && lost.firstStep <= step &&
                step < lost.firstStep + lost.stepCount) {
                return true;
            }
        }
        const auto chunk = std::find_if(chunks.begin(), chunks.end(), [&](const Chunk& candidate) {
            return candidate.firstStep <= step && step < candidate.firstStep + candidate.stepCount;
        });
        const std::uint64_t end = chunk->offset + chunk->byteCount;
        for (const LostBytes& lost : report.lostBytes) {
            if (lost.offset <= chunk->offset && end <= lost.offset + lost.byteCount) {
                return true;
            }
        }
        return end > fs::file_size(samples());
    }

    void expectSubset(const RecordingRebuild& report, std::size_t group,
                      const std::vector<ModelSample>& whole, const std::vector<Chunk>& chunks,
                      const std::vector<ModelSample>& found) const {
        auto next = found.begin();
        for (std::size_t step = 0; step < whole.size(); ++step) {
            if (next != found.end() && next->number == whole[step].number) {
                EXPECT_EQ(std::memcmp(&next->time, &whole[step].time, sizeof(double)), 0);
                ++next;
            } else {
                ASSERT_TRUE(isReported(report, group, step, chunks))
                    << "step " << step << " of group " << group << " is lost without a report";
            }
        }
        EXPECT_TRUE(next == found.end()) << "a step that was undone is back, or the order is wrong";
    }

    std::mt19937 random;
};

TEST_F(RebuildRandomTest, equalsTheOriginalBitForBit) {
    for (unsigned seed = 1; seed <= seedCount() / 4 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed);
        const auto run = open_recording(location.string());
        const RecordingRebuild report = rebuild();
        EXPECT_TRUE(report.isComplete());
        const auto result = open_recording(newName());
        expectSameSamples(*result, *run);
        expectSameStart(result->info(), run->info());
        fs::remove_all(newName());
    }
}

TEST_F(RebuildRandomTest, damageLosesOnlyWhatIsReportedAndUndoesNoRollback) {
    std::size_t doubtfulCount = 0;
    std::size_t lostCount = 0;
    for (unsigned seed = 1; seed <= seedCount() && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        record(seed);
        std::array<std::vector<ModelSample>, scriptGroups.size()> whole;
        std::array<std::vector<Chunk>, scriptGroups.size()> chunks;
        {
            const auto run = open_recording(location.string());
            for (std::size_t group = 0; group < scriptGroups.size(); ++group) {
                whole[group] = content_of(*run, group);
                chunks[group] = chunksOf(group);
            }
        }
        damage();
        fs::remove(location / "index.sqlite");
        const RecordingRebuild report = rebuild();
        doubtfulCount += report.mayLackRollback ? 1 : 0;
        lostCount += report.isComplete() ? 0 : 1;
        const auto result = open_recording(newName());
        for (std::size_t group = 0; group < scriptGroups.size(); ++group) {
            const auto found = content_of(*result, group);
            if (!report.mayLackRollback) {
                expectSubset(report, group, whole[group], chunks[group], found);
            }
        }
        fs::remove_all(newName());
    }
    EXPECT_GT(lostCount, seedCount() / 4);
    EXPECT_LT(doubtfulCount, seedCount() / 2);
}

} // namespace
} // namespace logging2::core::test
