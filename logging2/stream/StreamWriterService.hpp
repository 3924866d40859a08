#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <memory>

namespace logging2::core {

/// Creates the writers of one back-end.
///
/// A back-end registers an object that implements this interface in the host's service registry. It
/// uses the default interface identifier "logging2::core::StreamWriterService" and sets the
/// property `vtllogging_write_type_id()` to the back-end's name as a std::string.
/// register_backend() does this for a back-end that is described by a Backend record.
///
/// The order of the virtual operations never changes, because back-ends are compiled separately
/// from the library.
class LOGGING2_EXPORT StreamWriterService {
public:
    virtual ~StreamWriterService();

    /// Returns a new writer. The caller owns it, and it must keep working after the service is
    /// gone.
    ///
    /// Every exception reaches the caller of get_stream_writer() unchanged. Several threads may
    /// call this at once.
    virtual std::unique_ptr<StreamWriter>
    createStreamWriter(const StreamingAttributes& attributes,
                       const SequenceMap<Group, LoggedPathsSetupData>& setup) = 0;

protected:
    StreamWriterService() = default;
    StreamWriterService(const StreamWriterService&) = default;
    StreamWriterService(StreamWriterService&&) = default;
    StreamWriterService& operator=(const StreamWriterService&) = default;
    StreamWriterService& operator=(StreamWriterService&&) = default;
};

} // namespace logging2::core
