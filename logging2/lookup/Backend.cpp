#include <logging2/lookup/Backend.hpp>

#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <dlfcn.h>
#include <link.h>

#include <set>
#include <stdexcept>

namespace logging2::core {
namespace {

using cppmicroservices::Any;
using cppmicroservices::BundleContext;
using cppmicroservices::ServiceProperties;

// The keys of the service properties that describe a back-end, apart from the key of its name.
constexpr const char* descriptionKey = "logging2.description";
constexpr const char* supportsRollbackKey = "logging2.supportsRollback";
constexpr const char* isPersistentKey = "logging2.isPersistent";

class BackendWriterService final : public StreamWriterService {
public:
    explicit BackendWriterService(decltype(Backend::createWriter) function)
        : create(std::move(function)) {}

    std::unique_ptr<StreamWriter>
    createStreamWriter(const StreamingAttributes& attributes,
                       const SequenceMap<Group, LoggedPathsSetupData>& setup) override {
        return create(attributes, setup);
    }

private:
    decltype(Backend::createWriter) create;
};

class BackendReaderService final : public StreamReaderService {
public:
    explicit BackendReaderService(decltype(Backend::createReader) function)
        : create(std::move(function)) {}

    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        return create(dataStore);
    }

private:
    decltype(Backend::createReader) create;
};

void check(const Backend& backend) {
    const std::string quoted = "the back-end \"" + backend.name + '"';
    if (backend.name.empty()) {
        throw std::invalid_argument("register_backend: the back-end has no name");
    }
    if (backend.name.find_first_of("*()\\\x7f") != std::string::npos) {
        throw std::invalid_argument("register_backend: the name of " + quoted +
                                    " contains * ( ) \\ or the delete character");
    }
    if (!backend.createWriter || !backend.createReader) {
        throw std::invalid_argument("register_backend: " + quoted + " has no " +
                                    (backend.createWriter ? "createReader" : "createWriter"));
    }
}

ServiceProperties properties_of(const BackendInfo& info, const std::string& nameKey) {
    ServiceProperties properties;
    properties[nameKey] = info.name;
    properties[descriptionKey] = info.description;
    properties[supportsRollbackKey] = info.supportsRollback;
    properties[isPersistentKey] = info.isPersistent;
    return properties;
}

/// Returns the property's value, or a default-constructed value if the property is absent or has
/// another type.
template <class Value>
Value property(const cppmicroservices::ServiceReferenceBase& service, const std::string& key) {
    const Any any = service.GetProperty(key);
    const auto* const value = cppmicroservices::any_cast<Value>(&any);
    return value == nullptr ? Value() : *value;
}

void register_services(BundleContext& context, const Backend& backend,
                       BackendRegistrations& registrations) {
    check(backend);
    registrations.emplace_back(context.RegisterService<StreamWriterService>(
        std::make_shared<BackendWriterService>(backend.createWriter),
        properties_of(backend, vtllogging_write_type_id())));
    registrations.emplace_back(context.RegisterService<StreamReaderService>(
        std::make_shared<BackendReaderService>(backend.createReader),
        properties_of(backend, vtllogging_read_type_id())));
}

using OfferBackends = void(std::vector<Backend>&);

/// Returns whether the function is defined by the library itself, not by one that it depends on.
bool is_in(void* library, void* function) {
    link_map* own = nullptr;
    void* owner = nullptr;
    Dl_info info{};
    return dlinfo(library, RTLD_DI_LINKMAP, &own) == 0 &&
           dladdr1(function, &info, &owner, RTLD_DL_LINKMAP) != 0 && owner == own;
}

/// Returns the library's function. The library is never unloaded: its writers and readers may still
/// be in use, and threads that its initialisers started may not survive the unloading.
OfferBackends* load_function(const std::string& file) {
    const std::string failed = "cannot load back-ends from \"" + file + "\": ";
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        // dlerror() keeps a separate message for each thread.
        throw std::runtime_error(failed + dlerror()); // NOLINT(concurrency-mt-unsafe)
    }
    void* const function = dlsym(library, "logging2_backends");
    if (function == nullptr || !is_in(library, function)) {
        throw std::runtime_error(failed +
                                 "it does not export the function logging2_backends, which "
                                 "must be declared extern \"C\" and be visible");
    }
    return reinterpret_cast<OfferBackends*>(function);
}

} // namespace

BackendRegistrations register_backend(BundleContext context, const Backend& backend) {
    return register_backends(std::move(context), {backend});
}

BackendRegistrations register_backends(BundleContext context,
                                       const std::vector<Backend>& backends) {
    BackendRegistrations registrations;
    // Allocates before the first service is registered, so that no handle can be lost later.
    registrations.reserve(2 * backends.size());
    try {
        for (const Backend& backend : backends) {
            register_services(context, backend, registrations);
        }
    } catch (...) {
        for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
            registration.Unregister();
        }
        throw;
    }
    return registrations;
}

std::vector<BackendInfo> registered_backends(BundleContext context) {
    std::vector<BackendInfo> backends;
    std::set<std::string> names;
    const std::string nameKey = vtllogging_write_type_id();
    for (const auto& service : context.GetServiceReferences<StreamWriterService>()) {
        const auto name = property<std::string>(service, nameKey);
        if (!name.empty() && names.insert(name).second) {
            backends.push_back({name, property<std::string>(service, descriptionKey),
                                property<bool>(service, supportsRollbackKey),
                                property<bool>(service, isPersistentKey)});
        }
    }
    return backends;
}

BackendRegistrations load_backends(const std::string& file, BundleContext context) {
    std::vector<Backend> backends;
    load_function(file)(backends);
    return register_backends(std::move(context), backends);
}

} // namespace logging2::core
