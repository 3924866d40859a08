#include <tests/integration/support/test_backends.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>

namespace integration {
namespace {

using logging2::core::DataStoreInfo;
using logging2::core::Group;
using logging2::core::LoggedPathsSetupData;
using logging2::core::MemoryDatastore;
using logging2::core::MemoryStreamReader;
using logging2::core::MemoryStreamWriter;
using logging2::core::SequenceMap;
using logging2::core::StreamingAttributes;
using logging2::core::StreamReader;
using logging2::core::StreamReaderService;
using logging2::core::StreamWriter;
using logging2::core::StreamWriterService;
using Setup = SequenceMap<Group, LoggedPathsSetupData>;
using MakeWriter =
    std::function<std::unique_ptr<StreamWriter>(const StreamingAttributes&, const Setup&)>;
using MakeReader = std::function<std::unique_ptr<StreamReader>(const boost::any&)>;

class DecliningWriter final : public MemoryStreamWriter {
public:
    using MemoryStreamWriter::MemoryStreamWriter;

    void rollback(std::size_t /*group*/, double /*time*/) override {
        foundation::issueWarning({"test", "RollbackNotSupported", {u"stream"}});
    }
};

SingleUseCounts& counts() {
    static SingleUseCounts instance;
    return instance;
}

class SingleUseWriter final : public MemoryStreamWriter {
public:
    using MemoryStreamWriter::MemoryStreamWriter;

    void flush() override {
        ++counts().flushes;
        MemoryStreamWriter::flush();
    }
};

class SingleUseReader final : public StreamReader {
public:
    explicit SingleUseReader(const boost::any& dataStore)
        : store(boost::any_cast<MemoryDatastore>(dataStore)),
          reader(dataStore) {
        ++counts().readersOpened;
    }
    ~SingleUseReader() override {
        ++counts().readersGone;
        store.times->clear();
        store.values->clear();
    }
    std::unique_ptr<StreamReader> clone() const override { return reader.clone(); }
    std::vector<double> times() const override { return reader.times(); }
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override {
        return reader.timeseries();
    }

private:
    MemoryDatastore store;
    MemoryStreamReader reader;
};

class TestWriterService final : public StreamWriterService {
public:
    explicit TestWriterService(MakeWriter function) : make(std::move(function)) {}
    std::unique_ptr<StreamWriter> createStreamWriter(const StreamingAttributes& attributes,
                                                     const Setup& setup) override {
        return make(attributes, setup);
    }

private:
    MakeWriter make;
};

class TestReaderService final : public StreamReaderService {
public:
    explicit TestReaderService(MakeReader function) : make(std::move(function)) {}
    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        return make(dataStore);
    }

private:
    MakeReader make;
};

template <class Writer>
std::unique_ptr<StreamWriter> make_writer(const StreamingAttributes& attributes,
                                          const Setup& setup) {
    return std::make_unique<Writer>(attributes, setup);
}

template <class Reader>
std::unique_ptr<StreamReader> make_reader(const boost::any& dataStore) {
    return std::make_unique<Reader>(dataStore);
}

std::unique_ptr<StreamReader> make_short_reader(const boost::any& dataStore) {
    boost::any_cast<MemoryDatastore>(dataStore).values->pop_back();
    return std::make_unique<MemoryStreamReader>(dataStore);
}

template <class Exception>
MakeWriter throwing(Exception exception) {
    return [exception](const StreamingAttributes&, const Setup&) -> std::unique_ptr<StreamWriter> {
        throw exception;
    };
}

void register_writer(const std::string& name, MakeWriter make) {
    cppmicroservices::ServiceProperties properties;
    properties[logging2::core::vtllogging_write_type_id()] = name;
    foundation::get_global_bundle_context().RegisterService<StreamWriterService>(
        std::make_shared<TestWriterService>(std::move(make)), properties);
}

void register_reader(const std::string& name, MakeReader make) {
    cppmicroservices::ServiceProperties properties;
    properties[logging2::core::vtllogging_read_type_id()] = name;
    foundation::get_global_bundle_context().RegisterService<StreamReaderService>(
        std::make_shared<TestReaderService>(std::move(make)), properties);
}

bool register_all() {
    foundation::install_and_start_vantrel_core();
    const auto context = foundation::get_global_bundle_context();
    logging2::core::register_builtin_backends(context);
    for (const auto& backend : logging2::core::builtin_backends()) {
        logging2::core::register_checked_backend(context, backend.name);
    }
    register_writer("declining", make_writer<DecliningWriter>);
    register_reader("declining", make_reader<MemoryStreamReader>);
    register_writer("single-use", make_writer<SingleUseWriter>);
    register_reader("single-use", make_reader<SingleUseReader>);
    register_writer("makes-nothing",
                    [](const StreamingAttributes&, const Setup&) { return nullptr; });
    register_reader("makes-nothing", [](const boost::any&) { return nullptr; });
    register_writer("throws", throwing(std::runtime_error("the cable is out")));
    register_writer("out-of-memory", throwing(std::bad_alloc()));
    register_writer("no-reader", make_writer<MemoryStreamWriter>);
    register_writer("short", make_writer<MemoryStreamWriter>);
    register_reader("short", make_short_reader);
    return true;
}

} // namespace

void register_test_backends() {
    static const bool done = register_all();
    static_cast<void>(done);
}

const SingleUseCounts& single_use_counts() {
    return counts();
}

SpyWriter::SpyWriter(const Setup& setup) : target(StreamingAttributes(), setup) {}

bool SpyWriter::write(std::size_t group, double time, const double* values, std::size_t n) {
    kept.emplace_back(time, std::vector<double>(values, values + n));
    return target.write(group, time, values, n) && accepts;
}

void SpyWriter::rollback(std::size_t group, double time) {
    while (!kept.empty() && kept.back().first > time) {
        takenBack.push_back(kept.back());
        kept.pop_back();
    }
    static_cast<StreamWriter&>(target).rollback(group, time);
}

boost::any SpyWriter::dataStore(const lang::core::ValuePath& path) const {
    return target.dataStore(path);
}

std::optional<DataStoreInfo> SpyWriter::dataStoreInfo() const {
    return target.dataStoreInfo();
}

void SpyWriter::flush() {
    target.flush();
}

void SpyWriter::flushIntermediate() {
    target.flushIntermediate();
}

void SpyWriter::close() {
    target.close();
}

} // namespace integration
