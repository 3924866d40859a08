#include <examples/simulate/logging/LogSession.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/logging/recording.hpp>

#include <utility>

namespace simulate {
namespace {

void check_lengths(const GroupResult& result, std::size_t path) {
    const PathInfo& info = result.info.paths[path];
    if (result.values[path].size() != result.times.size() * info.width()) {
        throw HostError("the back-end returned " + std::to_string(result.values[path].size()) +
                        " values of \"" + info.path + "\" for " +
                        std::to_string(result.times.size()) + " times, expected " +
                        std::to_string(result.times.size() * info.width()));
    }
}

/// Takes the times from the group's first path; the others have the same.
template <class ReaderIterator>
GroupResult read_group(const GroupInfo& group, ReaderIterator& reader) {
    GroupResult result{group, {}, {}};
    for (std::size_t path = 0; path < group.paths.size(); ++path) {
        auto [times, values] = (*reader++)->timeseries();
        if (path == 0) {
            result.times = std::move(times);
        }
        result.values.push_back(std::move(values));
        check_lengths(result, path);
    }
    return result;
}

} // namespace

LogSession::LogSession(Backend sessionBackend,
                       const logging2::core::StreamingAttributes& attributes,
                       std::vector<GroupInfo> groupInfos)
    : backend(std::move(sessionBackend)),
      groups(std::move(groupInfos)),
      streamWriter(backend.openWriter(attributes, logging_setup(groups))) {}

LogSession::~LogSession() {
    if (!streamWriter) {
        return;
    }
    try {
        flush();
        openReaders();
    } catch (...) {
        // The run has failed already, and that is what the user is told.
    }
}

std::vector<GroupResult> LogSession::finish() {
    flush();
    const Readers readers = openReaders();
    streamWriter.reset();
    std::vector<GroupResult> results;
    auto reader = readers.begin();
    for (const GroupInfo& group : groups) {
        results.push_back(read_group(group, reader));
    }
    return results;
}

// A writer is flushed once, also where that fails.
void LogSession::flush() {
    if (!flushed) {
        flushed = true;
        streamWriter->flush();
    }
}

LogSession::Readers LogSession::openReaders() {
    Readers readers;
    for (const GroupInfo& group : groups) {
        for (const PathInfo& info : group.paths) {
            const boost::any dataStore = streamWriter->dataStore(lang::core::ValuePath(info.path));
            recordingDirectory = recording_of(dataStore);
            readers.push_back(backend.openReader(dataStore));
        }
    }
    return readers;
}

} // namespace simulate
