#include <tests/integration/support/test_backends.hpp>

#include <examples/simulate/logging/recording.hpp>
#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>
#ifdef INTEGRATION_WITH_COLUMNAR
#include <logging2/backends/columnar/columnar.hpp>
#endif
#include <logging2/conformance/detail/TemporaryDirectory.hpp>

#include <new>
#include <stdexcept>
#include <string>

namespace integration {
namespace {

using logging2::core::Backend;
using logging2::core::DataStoreInfo;
using logging2::core::Group;
using logging2::core::LoggedPathsSetupData;
using logging2::core::make_backend;
using logging2::core::MemoryDatastore;
using logging2::core::MemoryStreamReader;
using logging2::core::MemoryStreamWriter;
using logging2::core::SequenceMap;
using logging2::core::StreamingAttributes;
using logging2::core::StreamReader;
using logging2::core::StreamWriter;
using Setup = SequenceMap<Group, LoggedPathsSetupData>;

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
        ++counts().readersDestroyed;
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

std::unique_ptr<StreamReader> make_short_reader(const boost::any& dataStore) {
    boost::any_cast<MemoryDatastore>(dataStore).values->pop_back();
    return std::make_unique<MemoryStreamReader>(dataStore);
}

Backend memory_backend(const std::string& name) {
    return make_backend<MemoryStreamWriter, MemoryStreamReader>(
        {name, "keeps every step in memory", true, false});
}

template <class Exception>
Backend throwing_backend(const std::string& name, Exception exception) {
    Backend backend = memory_backend(name);
    backend.createWriter = [exception](auto&&...) -> std::unique_ptr<StreamWriter> {
        throw exception;
    };
    return backend;
}

Backend null_backend(const std::string& name) {
    return {{name, "makes nothing", false, false},
            [](auto&&...) { return nullptr; },
            [](auto&&) { return nullptr; }};
}

Backend short_backend(const std::string& name) {
    Backend backend = memory_backend(name);
    backend.createReader = make_short_reader;
    return backend;
}

void register_columnar([[maybe_unused]] const cppmicroservices::BundleContext& context) {
#ifdef INTEGRATION_WITH_COLUMNAR
    logging2::core::register_columnar_backend(context);
    logging2::core::register_checked_backend(context, "columnar");
#endif
}

void register_recording(cppmicroservices::BundleContext context) {
    static const logging2::core::test::TemporaryDirectory recordings;
    simulate::offer_recording(recordings.path(), {});
    if (simulate::can_record()) {
        logging2::core::register_checked_backend(std::move(context), "recording");
    }
}

bool register_all() {
    foundation::install_and_start_vantrel_core();
    const auto context = foundation::get_global_bundle_context();
    logging2::core::register_builtin_backends(context);
    for (const auto& backend : logging2::core::builtin_backends()) {
        logging2::core::register_checked_backend(context, backend.name);
    }
    logging2::core::register_backends(
        context, {make_backend<DecliningWriter, MemoryStreamReader>(
                      {"declining", "keeps rejected steps", false, false}),
                  make_backend<SingleUseWriter, SingleUseReader>(
                      {"single-use", "is read once", true, false}),
                  null_backend("makes-nothing"),
                  throwing_backend("throws", std::runtime_error("the cable is out")),
                  throwing_backend("out-of-memory", std::bad_alloc()), short_backend("short")});
    logging2::core::register_backend(context, memory_backend("no-reader")).back().Unregister();
    register_columnar(context);
    register_recording(context);
    return true;
}

} // namespace

void register_test_backends() {
    static const bool done = register_all();
    static_cast<void>(done);
}

std::vector<std::string> backend_names() {
    std::vector<std::string> names;
    for (const auto& backend : logging2::core::builtin_backends()) {
        names.push_back(backend.name);
    }
#ifdef INTEGRATION_WITH_COLUMNAR
    names.push_back("columnar");
#endif
    if (simulate::can_record()) {
        names.push_back("recording");
    }
    return names;
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
        discarded.push_back(kept.back());
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
