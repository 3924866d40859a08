#include <python/src/bindings.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace logging2::python {
namespace {

namespace py = pybind11;
using core::Run;
using core::Series;
using lang::core::ValuePath;

/// A read-only array of the doubles, which stay alive as long as the array.
py::array view_of(const core::DoubleView& doubles, std::vector<py::ssize_t> shape,
                  const std::shared_ptr<const Series>& owner) {
    auto* const held = new std::shared_ptr<const Series>(owner);
    const py::capsule base(
        held, [](void* pointer) { delete static_cast<std::shared_ptr<const Series>*>(pointer); });
    // NumPy wants an address even for an array without elements.
    static const double nothing = 0.0;
    const double* const data = doubles.empty() ? &nothing : doubles.data();
    py::array result(py::dtype::of<double>(), std::move(shape), data, base);
    py::detail::array_proxy(result.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return result;
}

/// (times, values, whether they are views of the run's own memory or file). Values of a scalar
/// signal have one dimension.
py::tuple arrays_of(Series series) {
    const auto owner = std::make_shared<const Series>(std::move(series));
    const auto count = static_cast<py::ssize_t>(owner->size());
    const auto width = static_cast<py::ssize_t>(owner->width());
    std::vector<py::ssize_t> shape{count};
    if (width != 1) {
        shape.push_back(width);
    }
    return py::make_tuple(view_of(owner->times(), {count}, owner),
                          view_of(owner->values(), std::move(shape), owner), owner->isView());
}

/// An array of count x width doubles, or of count doubles if the signal is scalar.
py::array array_of(const std::vector<double>& values, std::size_t count, std::size_t width) {
    std::vector<py::ssize_t> shape{static_cast<py::ssize_t>(count)};
    if (width != 1) {
        shape.push_back(static_cast<py::ssize_t>(width));
    }
    return {py::dtype::of<double>(), std::move(shape), values.data()};
}

double seconds_of(std::chrono::system_clock::time_point time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// A run that several Python threads may use at once. Reads without the interpreter's lock.
///
/// In a forked child, which shares the files with its parent and may find locks held, `ask` throws
/// std::invalid_argument and the destructor does nothing.
class SharedRun {
public:
    explicit SharedRun(std::unique_ptr<Run> ownedRun) : run(std::move(ownedRun)) {}

    ~SharedRun() {
        if (isInherited()) {
            static_cast<void>(run.release());
        }
    }

    SharedRun(const SharedRun&) = delete;
    SharedRun& operator=(const SharedRun&) = delete;

    template <class Question>
    auto ask(Question question) const {
        if (isInherited()) {
            throw std::invalid_argument("the run belongs to the parent of this process");
        }
        const ReleasedInterpreter released;
        const std::lock_guard<std::mutex> guard(mutex);
        return question(*run);
    }

private:
    bool isInherited() const { return fork_count() != forks; }

    std::unique_ptr<Run> run;
    int forks = fork_count();
    mutable std::mutex mutex;
};

py::dict info_of(const SharedRun& shared) {
    const core::RunInfo info = shared.ask([](const Run& run) { return run.info(); });
    py::dict result;
    result["id"] = text_of(info.id);
    result["name"] = text_of(info.name);
    result["state"] = name_of(info.state);
    result["start"] = seconds_of(info.start);
    result["end"] = info.end ? py::cast(seconds_of(*info.end)) : py::none();
    py::dict properties;
    for (const auto& [key, value] : info.properties) {
        properties[text_of(key)] = text_of(value);
    }
    result["properties"] = properties;
    result["revision"] = info.revision;
    result["host"] = text_of(info.host);
    result["process"] = text_of(info.process);
    result["library_version"] = text_of(info.libraryVersion);
    return result;
}

py::list groups_of(const SharedRun& shared) {
    py::list result;
    for (const core::GroupInfo& group : shared.ask([](const Run& run) { return run.groups(); })) {
        result.append(py::make_tuple(group.id, group.stepCount, group.firstTime, group.lastTime));
    }
    return result;
}

py::list signals_of(const SharedRun& shared) {
    py::list result;
    for (const core::SignalInfo& signal :
         shared.ask([](const Run& run) { return run.signals(); })) {
        result.append(py::make_tuple(text_of(signal.path.text()), signal.group, signal.channel,
                                     signal.width));
    }
    return result;
}

py::dict summary_of(const SharedRun& shared, const std::string& path) {
    const core::SignalSummary summary =
        shared.ask([&](const Run& run) { return run.summary(ValuePath(path)); });
    py::dict result;
    result["step_count"] = summary.sampleCount;
    result["least_time"] = summary.leastTime;
    result["greatest_time"] = summary.greatestTime;
    result["least"] = summary.least;
    result["greatest"] = summary.greatest;
    result["nan_count"] = summary.nanCount;
    result["byte_count"] = summary.byteCount;
    return result;
}

py::tuple overview_of(const SharedRun& shared, const std::string& path, double from, double to,
                      py::ssize_t signedCount) {
    const auto bucketCount = static_cast<std::size_t>(std::max<py::ssize_t>(signedCount, 0));
    const core::Overview overview = shared.ask(
        [&](const Run& run) { return run.overview(ValuePath(path), from, to, bucketCount); });
    return py::make_tuple(array_of(overview.least, bucketCount, overview.width),
                          array_of(overview.greatest, bucketCount, overview.width));
}

py::list list_of(const std::string& directory) {
    std::vector<core::RecordingEntry> entries;
    {
        const ReleasedInterpreter released;
        entries = core::list_recordings(directory);
    }
    py::list result;
    for (const core::RecordingEntry& entry : entries) {
        result.append(py::make_tuple(name_of_file(entry.location), text_of(entry.fault)));
    }
    return result;
}

} // namespace

py::object object_of(std::unique_ptr<Run> run) {
    return py::cast(std::make_unique<SharedRun>(std::move(run)));
}

void bind_reading(py::module_& module) {
    py::class_<SharedRun>(module, "Run")
        .def(py::init([](const std::string& location) {
                 const ReleasedInterpreter released;
                 return std::make_unique<SharedRun>(core::open_recording(location));
             }),
             py::arg("location"))
        .def("info", info_of)
        .def("groups", groups_of)
        .def("signals", signals_of)
        .def("summary", summary_of, py::arg("path"))
        .def(
            "series",
            [](const SharedRun& shared, const std::string& path) {
                return arrays_of(
                    shared.ask([&](const Run& run) { return run.series(ValuePath(path)); }));
            },
            py::arg("path"))
        .def(
            "pieces",
            [](const SharedRun& shared, const std::string& path) {
                py::list result;
                for (Series& piece :
                     shared.ask([&](const Run& run) { return run.pieces(ValuePath(path)); })) {
                    result.append(arrays_of(std::move(piece)));
                }
                return result;
            },
            py::arg("path"))
        .def(
            "series_between",
            [](const SharedRun& shared, const std::string& path, double from, double to) {
                return arrays_of(shared.ask(
                    [&](const Run& run) { return run.series(ValuePath(path), from, to); }));
            },
            py::arg("path"), py::arg("start"), py::arg("stop"))
        .def(
            "series_of_steps",
            [](const SharedRun& shared, const std::string& path, std::size_t first,
               std::size_t count) {
                return arrays_of(shared.ask([&](const Run& run) {
                    return run.series(ValuePath(path), core::StepRange{first, count});
                }));
            },
            py::arg("path"), py::arg("first"), py::arg("count"))
        .def(
            "steps",
            [](const SharedRun& shared, std::size_t group, double from, double to) {
                const core::StepRange steps =
                    shared.ask([&](const Run& run) { return run.steps(group, from, to); });
                return py::make_tuple(steps.first, steps.count);
            },
            py::arg("group"), py::arg("start"), py::arg("stop"))
        .def("overview", overview_of, py::arg("path"), py::arg("start"), py::arg("stop"),
             py::arg("bucket_count"))
        .def("refresh",
             [](SharedRun& shared) { return shared.ask([](Run& run) { return run.refresh(); }); });
    module.def("list_recordings", list_of, py::arg("directory"));
}

} // namespace logging2::python
