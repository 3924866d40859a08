#include "OnChangeStreamReader.hpp"
#include "OnChangeStreamWriter.hpp"

#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using logging2::core::StreamingAttributes;
using logging2::core::StreamReader;
using logging2::core::StreamReaderService;
using logging2::core::StreamWriter;
using logging2::core::StreamWriterService;
using logging2::core::vtllogging_read_type_id;
using logging2::core::vtllogging_write_type_id;

class OnChangeWriterService final : public StreamWriterService {
public:
    std::unique_ptr<StreamWriter> createStreamWriter(const StreamingAttributes& attributes,
                                                     const custom_backend::Setup& setup) override {
        return std::make_unique<custom_backend::OnChangeStreamWriter>(attributes, setup);
    }
};

class OnChangeReaderService final : public StreamReaderService {
public:
    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        return std::make_unique<custom_backend::OnChangeStreamReader>(dataStore);
    }
};

} // namespace

/// Found by its name in the loaded library. The library stays loaded as long as one of its
/// services, writers, readers or stores lives.
extern "C" void
register_backend(cppmicroservices::BundleContext& context,
                 std::vector<cppmicroservices::ServiceRegistrationU>& registrations) {
    const std::string name = "on-change";
    cppmicroservices::ServiceProperties writes;
    writes[vtllogging_write_type_id()] = name;
    registrations.emplace_back(context.RegisterService<StreamWriterService>(
        std::make_shared<OnChangeWriterService>(), writes));
    cppmicroservices::ServiceProperties reads;
    reads[vtllogging_read_type_id()] = name;
    registrations.emplace_back(context.RegisterService<StreamReaderService>(
        std::make_shared<OnChangeReaderService>(), reads));
}
