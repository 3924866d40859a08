#include <logging2/lookup/entry_points.hpp>

#include <logging2/host/foundation/bundle_context.hpp>
#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/memory/MemoryStreamReader.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceReference.h>

#include <stdexcept>

namespace logging2::core {
namespace {

/// Returns the service object. Returns null if there is none or if the service was unregistered
/// after it was found.
template <class Service>
std::shared_ptr<Service> object_of(cppmicroservices::BundleContext& context,
                                   const cppmicroservices::ServiceReference<Service>& reference) {
    try {
        return context.GetService(reference);
    } catch (const std::invalid_argument&) {
        return nullptr;
    }
}

/// Returns the object of the registry's first service whose property has the value, or null.
template <class Service>
std::shared_ptr<Service> find_service(const std::string& key, const std::string& value) {
    // Intended: the value is not escaped. Callers can therefore look up by pattern, and they must
    // not pass names from untrusted sources.
    const std::string filter = "(" + key + "=" + value + ")";
    cppmicroservices::BundleContext context = foundation::get_global_bundle_context();
    if (!context) {
        return nullptr;
    }
    std::shared_ptr<Service> service;
    try {
        const auto references = context.GetServiceReferences<Service>(filter);
        // Intended: only the first reference is tried, so that another back-end of the same name
        // does not hide a broken one.
        service = references.empty() ? nullptr : object_of(context, references.front());
    } catch (const cppmicroservices::IllegalStateException&) {
        // The framework was stopped after the context was found valid, so there is no service.
    }
    return service;
}

} // namespace

std::optional<std::unique_ptr<StreamWriter>>
get_stream_writer(const std::string& name, const StreamingAttributes& attributes,
                  const SequenceMap<Group, LoggedPathsSetupData>& setup) {
    foundation::install_and_start_vantrel_core();
    const auto service = find_service<StreamWriterService>(vtllogging_write_type_id(), name);
    if (!service) {
        return std::nullopt;
    }
    return service->createStreamWriter(attributes, setup);
}

std::unique_ptr<StreamWriter>
get_default_stream_writer(const StreamingAttributes& attributes,
                          const SequenceMap<Group, LoggedPathsSetupData>& setup) {
    return std::make_unique<MemoryStreamWriter>(attributes, setup);
}

std::optional<std::unique_ptr<StreamReader>> get_stream_reader(const std::string& name,
                                                               const boost::any& dataStore) {
    foundation::install_and_start_vantrel_core();
    const auto service = find_service<StreamReaderService>(vtllogging_read_type_id(), name);
    if (!service) {
        return std::nullopt;
    }
    return service->createStreamReader(dataStore);
}

std::unique_ptr<StreamReader> get_default_stream_reader(const boost::any& dataStore) {
    return std::make_unique<MemoryStreamReader>(dataStore);
}

} // namespace logging2::core
