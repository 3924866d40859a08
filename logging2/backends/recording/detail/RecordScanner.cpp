#include <logging2/backends/recording/detail/RecordScanner.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/ChunkLayout.hpp>
#include <logging2/backends/recording/detail/PackedLayout.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace logging2::core::detail {
namespace {

/// So many bytes are searched at once.
constexpr std::size_t searchByteCount = std::size_t{1} << 20;

/// So many bytes are given up if the disk cannot read them.
constexpr std::size_t sectorByteCount = 4096;

/// Whether a chunk of these widths can have a payload of that size.
bool is_chunk(const RecordHeader& header, const std::vector<std::size_t>& widths) {
    try {
        const ChunkLayout layout = layout_of(widths, header.stepCount);
        if (header.kind == RecordKind::packedChunk) {
            return header.payloadByteCount < layout.byteCount &&
                   header.payloadByteCount >= packed_directory_byte_count(layout);
        }
        return header.kind == RecordKind::chunk && header.payloadByteCount == layout.byteCount;
    } catch (const std::length_error&) {
        return false;
    }
}

} // namespace

RecordScanner::RecordScanner(const DataFile& dataFile, const DescriptionRecord& descriptionRecord)
    : file(dataFile),
      first(descriptionRecord),
      fileEnd(dataFile.byteCount()),
      expected(descriptionRecord.byteCount),
      searchFrom(descriptionRecord.byteCount) {
    for (const DescribedGroup& group : first.description.groups) {
        widths.push_back(widths_of(group));
    }
}

bool RecordScanner::isOfRun(const RecordHeader& header) const {
    if (fault_of(header) != nullptr || header.run != first.run || header.group >= widths.size() ||
        header.firstStep + header.stepCount < header.firstStep) {
        return false;
    }
    return header.kind == RecordKind::rollback
               ? header.payloadByteCount == 0
               : header.stepCount > 0 && is_chunk(header, widths[header.group]);
}

/// Reads bytes that the file has. What the disk cannot read becomes zeros.
void RecordScanner::readReadable(char* to, std::size_t byteCount, std::uint64_t offset) const {
    try {
        file.read(to, byteCount, offset);
        return;
    } catch (const RecordingError&) {
        std::fill_n(to, byteCount, '\0');
    }
    for (std::size_t done = 0; byteCount > sectorByteCount && done < byteCount;
         done += sectorByteCount) {
        readReadable(to + done, std::min(sectorByteCount, byteCount - done), offset + done);
    }
}

std::optional<RecordHeader> RecordScanner::headerAt(std::uint64_t offset) const {
    std::array<char, sizeof(RecordHeader)> bytes{};
    if (offset > fileEnd || fileEnd - offset < bytes.size()) {
        return std::nullopt;
    }
    readReadable(bytes.data(), bytes.size(), offset);
    RecordHeader header;
    std::memcpy(&header, bytes.data(), sizeof header);
    return isOfRun(header) ? std::optional(header) : std::nullopt;
}

/// The first place from there on where a header may begin.
std::optional<std::uint64_t> RecordScanner::nextMagic(std::uint64_t from) const {
    const auto magic = RecordHeader().magic;
    std::vector<char> bytes;
    for (; from < fileEnd; from += bytes.size()) {
        bytes.resize(std::min<std::uint64_t>(searchByteCount, fileEnd - from));
        readReadable(bytes.data(), bytes.size(), from);
        for (std::size_t i = 0; i + magic.size() <= bytes.size(); i += alignment) {
            if (std::equal(magic.begin(), magic.end(), bytes.begin() + static_cast<long>(i))) {
                return from + i;
            }
        }
    }
    return std::nullopt;
}

/// The record where one is expected. If there is none, the next one: it may begin earlier, because
/// bytes of the payload before it are missing.
std::optional<RecordScanner::Record> RecordScanner::find() {
    if (const auto header = headerAt(expected)) {
        return Record{*header, expected};
    }
    while (expected != fileEnd) {
        const auto offset = nextMagic(searchFrom);
        if (!offset) {
            break;
        }
        if (const auto header = headerAt(*offset)) {
            return Record{*header, *offset};
        }
        searchFrom = *offset + alignment;
    }
    return std::nullopt;
}

std::optional<RecordScanner::Record> RecordScanner::next() {
    for (;;) {
        const auto record = find();
        const std::uint64_t end = record ? record->offset : fileEnd;
        if (end > expected) {
            unknown.push_back({expected, end - expected});
        }
        if (!record) {
            return std::nullopt;
        }
        searchFrom = record->offset + sizeof(RecordHeader);
        expected = searchFrom + record->header.payloadByteCount;
        // What is left of a commit that failed has a smaller number.
        if (record->header.sequence > lastSequence) {
            lastSequence = record->header.sequence;
            return record;
        }
    }
}

} // namespace logging2::core::detail
