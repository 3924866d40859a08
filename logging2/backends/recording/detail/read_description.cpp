#include <logging2/backends/recording/detail/read_description.hpp>

#include <logging2/backends/recording/RecordingError.hpp>

#include <stdexcept>
#include <string>

namespace logging2::core::detail {
namespace {

Description parsed(const DataFile& file, const RunId& run, std::string text) {
    text.resize(text.find_last_not_of('\0') + 1);
    try {
        Description description = description_of(text);
        time_of(description.start);
        if (run_id_of(description.id) != run) {
            throw std::runtime_error("the description is that of another run");
        }
        return description;
    } catch (const std::runtime_error& error) {
        throw RecordingError(file.name(), error.what());
    }
}

} // namespace

DescriptionRecord read_description(const DataFile& file) {
    RecordHeader header;
    file.read(&header, sizeof header, 0);
    if (const char* const fault = fault_of(header); fault != nullptr) {
        throw RecordingError(file.name(), fault);
    }
    if (header.kind != RecordKind::description) {
        throw RecordingError(file.name(), "it does not begin with the description of the run");
    }
    if (header.payloadByteCount > file.byteCount()) {
        throw RecordingError(file.name(), "it ends too early: bytes are missing");
    }
    std::string text(header.payloadByteCount, '\0');
    file.read(text.data(), text.size(), sizeof header);
    if (hash_of(text.data(), text.size()) != header.payloadHash) {
        throw RecordingError(file.name(), "the description of the run has another hash");
    }
    return {parsed(file, header.run, std::move(text)), header.run,
            sizeof header + header.payloadByteCount};
}

} // namespace logging2::core::detail
