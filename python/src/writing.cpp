#include <python/src/SharedWriter.hpp>
#include <python/src/bindings.hpp>

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/backends/checked/checked.hpp>
#ifdef LOGGING2_WITH_COLUMNAR
#include <logging2/backends/columnar/columnar.hpp>
#endif
#include <logging2/backends/recording/recording.hpp>
#include <logging2/logging2.hpp>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace logging2::python {
namespace {

namespace py = pybind11;
using core::Group;
using core::StreamWriter;
using lang::core::ValuePath;

/// The signals of a group, with their widths.
using Signals = std::vector<std::pair<std::string, std::size_t>>;
using Setup = core::SequenceMap<Group, core::LoggedPathsSetupData>;

/// What the names of back-ends that report mistakes begin with; see register_checked_backend().
constexpr std::string_view checkedPrefix = "checked:";

/// Starts the registry of back-ends with the built-in ones, once per process.
cppmicroservices::BundleContext context() {
    static const bool isStarted = [] {
        foundation::install_and_start_vantrel_core();
        core::register_builtin_backends(foundation::get_global_bundle_context());
#ifdef LOGGING2_WITH_COLUMNAR
        core::register_columnar_backend(foundation::get_global_bundle_context());
#endif
        return true;
    }();
    static_cast<void>(isStarted);
    return foundation::get_global_bundle_context();
}

/// Group k has the number k. Each signal has a channel of its own, numbered through all groups.
Setup setup_of(const std::vector<Signals>& groups) {
    Setup setup;
    std::size_t channel = 0;
    for (std::size_t group = 0; group < groups.size(); ++group) {
        std::vector<core::LoggedPath> paths;
        std::vector<core::LoggedChannel> channels;
        for (const auto& [path, width] : groups[group]) {
            paths.push_back({ValuePath(path), core::CoreDataId(channel)});
            channels.push_back({core::CoreDataId(channel), width});
            ++channel;
        }
        setup.insert(Group(group), core::LoggedPathsSetupData(paths, channels));
    }
    return setup;
}

void check_name(const std::string& name) {
    if (name.empty() || name.find_first_of("*()\\") != std::string::npos) {
        throw std::invalid_argument("\"" + name + "\" is no name of a back-end");
    }
}

void register_recording() {
    static const auto registrations = core::register_recording_backend(context());
    static_cast<void>(registrations);
}

/// Registers the back-end if its name begins with "checked:", once. The caller holds the GIL.
void register_if_checked(const std::string& backend) {
    static std::map<std::string, core::BackendRegistrations> registered;
    if (backend.rfind(checkedPrefix, 0) != 0 || registered.count(backend) != 0) {
        return;
    }
    const std::string inner = backend.substr(checkedPrefix.size());
    check_name(inner);
    if (inner == "recording") {
        register_recording();
    }
    register_if_checked(inner);
    registered.emplace(backend, core::register_checked_backend(context(), inner));
}

std::unique_ptr<StreamWriter> found_writer(const std::string& backend,
                                           const core::StreamingAttributes& attributes,
                                           const Setup& setup) {
    check_name(backend);
    context();
    register_if_checked(backend);
    auto writer = core::get_stream_writer(backend, attributes, setup);
    if (!writer || *writer == nullptr) {
        throw std::invalid_argument("there is no back-end \"" + backend + '"');
    }
    return std::move(*writer);
}

std::vector<std::size_t> row_lengths(const std::vector<Signals>& groups) {
    std::vector<std::size_t> result;
    for (const Signals& signals : groups) {
        result.push_back(0);
        for (const auto& signal : signals) {
            result.back() += signal.second;
        }
    }
    return result;
}

core::StreamingAttributes attributes_of(const std::string& name, bool rollbackOnTimeRegression,
                                        std::size_t pointLimit) {
    core::StreamingAttributes attributes;
    attributes.name = core::BasicTableString<char>(name);
    attributes.rollbackOnTimeRegression = rollbackOnTimeRegression;
    attributes.pointLimit = pointLimit;
    return attributes;
}

std::unique_ptr<SharedWriter> make_writer(const std::string& backend,
                                          const std::vector<Signals>& groups,
                                          const std::string& name, bool rollbackOnTimeRegression,
                                          std::size_t pointLimit) {
    return std::make_unique<SharedWriter>(
        backend,
        found_writer(backend, attributes_of(name, rollbackOnTimeRegression, pointLimit),
                     setup_of(groups)),
        row_lengths(groups), "");
}

std::unique_ptr<SharedWriter> make_recording(const std::vector<Signals>& groups,
                                             const std::string& name, bool rollbackOnTimeRegression,
                                             const std::string& directory,
                                             const std::map<std::string, std::string>& properties,
                                             bool isPacked, bool survivesPowerLoss,
                                             std::size_t heldBackSteps) {
    core::RecordingOptions options;
    options.directory = directory;
    options.properties = properties;
    options.compression = isPacked ? core::Compression::lz4 : core::Compression::none;
    options.durability = survivesPowerLoss ? core::Durability::power : core::Durability::process;
    options.heldBackSteps = heldBackSteps;
    register_recording();
    auto writer = std::make_unique<core::RecordingStreamWriter>(
        attributes_of(name, rollbackOnTimeRegression, 0), setup_of(groups), options);
    const std::string location = writer->location();
    return std::make_unique<SharedWriter>("recording", std::move(writer), row_lengths(groups),
                                          location);
}

std::unique_ptr<StreamWriter>
columnar_writer([[maybe_unused]] const std::vector<Signals>& groups,
                [[maybe_unused]] const core::StreamingAttributes& attributes,
                [[maybe_unused]] std::size_t byteLimit, [[maybe_unused]] bool discardsOldest) {
#ifdef LOGGING2_WITH_COLUMNAR
    context();
    core::ColumnarOptions options;
    options.byteLimit = byteLimit;
    options.beyondLimit =
        discardsOldest ? core::BeyondLimit::discardOldest : core::BeyondLimit::refuse;
    return std::make_unique<core::ColumnarStreamWriter>(attributes, setup_of(groups), options);
#else
    throw std::invalid_argument("there is no back-end \"columnar\"");
#endif
}

std::unique_ptr<SharedWriter> make_columnar(const std::vector<Signals>& groups,
                                            const std::string& name, bool rollbackOnTimeRegression,
                                            std::size_t byteLimit, bool discardsOldest) {
    return std::make_unique<SharedWriter>(
        "columnar",
        columnar_writer(groups, attributes_of(name, rollbackOnTimeRegression, 0), byteLimit,
                        discardsOldest),
        row_lengths(groups), "");
}

std::vector<std::string> backend_names() {
    std::vector<std::string> result{"recording"};
    for (const core::BackendInfo& backend : core::registered_backends(context())) {
        if (backend.name != "recording" && backend.name.rfind(checkedPrefix, 0) != 0) {
            result.push_back(backend.name);
        }
    }
    return result;
}

} // namespace

void bind_writing(py::module_& module) {
    py::class_<SharedWriter>(module, "Writer")
        .def("write", &SharedWriter::write, py::arg("group"), py::arg("time"), py::arg("values"))
        .def("rollback", &SharedWriter::rollback, py::arg("group"), py::arg("time"))
        .def(
            "read",
            [](SharedWriter& writer, const std::string& path) {
                const auto [times, values] = writer.read(path);
                return py::make_tuple(
                    py::array_t<double>(static_cast<py::ssize_t>(times.size()), times.data()),
                    py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data()));
            },
            py::arg("path"))
        .def("flush", &SharedWriter::flush)
        .def("show", &SharedWriter::show)
        .def("abandon", &SharedWriter::abandon)
        .def("run", [](SharedWriter& writer) { return object_of(writer.run(std::nullopt)); })
        .def(
            "snapshot",
            [](SharedWriter& writer, double from, double to) {
                return object_of(writer.run(std::pair(from, to)));
            },
            py::arg("start"), py::arg("stop"))
        .def_property_readonly(
            "location", [](const SharedWriter& writer) { return name_of_file(writer.place()); });
    module.def("make_writer", make_writer, py::arg("backend"), py::arg("groups"), py::arg("name"),
               py::arg("rollback_on_time_regression"), py::arg("point_limit"));
    module.def("make_recording", make_recording, py::arg("groups"), py::arg("name"),
               py::arg("rollback_on_time_regression"), py::arg("directory"), py::arg("properties"),
               py::arg("compress"), py::arg("survive_power_loss"), py::arg("held_back_steps"));
    module.def("make_columnar", make_columnar, py::arg("groups"), py::arg("name"),
               py::arg("rollback_on_time_regression"), py::arg("byte_limit"),
               py::arg("discard_oldest"));
    module.def("backend_names", backend_names);
    module.def(
        "load_backends", [](const std::string& file) { core::load_backends(file, context()); },
        py::arg("file"));
}

} // namespace logging2::python
