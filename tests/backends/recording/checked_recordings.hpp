#pragma once

#include <tests/backends/recording/damaged_recordings.hpp>
#include <tests/backends/recording/repaired_hashes.hpp>

#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <cstring>
#include <functional>

namespace logging2::core::test {

/// A recording that is damaged on purpose, with hashes that fit the damage, and checked.
class CheckRecordingTest : public DamagedRecordingTest {
protected:
    static constexpr std::size_t headerByteCount = 128;
    static constexpr std::size_t times = headerByteCount + 128;

    RecordingCheck check() const { return check_recording(location.string()); }

    std::vector<std::string> findings() const { return check().findings; }

    /// The line that begins with the file and holds the text is among the findings.
    void expectFinding(const std::filesystem::path& file, const std::string& text) const {
        EXPECT_THAT(findings(),
                    ::testing::Contains(::testing::AllOf(
                        ::testing::StartsWith(file.string() + ": "), ::testing::HasSubstr(text))));
    }

    void expectOnlyFinding(const std::filesystem::path& file, const std::string& text) const {
        EXPECT_THAT(findings(),
                    ::testing::ElementsAre(::testing::AllOf(
                        ::testing::StartsWith(file.string() + ": "), ::testing::HasSubstr(text))));
    }

    /// Changes a field of the long chunk's row, whose hash fits the new content.
    void changeRow(const std::string& column, const std::string& value) const {
        change_index(index(),
                     "UPDATE chunk SET " + column + " = " + value + " WHERE first_step = 0");
    }

    /// Changes the header of the long chunk, whose hash fits the new content.
    void changeHeader(const std::function<void(detail::RecordHeader&)>& change) {
        std::string bytes = bytesOf(samples());
        detail::RecordHeader header;
        std::memcpy(&header, &bytes[chunkOffset()], sizeof header);
        change(header);
        header.headerHash = hash_of(header);
        std::memcpy(&bytes[chunkOffset()], &header, sizeof header);
        writeBytes(samples(), bytes);
    }
};

} // namespace logging2::core::test
