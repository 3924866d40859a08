#pragma once

#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/RecordHeader.hpp>
#include <logging2/backends/recording/detail/read_description.hpp>
#include <logging2/backends/recording/rebuild_recording.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace logging2::core::detail {

/// Finds the chunks and rollbacks of a data file without its index, also behind damage. It looks at
/// the headers only.
class RecordScanner {
public:
    struct Record {
        RecordHeader header;
        std::uint64_t offset;
    };

    /// Both must outlive the object.
    RecordScanner(const DataFile& dataFile, const DescriptionRecord& descriptionRecord);

    /// The next record, if there is one. Its payload may be damaged or missing.
    std::optional<Record> next();

    /// The bytes up to the last record, or behind it to the end of the file, that are no records.
    const std::vector<LostBytes>& unknownBytes() const noexcept { return unknown; }

    /// Whether the file ends behind a whole record.
    bool endsWithRecord() const noexcept { return expected == fileEnd; }

    std::uint64_t fileByteCount() const noexcept { return fileEnd; }

private:
    void readReadable(char* to, std::size_t byteCount, std::uint64_t offset) const;
    std::optional<RecordHeader> headerAt(std::uint64_t offset) const;
    bool isOfRun(const RecordHeader& header) const;
    std::optional<Record> find();
    std::optional<std::uint64_t> nextMagic(std::uint64_t from) const;

    const DataFile& file;
    const DescriptionRecord& first;
    std::vector<std::vector<std::size_t>> widths; ///< of the channels of each group
    std::uint64_t fileEnd;
    std::uint64_t expected;   ///< where the next record ought to begin
    std::uint64_t searchFrom; ///< where to look for it if there is none
    std::uint64_t lastSequence = 0;
    std::vector<LostBytes> unknown;
};

} // namespace logging2::core::detail
