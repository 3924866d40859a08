#include <backends/builtin/builtin_backends.hpp>

#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/memory/MemoryStreamReader.hpp>
#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>
#include <logging2/native/NativeStreamReader.hpp>
#include <logging2/native/NativeStreamWriter.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <memory>

namespace logging2::core {
namespace {

using cppmicroservices::BundleContext;
using cppmicroservices::ServiceProperties;
using cppmicroservices::ServiceRegistrationU;

template <class Writer>
class WriterService final : public StreamWriterService {
public:
    std::unique_ptr<StreamWriter>
    createStreamWriter(const StreamingAttributes& attributes,
                       const SequenceMap<Group, LoggedPathsSetupData>& setup) override {
        return std::make_unique<Writer>(attributes, setup);
    }
};

template <class Reader>
class ReaderService final : public StreamReaderService {
public:
    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        return std::make_unique<Reader>(dataStore);
    }
};

template <class Interface>
ServiceRegistrationU register_service(BundleContext& context,
                                      const std::shared_ptr<Interface>& service,
                                      const std::string& key, const std::string& name) {
    ServiceProperties properties;
    properties[key] = name;
    return context.RegisterService<Interface>(service, properties);
}

template <class Writer, class Reader>
void register_backend(BundleContext& context, const std::string& name,
                      std::vector<ServiceRegistrationU>& registrations) {
    registrations.push_back(register_service<StreamWriterService>(
        context, std::make_shared<WriterService<Writer>>(), vtllogging_write_type_id(), name));
    registrations.push_back(register_service<StreamReaderService>(
        context, std::make_shared<ReaderService<Reader>>(), vtllogging_read_type_id(), name));
}

} // namespace

const std::vector<std::string>& builtin_backend_names() {
    static const std::vector<std::string> names{"memory", "memory-restricted", "native"};
    return names;
}

std::vector<ServiceRegistrationU> register_builtin_backends(BundleContext context) {
    std::vector<ServiceRegistrationU> registrations;
    register_backend<MemoryStreamWriter, MemoryStreamReader>(context, "memory", registrations);
    register_backend<MemoryStreamRestrictedWriter, MemoryStreamReader>(context, "memory-restricted",
                                                                       registrations);
    register_backend<NativeStreamWriter, NativeStreamReader>(context, "native", registrations);
    return registrations;
}

} // namespace logging2::core
