#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/stream/StreamReader.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <boost/any.hpp>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core {

/// Describes a back-end, so that a host can choose one before it creates a writer.
struct BackendInfo {
    /// The name that get_stream_writer() and get_stream_reader() take.
    std::string name;

    /// One line for people, without a full stop, such as "keeps every step in memory".
    std::string description;

    /// Whether `rollback` discards samples. If false, `rollback` issues a warning and keeps them.
    bool supportsRollback = false;

    /// Whether the data outlives the process.
    bool isPersistent = false;
};

/// A back-end: its description and the functions that create its writers and readers.
struct Backend : BackendInfo {
    /// Creates a writer. Several threads may call it at once. Its exceptions reach the caller of
    /// get_stream_writer() unchanged.
    std::function<std::unique_ptr<StreamWriter>(
        const StreamingAttributes& attributes,
        const SequenceMap<Group, LoggedPathsSetupData>& setup)>
        createWriter;

    /// Creates a reader of a data store that one of these writers returned. Several threads may
    /// call it at once. Its exceptions reach the caller of get_stream_reader() unchanged.
    std::function<std::unique_ptr<StreamReader>(const boost::any& dataStore)> createReader;
};

/// Returns a back-end that creates its writers and readers with the constructors
/// `Writer(StreamingAttributes, SequenceMap<Group, LoggedPathsSetupData>)` and
/// `Reader(const boost::any&)`.
template <class Writer, class Reader>
Backend make_backend(BackendInfo info) {
    return {std::move(info),
            [](const StreamingAttributes& attributes,
               const SequenceMap<Group, LoggedPathsSetupData>& setup) {
                return std::make_unique<Writer>(attributes, setup);
            },
            [](const boost::any& dataStore) { return std::make_unique<Reader>(dataStore); }};
}

/// Handles of the services of back-ends, for a host that wants to unregister them. Destroying the
/// handles leaves the services registered.
using BackendRegistrations = std::vector<cppmicroservices::ServiceRegistrationU>;

/// Registers the back-end's writer service and reader service, so that get_stream_writer() and
/// get_stream_reader() find them by the back-end's name. Returns the two registrations.
///
/// If a name is registered twice, the look-up finds the first registration.
///
/// Throws std::invalid_argument if a function is missing, or if the name is empty or contains `*`,
/// `(`, `)`, `\` or the delete character (0x7F), which have a meaning in the registry's filters.
/// Throws cppmicroservices::IllegalStateException if the context is invalid. Nothing stays
/// registered after an error. Any thread may call.
LOGGING2_EXPORT BackendRegistrations register_backend(cppmicroservices::BundleContext context,
                                                      const Backend& backend);

/// Registers all of the back-ends in their order, or none of them if one cannot be registered.
/// Returns the registrations, two per back-end. Throws what register_backend() throws. Any thread
/// may call.
LOGGING2_EXPORT BackendRegistrations register_backends(cppmicroservices::BundleContext context,
                                                       const std::vector<Backend>& backends);

/// Returns a description of each registered back-end that has a writer service.
///
/// The order is that of the registry: the highest ranking first, and within a ranking the first
/// registered first. If several services have one name, the name is listed once, with the service
/// that get_stream_writer() finds. Of a service that was registered without register_backend(),
/// only the name is known.
///
/// Throws cppmicroservices::IllegalStateException if the context is invalid. Any thread may call.
LOGGING2_EXPORT std::vector<BackendInfo>
registered_backends(cppmicroservices::BundleContext context);

/// Loads a shared library and registers the back-ends that it offers. Returns their registrations,
/// two per back-end.
///
/// The shared library must export a function of this name and type, which appends its back-ends:
///
///     extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends);
///
/// The file is found as `dlopen` finds it: a name with a slash is a path, and any other name is
/// looked up in the system's library directories. A loaded library stays loaded until the process
/// ends, even after an error.
///
/// Throws std::runtime_error if the library cannot be loaded or does not export the function, even
/// if a library that it depends on does; the message names the file and the reason. Also throws
/// what register_backend() and the library's function throw. Nothing stays registered after an
/// error. Any thread may call.
LOGGING2_EXPORT BackendRegistrations load_backends(const std::string& file,
                                                   cppmicroservices::BundleContext context);

} // namespace logging2::core
