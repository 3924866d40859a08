#pragma once

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <logging2/logging2.hpp>
#include <tests/support/WarningRecorder.hpp>
#include <tests/support/setups.hpp>

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

using Series = std::pair<std::vector<double>, std::vector<double>>;

/// A sample of up to four doubles.
inline const double row[] = {1.0, 2.0, 3.0, 4.0};

inline constexpr const char* noError = "no error";

/// The text of the std::logic_error that the call throws, or a description of what happened
/// instead.
template <class Function>
std::string mistake_of(Function call) {
    try {
        call();
    } catch (const std::logic_error& error) {
        return error.what();
    } catch (const std::exception& error) {
        return std::string("not a logic error: ") + error.what();
    }
    return noError;
}

/// Groups of the given ids; group g has the scalar channel 100 + g, shown by the path "x" + g.
inline GroupSetup groups_of(const std::vector<std::size_t>& ids) {
    GroupSetup setup;
    for (const std::size_t id : ids) {
        const CoreDataId channel(100 + id);
        setup.insert(
            Group(id),
            LoggedPathsSetupData({{ValuePath("x" + std::to_string(id)), channel}}, {{channel, 1}}));
    }
    return setup;
}

/// Registers the built-in back-ends and their checked variants in the process's framework.
class CheckedBackendsTest : public ::testing::Test {
protected:
    CheckedBackendsTest() {
        foundation::install_and_start_vantrel_core();
        keep(register_builtin_backends(context()));
        for (const BackendInfo& backend : builtin_backends()) {
            keep(register_checked_backend(context(), backend.name));
        }
    }
    ~CheckedBackendsTest() override { unregister(); }

    static cppmicroservices::BundleContext context() {
        return foundation::get_global_bundle_context();
    }

    /// Keeps registrations until the end of the test.
    void keep(BackendRegistrations some) {
        for (auto& registration : some) {
            registrations.push_back(std::move(registration));
        }
    }

    /// Registers the inner back-end and "checked:" + its name.
    void registerWithChecks(const Backend& inner, const CheckedOptions& options = {}) {
        keep(register_backend(context(), inner));
        keep(register_checked_backend(context(), inner.name, options));
    }

    void unregister() {
        for (auto& registration : registrations) {
            registration.Unregister();
        }
        registrations.clear();
    }

    static std::unique_ptr<StreamWriter> writer(const std::string& name,
                                                const GroupSetup& setup = mixedWidthSetup()) {
        StreamingAttributes attributes;
        attributes.pointLimit = 1000;
        attributes.name = std::string_view("größe");
        return get_stream_writer(name, attributes, setup).value();
    }

    static std::unique_ptr<StreamReader> reader(const std::string& name, const boost::any& store) {
        return get_stream_reader(name, store).value();
    }

    SystemTempDirectory directory;
    BackendRegistrations registrations;
};

/// Tests that every built-in back-end must pass; the parameter is its name.
class CheckedBackendTest : public CheckedBackendsTest,
                           public ::testing::WithParamInterface<std::string> {
protected:
    static std::string checkedName() { return "checked:" + GetParam(); }

    static std::unique_ptr<StreamWriter>
    checkedWriter(const GroupSetup& setup = mixedWidthSetup()) {
        return writer(checkedName(), setup);
    }

    static Series read(const StreamWriter& source, const char* path) {
        return reader(checkedName(), source.dataStore(ValuePath(path)))->timeseries();
    }
};

/// The behaviour of the writers of the back-end "double" and the numbers of their calls.
struct Script {
    std::function<void()> onCreate = [] {};
    std::function<void()> onWrite = [] {};
    std::function<void()> onFlush = [] {};
    std::function<void()> onClose = [] {};
    int writeCount = 0;
    int flushCount = 0;
    int flushIntermediateCount = 0;
    int closeCount = 0;
};

class DoubleWriter final : public StreamWriter {
public:
    explicit DoubleWriter(std::shared_ptr<Script> shared) : script(std::move(shared)) {}

    bool write(std::size_t, double, const double*, std::size_t) override {
        ++script->writeCount;
        script->onWrite();
        return true;
    }
    void rollback(std::size_t, double) override {}
    boost::any dataStore(const ValuePath&) const override { return std::string("a store"); }
    std::optional<DataStoreInfo> dataStoreInfo() const override { return DataStoreInfo{{1, 2, 3}}; }
    void flush() override {
        ++script->flushCount;
        script->onFlush();
    }
    void flushIntermediate() override { ++script->flushIntermediateCount; }
    void close() override {
        ++script->closeCount;
        script->onClose();
    }

private:
    std::shared_ptr<Script> script;
};

inline Backend double_backend(const std::shared_ptr<Script>& script) {
    return {{"double", "", false, true},
            [script](const StreamingAttributes&, const GroupSetup&) {
                script->onCreate();
                return std::make_unique<DoubleWriter>(script);
            },
            [](const boost::any&) { return nullptr; }};
}

} // namespace logging2::core::test
