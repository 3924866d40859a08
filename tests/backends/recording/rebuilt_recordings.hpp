#pragma once

#include <tests/backends/recording/recordings.hpp>
#include <tests/backends/recording/same_runs.hpp>

#include <tests/support/files.hpp>

#include <filesystem>
#include <tuple>

namespace logging2::core::test {

namespace fs = std::filesystem;

/// A recording that is rebuilt from its data file in a directory of its own.
class RebuiltRecordingTest : public RecordingTest {
protected:
    fs::path samples() const { return location / "samples.bin"; }

    std::string newName() const { return (made.path() / "new.recording").string(); }

    RecordingRebuild rebuild() const { return rebuild_recording(location.string(), newName()); }

    void flip(std::size_t offset, int mask = 1) const {
        std::string bytes = bytesOf(samples());
        bytes.at(offset) = static_cast<char>(bytes.at(offset) ^ mask);
        writeBytes(samples(), bytes);
    }

    /// The group, the first step and the number of each part that is lost.
    static void
    expectLostSteps(const RecordingRebuild& report,
                    const std::vector<std::tuple<std::size_t, std::size_t, std::size_t>>& parts) {
        std::vector<std::tuple<std::size_t, std::size_t, std::size_t>> found;
        for (const LostSteps& lost : report.lostSteps) {
            found.emplace_back(lost.group, lost.firstStep, lost.stepCount);
        }
        EXPECT_EQ(found, parts);
    }

    /// The offset and the number of the bytes of each part that is lost.
    static void expectLostBytes(const RecordingRebuild& report,
                                const std::vector<std::pair<std::uint64_t, std::uint64_t>>& parts) {
        std::vector<std::pair<std::uint64_t, std::uint64_t>> found;
        for (const LostBytes& lost : report.lostBytes) {
            found.emplace_back(lost.offset, lost.byteCount);
        }
        EXPECT_EQ(found, parts);
    }

    TemporaryDirectory made;
    fs::path location;
};

} // namespace logging2::core::test
