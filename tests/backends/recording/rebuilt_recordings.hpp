#pragma once

#include <tests/backends/recording/recordings.hpp>
#include <tests/backends/recording/same_runs.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <tests/support/files.hpp>

#include <cstring>
#include <filesystem>
#include <functional>
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

/// The same for a recording whose records lie where the test wants them.
class RebuildRecordingTest : public RebuiltRecordingTest {
protected:
    /// A recording of group 0 that is finished behind these steps.
    void record(const std::function<void(RecordingStreamWriter&)>& write) {
        const auto writer = makeWriter(setup);
        location = writer->location();
        write(*writer);
        writer->flush();
        fs::remove(location / "index.sqlite");
    }

    /// Records a step at 1, and keeps the index.
    void recordWithIndex() {
        const auto writer = makeWriter(setup);
        location = writer->location();
        writeTimes(*writer, {1.0});
        writer->flush();
    }

    /// Writes the times from the first one on, in steps of 1, as one chunk.
    static void writeChunk(RecordingStreamWriter& writer, double first, int count) {
        for (int step = 0; step < count; ++step) {
            writeTimes(writer, {first + step});
        }
        writer.flushIntermediate();
    }

    std::unique_ptr<core::Run> rebuilt() {
        report = rebuild();
        EXPECT_THAT(check_recording(newName()).findings, ::testing::IsEmpty());
        return open_recording(newName());
    }

    /// Where the records begin, and their kinds.
    std::vector<std::pair<std::size_t, detail::RecordKind>> records() const {
        std::vector<std::pair<std::size_t, detail::RecordKind>> result;
        const std::string bytes = bytesOf(samples());
        for (std::size_t offset = 0; offset < bytes.size();) {
            detail::RecordHeader header;
            std::memcpy(&header, &bytes[offset], sizeof header);
            result.emplace_back(offset, header.kind);
            offset += sizeof header + header.payloadByteCount;
        }
        return result;
    }

    /// Damages the headers of so many records from that one on.
    void damageHeaders(std::size_t record, std::size_t count = 1) {
        for (const auto all = records(); count > 0; --count, ++record) {
            flip(all.at(record).first + 40);
        }
    }

    /// Changes the header at the offset, and its hash so that it fits.
    void changeHeader(std::size_t offset,
                      const std::function<void(detail::RecordHeader&)>& change) {
        std::string bytes = bytesOf(samples());
        detail::RecordHeader header;
        std::memcpy(&header, &bytes.at(offset), sizeof header);
        change(header);
        header.headerHash = hash_of(header);
        std::memcpy(&bytes.at(offset), &header, sizeof header);
        writeBytes(samples(), bytes);
    }

    Doubles range(double first, double end) const {
        Doubles times;
        for (double time = first; time < end; ++time) {
            times.push_back(time);
        }
        return times;
    }

    GroupSetup setup = scalarSetup();
    RecordingRebuild report;
};

} // namespace logging2::core::test
