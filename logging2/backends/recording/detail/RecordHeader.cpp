#include <logging2/backends/recording/detail/RecordHeader.hpp>

#include <xxhash.h>
#ifdef __x86_64__
// Uses what the processor has.
#include <xxh_x86dispatch.h>

#include <immintrin.h>
#endif

#include <cstddef>

namespace logging2::core::detail {

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "recordings are little-endian, and so must the machine be"
#endif

namespace {

#ifdef __x86_64__
__attribute__((target("avx"))) void clear_upper_halves() {
    _mm256_zeroupper();
}
#endif

/// xxHash leaves the upper halves of the vector registers in use, and then some processors need up
/// to twice as long for all further arithmetic with doubles on this thread.
void release_upper_halves() {
#ifdef __x86_64__
    static const bool hasUpperHalves = static_cast<bool>(__builtin_cpu_supports("avx"));
    if (hasUpperHalves) {
        clear_upper_halves();
    }
#endif
}

} // namespace

std::uint64_t hash_of(const void* bytes, std::size_t byteCount) {
    const std::uint64_t hash = XXH3_64bits(bytes, byteCount);
    release_upper_halves();
    return hash;
}

std::uint64_t hash_of(const RecordHeader& header) {
    return hash_of(&header, offsetof(RecordHeader, headerHash));
}

const char* fault_of(const RecordHeader& header) {
    if (header.magic != RecordHeader().magic) {
        return "it is not a recording's data file";
    }
    if (header.version > formatVersion) {
        return "it was written by a newer version of logging2";
    }
    return header.headerHash == hash_of(header) ? nullptr : "a record's header is damaged";
}

} // namespace logging2::core::detail
