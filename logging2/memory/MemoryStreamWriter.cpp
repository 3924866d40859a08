#include <logging2/memory/MemoryStreamWriter.hpp>

#include <utility>

namespace logging2::core {

MemoryStreamWriter::MemoryStreamWriter(StreamingAttributes configuration,
                                       SequenceMap<Group, LoggedPathsSetupData> setup)
    : BasicMemoryStreamWriter(std::move(configuration), std::move(setup)) {}

MemoryStreamWriter::MemoryStreamWriter(MemoryStreamWriter&& other) noexcept = default;
MemoryStreamWriter& MemoryStreamWriter::operator=(MemoryStreamWriter&& other) noexcept = default;
MemoryStreamWriter::~MemoryStreamWriter() = default;

} // namespace logging2::core
