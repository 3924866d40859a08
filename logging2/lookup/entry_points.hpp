#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/stream/StreamReader.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>

#include <memory>
#include <optional>
#include <string>

namespace logging2::core {

/// Returns a new writer of the back-end that is registered under the name.
///
/// The optional has a value if a service was found; the pointer in it is null if that service
/// created no writer. The optional is empty if no service of that name is registered, if the bundle
/// context is invalid, or if the service object is null. If the service is unregistered or the
/// framework is stopped during the call, the service may count as not found.
///
/// The caller owns the writer, which stays usable after the service is gone.
///
/// If several services have the name, only the first one in the registry's order is tried: the one
/// with the highest ranking, and within a ranking the first registered.
///
/// The name becomes part of a registry filter without being escaped. Do not pass a name from an
/// untrusted source: `*` and a backslash in it match other names. A name that breaks the filter's
/// grammar, such as "a)b", throws std::invalid_argument if any writer service is registered.
/// Exceptions of the registry and of the back-end pass through unchanged.
///
/// Starts the host's service framework if it was never started. Any thread may call.
LOGGING2_EXPORT std::optional<std::unique_ptr<StreamWriter>>
get_stream_writer(const std::string& name, const StreamingAttributes& attributes,
                  const SequenceMap<Group, LoggedPathsSetupData>& setup);

/// Returns a new MemoryStreamWriter, whatever services are registered. The registry is not used.
///
/// The writer shares the data of the setup with the caller's handle. Any thread may call.
LOGGING2_EXPORT std::unique_ptr<StreamWriter>
get_default_stream_writer(const StreamingAttributes& attributes,
                          const SequenceMap<Group, LoggedPathsSetupData>& setup);

/// Returns a new reader from the back-end that is registered under the name. The data store must
/// come from a writer of the same back-end.
///
/// What get_stream_writer() says about the optional, the ownership, the name, exceptions and
/// threads holds here for the reader and the reader services.
LOGGING2_EXPORT std::optional<std::unique_ptr<StreamReader>>
get_stream_reader(const std::string& name, const boost::any& dataStore);

/// Returns a new MemoryStreamReader of the data store, whatever services are registered. The
/// registry is not used. An empty any gives a reader without data.
///
/// Throws boost::bad_any_cast if the any holds anything but a MemoryDatastore. Any thread may call.
LOGGING2_EXPORT std::unique_ptr<StreamReader>
get_default_stream_reader(const boost::any& dataStore);

} // namespace logging2::core
