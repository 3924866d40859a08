#include <logging2/backends/recording/check_recording.hpp>

#include <logging2/backends/recording/RecordingError.hpp>
#include <logging2/backends/recording/detail/AccessFault.hpp>
#include <logging2/backends/recording/detail/ChunkCheck.hpp>
#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Findings.hpp>
#include <logging2/backends/recording/detail/IndexCheck.hpp>
#include <logging2/backends/recording/detail/read_description.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>
#include <logging2/backends/recording/detail/text_streams.hpp>

#include <algorithm>
#include <limits>
#include <optional>

namespace logging2::core {
namespace {

using detail::ChunkRow;
using detail::Description;

class Check {
public:
    Check(const std::string& directory, const RecordingProgress& progressSink)
        : dataName(directory + "/samples.bin"),
          progress(progressSink),
          index(directory, findings) {}

    RecordingCheck run() {
        // First, because bytes that a state of the index names stay as they are.
        index.read();
        try {
            data.emplace(detail::DataFile::open(dataName));
            if (findDescription()) {
                checkData();
            }
        } catch (const detail::AccessFault&) {
            throw;
        } catch (const RecordingError& error) {
            findings.add(error);
        }
        return result;
    }

private:
    /// That of the data file if it is whole, and otherwise that of the index.
    bool findDescription() {
        try {
            description = detail::read_description(*data).description;
        } catch (const RecordingError& error) {
            findings.add(error);
            description = index.description();
            return index.hasDescription();
        }
        if (index.hasDescription()) {
            compareDescriptions();
        }
        return true;
    }

    void compareDescriptions() {
        detail::TextReader expected(text_of(description));
        detail::TextReader found(text_of(index.description()));
        std::string expectedLine;
        std::string foundLine;
        for (;;) {
            expectedLine.clear();
            foundLine.clear();
            const bool hasExpected = static_cast<bool>(std::getline(expected, expectedLine));
            const bool hasFound = static_cast<bool>(std::getline(found, foundLine));
            if (!hasExpected && !hasFound) {
                return;
            }
            if (hasExpected != hasFound || expectedLine != foundLine) {
                findings.add(dataName, std::string("it describes the run by \"")
                                           .append(expectedLine)
                                           .append("\", but the index by \"")
                                           .append(foundLine)
                                           .append("\""));
                return;
            }
        }
    }

    void checkData() {
        fileByteCount = data->byteCount();
        for (const detail::StoredGroup& group : index.groups()) {
            for (const ChunkRow& chunk : group.chunks) {
                ++result.chunkCount;
                result.stepCount += chunk.stepCount;
                result.byteCount += chunk.byteCount;
            }
        }
        checkPlaces();
        const std::size_t count = std::min(index.groups().size(), description.groups.size());
        for (std::size_t group = 0; group < count; ++group) {
            checkGroup(group);
        }
    }

    /// Chunks must not share bytes, and lie in the order of their sequence numbers.
    void checkPlaces() {
        std::vector<const ChunkRow*> chunks;
        for (const detail::StoredGroup& group : index.groups()) {
            for (const ChunkRow& chunk : group.chunks) {
                chunks.push_back(&chunk);
            }
        }
        std::sort(chunks.begin(), chunks.end(),
                  [](const ChunkRow* a, const ChunkRow* b) { return a->offset < b->offset; });
        for (std::size_t i = 1; i < chunks.size(); ++i) {
            const ChunkRow& former = *chunks[i - 1];
            const ChunkRow& next = *chunks[i];
            if (next.offset - former.offset < former.byteCount ||
                former.sequence >= next.sequence) {
                findings.add(dataName, "in the index, the chunks at byte " +
                                           std::to_string(former.offset) + " and " +
                                           std::to_string(next.offset) +
                                           " overlap or have the wrong order");
            }
        }
    }

    void checkGroup(std::size_t position) {
        const detail::RunId run = detail::run_id_of(description.id);
        double greatest = -std::numeric_limits<double>::infinity();
        for (const ChunkRow& row : index.groups()[position].chunks) {
            detail::ChunkCheck chunk(*data, fileByteCount, run, description.groups[position], row,
                                     findings);
            chunk.check(greatest);
            greatest = row.greatestSoFar;
            readByteCount += row.byteCount;
            if (progress) {
                progress(readByteCount, result.byteCount);
            }
        }
    }

    std::string dataName;
    const RecordingProgress& progress;
    RecordingCheck result;
    detail::Findings findings{result};
    detail::IndexCheck index;
    std::optional<detail::DataFile> data;
    std::uint64_t fileByteCount = 0;
    std::uint64_t readByteCount = 0;
    Description description;
};

} // namespace

RecordingCheck check_recording(const std::string& directory, const RecordingProgress& progress) {
    detail::require_directory(directory);
    return Check(directory, progress).run();
}

} // namespace logging2::core
