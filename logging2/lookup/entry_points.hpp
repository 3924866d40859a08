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

/// A writer of the back-end that is registered under the name, or the empty optional where there
/// is none: no service of that name (also if it is unregistered meanwhile), no valid bundle
/// context, or a service object that is null.
/// With several services of one name the registry's first is taken, and only that one is tried.
///
/// The optional is engaged as soon as a service was asked: where the service makes no writer, it
/// holds a null pointer. The writer belongs to the caller and outlives the service.
///
/// The name goes into a registry filter unescaped: `*` and a backslash match other names, and a
/// name that breaks the filter's grammar, such as "a)b", throws std::invalid_argument as soon as
/// any writer service is registered. What the service throws comes out unchanged.
///
/// Starts the host's service framework where that has not been done. Any thread may call.
LOGGING2_EXPORT std::optional<std::unique_ptr<StreamWriter>>
get_stream_writer(const std::string& name, const StreamingAttributes& attributes,
                  const SequenceMap<Group, LoggedPathsSetupData>& setup);

/// A MemoryStreamWriter, whatever services are registered; the registry is not asked.
/// The writer shares the setup's block. Any thread may call.
LOGGING2_EXPORT std::unique_ptr<StreamWriter>
get_default_stream_writer(const StreamingAttributes& attributes,
                          const SequenceMap<Group, LoggedPathsSetupData>& setup);

/// A reader of the back-end that is registered under the name, over a store that a writer of the
/// same back-end gave out. Otherwise as get_stream_writer().
LOGGING2_EXPORT std::optional<std::unique_ptr<StreamReader>>
get_stream_reader(const std::string& name, const boost::any& dataStore);

/// A MemoryStreamReader over the store, whatever services are registered; the registry is not
/// asked. Throws boost::bad_any_cast where the store is not one of a memory writer. Any thread may
/// call.
LOGGING2_EXPORT std::unique_ptr<StreamReader>
get_default_stream_reader(const boost::any& dataStore);

} // namespace logging2::core
