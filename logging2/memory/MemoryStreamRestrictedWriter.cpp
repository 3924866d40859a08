#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>

#include <cstdint>
#include <stdexcept>
#include <utility>

namespace logging2::core {
namespace {

/// Checks the limit of the rows ring. boost::circular_buffer takes its limit from the allocator
/// traits, so the limit differs between language modes; this check gives every host the same error.
void check_ring_capacity(std::size_t capacity) {
    if (capacity > SIZE_MAX / sizeof(detail::RowHandle)) {
        throw std::length_error("circular_buffer");
    }
}

} // namespace

MemoryStreamRestrictedWriter::MemoryStreamRestrictedWriter(
    StreamingAttributes configuration, SequenceMap<Group, LoggedPathsSetupData> setup)
    : BasicMemoryStreamWriter(std::move(configuration), std::move(setup)) {
    const std::size_t pointLimit = attributes.pointLimit;
    for (std::size_t group = 0; group < groupTimes.size(); ++group) {
        check_ring_capacity(pointLimit);
        groupTimes[group].set_capacity(pointLimit);
        groupData[group].set_capacity(pointLimit);
    }
}

MemoryStreamRestrictedWriter::MemoryStreamRestrictedWriter(
    MemoryStreamRestrictedWriter&& other) noexcept = default;
MemoryStreamRestrictedWriter&
MemoryStreamRestrictedWriter::operator=(MemoryStreamRestrictedWriter&& other) noexcept = default;
MemoryStreamRestrictedWriter::~MemoryStreamRestrictedWriter() = default;

} // namespace logging2::core
