#pragma once

#include <logging2/export.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>

namespace logging2::core {

/// Creates the readers of one back-end.
///
/// A back-end registers an object that implements this interface in the host's service registry. It
/// uses the default interface identifier "logging2::core::StreamReaderService" and sets the
/// property `vtllogging_read_type_id()` to the back-end's name as a std::string. register_backend()
/// does this for a back-end that is described by a Backend record.
///
/// The order of the virtual operations never changes, because back-ends are compiled separately
/// from the library.
class LOGGING2_EXPORT StreamReaderService {
public:
    virtual ~StreamReaderService();

    /// Returns a new reader of a data store that a writer of the same back-end returned. An empty
    /// any gives a reader without data. The caller owns the reader, which must keep working after
    /// the service is gone.
    ///
    /// Throws boost::bad_any_cast if the any holds a store of another back-end. Every exception
    /// reaches the caller of get_stream_reader() unchanged. Several threads may call this at once.
    virtual std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) = 0;

protected:
    StreamReaderService() = default;
    StreamReaderService(const StreamReaderService&) = default;
    StreamReaderService(StreamReaderService&&) = default;
    StreamReaderService& operator=(const StreamReaderService&) = default;
    StreamReaderService& operator=(StreamReaderService&&) = default;
};

} // namespace logging2::core
