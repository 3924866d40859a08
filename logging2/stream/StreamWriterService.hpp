#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <memory>

namespace logging2::core {

/// Makes the writers of one back-end.
///
/// A back-end registers an object of this interface in the host's service registry, under the
/// default interface identifier "logging2::core::StreamWriterService" and with the property
/// `vtllogging_write_type_id()` holding the back-end's name as a std::string.
///
/// The order of the virtual operations is fixed: back-ends are built apart from the library.
class LOGGING2_EXPORT StreamWriterService {
public:
    virtual ~StreamWriterService();

    /// A new writer, which must not depend on the service staying alive. What this throws reaches
    /// the caller of get_stream_writer() unchanged. It may be called on several threads at once.
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
