#pragma once

#include <logging2/export.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>

namespace logging2::core {

/// Makes the readers of one back-end.
///
/// A back-end registers an object of this interface in the host's service registry, under the
/// default interface identifier "logging2::core::StreamReaderService" and with the property
/// `vtllogging_read_type_id()` holding the back-end's name as a std::string.
///
/// The order of the virtual operations is fixed: back-ends are built apart from the library.
class LOGGING2_EXPORT StreamReaderService {
public:
    virtual ~StreamReaderService();

    /// A new reader of a store that a writer of the same back-end gave out. It must not depend on
    /// the service staying alive. What this throws reaches the caller of get_stream_reader()
    /// unchanged. It may be called on several threads at once.
    virtual std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) = 0;

protected:
    StreamReaderService() = default;
    StreamReaderService(const StreamReaderService&) = default;
    StreamReaderService(StreamReaderService&&) = default;
    StreamReaderService& operator=(const StreamReaderService&) = default;
    StreamReaderService& operator=(StreamReaderService&&) = default;
};

} // namespace logging2::core
