#include <logging2/backends/recording/detail/find_description.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/IndexReader.hpp>

#include <optional>
#include <stdexcept>

namespace logging2::core::detail {
namespace {

/// A description as it stands in a data file.
struct StoredDescription {
    RecordHeader header;
    std::string payload;
};

StoredDescription stored(const Description& description) {
    StoredDescription result;
    result.payload = text_of(description);
    result.payload.resize(aligned(result.payload.size()), '\0');
    result.header.run = run_id_of(description.id);
    result.header.payloadByteCount = result.payload.size();
    result.header.payloadHash = hash_of(result.payload.data(), result.payload.size());
    result.header.headerHash = hash_of(result.header);
    return result;
}

/// Whether a hash or the text that is left in the file is that of this description.
bool is_proven(const DataFile& file, const StoredDescription& expected) {
    RecordHeader header;
    file.read(&header, sizeof header, 0);
    std::string payload(expected.payload.size(), '\0');
    file.read(payload.data(), payload.size(), sizeof header);
    return header.payloadHash == expected.header.payloadHash ||
           header.headerHash == expected.header.headerHash || payload == expected.payload;
}

/// Empty if it cannot be read or is not proven.
std::optional<DescriptionRecord> description_in_index(const DataFile& file,
                                                      const std::string& directory) {
    try {
        // The text has limits that the tables of an index have not.
        Description description = description_of(text_of(IndexReader(directory).description()));
        const StoredDescription expected = stored(description);
        if (is_proven(file, expected)) {
            return DescriptionRecord{std::move(description), expected.header.run,
                                     sizeof expected.header + expected.payload.size()};
        }
    } catch (const std::runtime_error&) {
        // Then the index does not help either.
    }
    return std::nullopt;
}

} // namespace

DescriptionRecord find_description(const DataFile& file, const std::string& directory) {
    try {
        return read_description(file);
    } catch (const RecordingError&) {
        if (auto description = description_in_index(file, directory)) {
            return std::move(*description);
        }
        throw;
    }
}

Description known_description(const std::string& directory) {
    try {
        return read_description(DataFile::open(directory + "/samples.bin")).description;
    } catch (const RecordingError&) {
    }
    try {
        Description description = IndexReader(directory).description();
        run_id_of(description.id);
        time_of(description.start);
        return description;
    } catch (const std::runtime_error&) {
        return {};
    }
}

} // namespace logging2::core::detail
