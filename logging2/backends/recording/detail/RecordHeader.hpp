#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace logging2::core::detail {

/// The 16 bytes of a run's UUID.
using RunId = std::array<unsigned char, 16>;

/// What stands in a data file behind a header.
enum class RecordKind : std::uint32_t { description = 1, chunk = 2, rollback = 3, packedChunk = 4 };

/// The version of the format of data files and indexes.
constexpr std::uint32_t formatVersion = 1;

/// Columns and records begin at multiples of this.
constexpr std::size_t alignment = 64;

constexpr std::uint64_t aligned(std::uint64_t byteCount) {
    return (byteCount + alignment - 1) / alignment * alignment;
}

/// The head of a record in a data file. Little-endian, without gaps.
struct RecordHeader {
    std::array<char, 8> magic{'L', '2', 'R', 'E', 'C', 'O', 'R', 'D'};
    std::uint32_t version = formatVersion;
    RecordKind kind = RecordKind::description;
    RunId run{};
    std::uint64_t sequence = 0;          ///< grows from record to record
    std::uint64_t group = 0;             ///< position of the group in the description
    std::uint64_t firstStep = 0;         ///< of a chunk; of a rollback the first discarded step
    std::uint64_t stepCount = 0;         ///< of a chunk
    std::uint64_t revision = 0;          ///< of the run when the record was written
    std::uint64_t payloadByteCount = 0;  ///< a multiple of the alignment
    std::uint64_t payloadHash = 0;       ///< of a description's payload or a chunk's directory
    std::uint64_t rollbackCount = 0;     ///< rollbacks in the file before this record
    std::uint64_t rollbackGroup = 0;     ///< group of the last one of them
    std::uint64_t rollbackFirstStep = 0; ///< its first discarded step
    std::uint64_t reserved = 0;
    std::uint64_t headerHash = 0; ///< of the bytes before it
};
static_assert(sizeof(RecordHeader) == 128);

/// The hash of all bytes of the header before headerHash.
std::uint64_t hash_of(const RecordHeader& header);

/// XXH3, 64 bits, without seed.
std::uint64_t hash_of(const void* bytes, std::size_t byteCount);

/// Why bytes are no header of this version, or null if they are one. Fields are not compared with
/// anything but the magic, the version and the hash.
const char* fault_of(const RecordHeader& header);

} // namespace logging2::core::detail
