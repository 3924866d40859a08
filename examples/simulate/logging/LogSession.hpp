#pragma once

#include <examples/simulate/logging/Backend.hpp>
#include <examples/simulate/logging/RunResult.hpp>
#include <logging2/logging2.hpp>

#include <memory>
#include <string>
#include <vector>

namespace simulate {

/// One run's writer and, at its end, the readers of what was written.
///
/// A back-end may give up its data with a reader, also that of paths which share it, so all
/// readers live until the last path was read. A session that is abandoned opens them as well and
/// leaves nothing behind.
class LogSession {
public:
    /// Throws HostError where the back-end gives no writer.
    LogSession(Backend sessionBackend, const logging2::core::StreamingAttributes& attributes,
               std::vector<GroupInfo> groupInfos);
    ~LogSession();

    LogSession(const LogSession&) = delete;
    LogSession& operator=(const LogSession&) = delete;

    logging2::core::StreamWriter& writer() { return *streamWriter; }

    /// Ends writing and reads everything back. To be called once; the writer is gone then.
    /// Throws HostError where the back-end fails or gives back what cannot be.
    std::vector<GroupResult> finish();

    /// After finish(): the directory of the recording; empty if the back-end makes none.
    const std::string& recording() const { return recordingDirectory; }

private:
    using Readers = std::vector<std::unique_ptr<logging2::core::StreamReader>>;

    void flush();
    Readers openReaders();

    Backend backend;
    std::vector<GroupInfo> groups;
    std::unique_ptr<logging2::core::StreamWriter> streamWriter;
    bool flushed = false;
    std::string recordingDirectory;
};

} // namespace simulate
