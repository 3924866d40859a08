#include <logging2/conformance/detail/Session.hpp>

#include <logging2/conformance/detail/same_bits.hpp>
#include <logging2/host/foundation/bundle_context.hpp>
#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/lookup/entry_points.hpp>

#include <cppmicroservices/Constants.h>
#include <cppmicroservices/ServiceReference.h>

#include <numeric>
#include <optional>
#include <stdexcept>

namespace logging2::core::conformance {
namespace {

template <class Interface>
std::unique_ptr<Interface> taken(std::optional<std::unique_ptr<Interface>> found,
                                 const std::string& name) {
    if (!found || !*found) {
        throw std::runtime_error("the back-end \"" + name +
                                 "\" is not registered or made a null pointer");
    }
    return std::move(*found);
}

template <class Service>
std::shared_ptr<Service> service_of(const std::string& nameKey, const std::string& name) {
    auto context = foundation::get_global_bundle_context();
    const auto references = context.GetServiceReferences<Service>("(" + nameKey + "=" + name + ")");
    if (references.empty()) {
        throw std::runtime_error("the back-end \"" + name + "\" has no service with the key " +
                                 nameKey);
    }
    return context.GetService(references.front());
}

} // namespace

StreamingAttributes attributes(std::size_t pointLimit) {
    StreamingAttributes result;
    result.pointLimit = pointLimit;
    result.name = std::string_view("run 1");
    return result;
}

StreamingAttributes rolling_back(std::size_t pointLimit) {
    StreamingAttributes result = attributes(pointLimit);
    result.rollbackOnTimeRegression = true;
    return result;
}

Session::Session(Subject underTest) : tested(std::move(underTest)) {
    foundation::install_and_start_vantrel_core();
    registrations = tested.registerServices(foundation::get_global_bundle_context());
    formerHandler = foundation::setWarningHandler([this](const foundation::Message& message) {
        const std::lock_guard lock(mutex);
        issued.push_back(message);
    });
}

Session::~Session() {
    closeReaders();
    foundation::setWarningHandler(formerHandler);
    unregister();
}

std::unique_ptr<StreamWriter> Session::writer(const GroupSetup& setup,
                                              const StreamingAttributes& streaming) const {
    return taken(get_stream_writer(tested.info.name, streaming, setup), tested.info.name);
}

std::unique_ptr<StreamReader> Session::reader(const boost::any& dataStore) const {
    return taken(get_stream_reader(tested.info.name, dataStore), tested.info.name);
}

std::shared_ptr<StreamWriterService> Session::writerService() const {
    return service_of<StreamWriterService>(vtllogging_write_type_id(), tested.info.name);
}

std::shared_ptr<StreamReaderService> Session::readerService() const {
    return service_of<StreamReaderService>(vtllogging_read_type_id(), tested.info.name);
}

Series Session::read(const StreamWriter& writer, const std::string& path) {
    openReaders.push_back(reader(writer.dataStore(ValuePath(path))));
    return openReaders.back()->timeseries();
}

void Session::unregister() {
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.Unregister();
    }
    registrations.clear();
}

std::vector<foundation::Message> Session::warnings() const {
    const std::lock_guard lock(mutex);
    return issued;
}

void set_ranking(BackendRegistrations& registrations, const std::string& name, int ranking) {
    cppmicroservices::ServiceProperties properties;
    properties[vtllogging_write_type_id()] = name;
    properties[vtllogging_read_type_id()] = name;
    properties[cppmicroservices::Constants::SERVICE_RANKING] = ranking;
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.SetProperties(properties);
    }
}

void write_calls(StreamWriter& writer, std::size_t group, const Doubles& times, double first) {
    double call = first;
    for (const double time : times) {
        writer.write(group, time, &call, 1);
        call += 1.0;
    }
}

Doubles numbers(std::size_t count, double first) {
    Doubles result(count);
    std::iota(result.begin(), result.end(), first);
    return result;
}

testing::AssertionResult holds(const Series& series, const Doubles& times, const Doubles& values) {
    const auto sameTimes = test::sameBits(series.first, times);
    if (!sameTimes) {
        return testing::AssertionFailure() << "times: " << sameTimes.message();
    }
    const auto sameValues = test::sameBits(series.second, values);
    return sameValues ? sameValues
                      : testing::AssertionFailure() << "values: " << sameValues.message();
}

GroupSetup scalar_groups(std::size_t groupCount) {
    GroupSetup setup;
    for (std::size_t group = 0; group < groupCount; ++group) {
        const CoreDataId channel(100 + group);
        setup.insert(Group(group),
                     LoggedPathsSetupData({{ValuePath("x" + std::to_string(group)), channel}},
                                          {{channel, 1}}));
    }
    return setup;
}

} // namespace logging2::core::conformance
