#include <python/src/SharedWriter.hpp>

#include <python/src/Row.hpp>

#ifdef LOGGING2_WITH_COLUMNAR
#include <logging2/backends/columnar/columnar.hpp>
#endif
#include <logging2/logging2.hpp>

#include <exception>
#include <stdexcept>

namespace logging2::python {
namespace {

namespace py = pybind11;
using core::StreamReader;
using core::StreamWriter;

/// The run of a writer that keeps it in memory, or only the steps of an interval; null if the
/// writer does not.
std::unique_ptr<core::Run>
run_in_memory([[maybe_unused]] const StreamWriter& writer,
              [[maybe_unused]] const std::optional<std::pair<double, double>>& interval) {
#ifdef LOGGING2_WITH_COLUMNAR
    if (const auto* const columnar = dynamic_cast<const core::ColumnarStreamWriter*>(&writer)) {
        return interval ? columnar->snapshot(interval->first, interval->second) : columnar->run();
    }
#endif
    return nullptr;
}

/// Flushes a writer of "native". Its destructor ends the process if a buffer has been full.
void flush_if_native(StreamWriter* writer) {
    if (dynamic_cast<core::NativeStreamWriter*>(writer) == nullptr) {
        return;
    }
    try {
        writer->flush();
    } catch (const std::exception&) {
        return; // the files keep what they have
    }
}

} // namespace

SharedWriter::SharedWriter(std::string backendName, std::unique_ptr<StreamWriter> ownedWriter,
                           std::vector<std::size_t> lengths, std::string place)
    : backend(std::move(backendName)),
      location(std::move(place)),
      rowLengths(std::move(lengths)),
      writer(std::move(ownedWriter)) {}

SharedWriter::~SharedWriter() {
    if (!isInherited()) {
        discard();
        return;
    }
    for (auto& [path, reader] : readers) {
        static_cast<void>(reader.release());
    }
    static_cast<void>(writer.release());
}

template <class Action>
void SharedWriter::locked(Action action) {
    const ReleasedInterpreter released;
    if (isInherited()) {
        throw std::invalid_argument("the writer belongs to the parent of this process");
    }
    const std::lock_guard<std::mutex> guard(mutex);
    action();
}

template <class Action>
void SharedWriter::change(Action action) {
    locked([&] {
        StreamWriter& target = opened();
        if (isFinal) {
            throw std::invalid_argument("everything is final; nothing can be logged any more");
        }
        action(target);
    });
}

void SharedWriter::write(py::ssize_t group, double time, const py::object& values) {
    const std::size_t length = row_length(group);
    const Row row(values);
    if (row.size() != length) {
        throw std::invalid_argument("a row of group " + std::to_string(group) + " has " +
                                    std::to_string(length) + " values, not " +
                                    std::to_string(row.size()));
    }
    change([&](StreamWriter& target) {
        target.write(static_cast<std::size_t>(group), time, row.data(), row.size());
    });
}

void SharedWriter::rollback(py::ssize_t group, double time) {
    row_length(group);
    change([&](StreamWriter& target) { target.rollback(static_cast<std::size_t>(group), time); });
}

std::pair<std::vector<double>, std::vector<double>> SharedWriter::read(const std::string& path) {
    std::pair<std::vector<double>, std::vector<double>> result;
    locked([&] {
        opened();
        if (!isFinal) {
            throw std::invalid_argument("samples can be read after flush");
        }
        result = samples_of(path);
    });
    return result;
}

void SharedWriter::flush() {
    locked([&] {
        if (!isFinal) {
            opened().flush();
            isFinal = true;
        }
    });
}

void SharedWriter::show() {
    change([](StreamWriter& target) { target.flushIntermediate(); });
}

std::unique_ptr<core::Run>
SharedWriter::run(const std::optional<std::pair<double, double>>& interval) {
    std::unique_ptr<core::Run> result;
    locked([&] { result = run_in_memory(opened(), interval); });
    if (!result) {
        throw std::invalid_argument(R"(only "columnar" has its run in memory, not ")" + backend +
                                    '"');
    }
    return result;
}

void SharedWriter::abandon() {
    if (!isInherited()) {
        locked([&] { discard(); });
    }
}

std::size_t SharedWriter::row_length(py::ssize_t group) const {
    if (group < 0 || static_cast<std::size_t>(group) >= rowLengths.size()) {
        throw std::invalid_argument("there is no group " + std::to_string(group));
    }
    return rowLengths[static_cast<std::size_t>(group)];
}

StreamWriter& SharedWriter::opened() const {
    if (!writer) {
        throw std::invalid_argument("the writer is closed");
    }
    return *writer;
}

std::unique_ptr<StreamReader> SharedWriter::make_reader(const std::string& path) const {
    auto reader = core::get_stream_reader(backend, writer->dataStore(lang::core::ValuePath(path)));
    if (!reader || *reader == nullptr) {
        throw std::logic_error("the back-end \"" + backend + "\" made no reader");
    }
    return std::move(*reader);
}

/// Readers of "native" stay until the end, because they delete files that others need.
std::pair<std::vector<double>, std::vector<double>>
SharedWriter::samples_of(const std::string& path) {
    if (backend != "native" && backend != "checked:native") {
        return make_reader(path)->timeseries();
    }
    auto& reader = readers[path];
    if (!reader) {
        reader = make_reader(path);
    }
    return reader->timeseries();
}

void SharedWriter::discard() {
    if (!isFinal) {
        flush_if_native(writer.get());
    }
    readers.clear();
    writer.reset();
}

} // namespace logging2::python
