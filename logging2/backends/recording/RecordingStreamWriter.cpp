#include <logging2/backends/recording/RecordingStreamWriter.hpp>

#include <logging2/backends/recording/RecordingDatastore.hpp>
#include <logging2/backends/recording/detail/Engine.hpp>
#include <logging2/backends/recording/detail/buffer_plan.hpp>
#include <logging2/backends/recording/detail/run_directory.hpp>

#include <array>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace logging2::core {
namespace {

std::string host_name() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

detail::Description describe(const StreamingAttributes& attributes,
                             const SequenceMap<Group, LoggedPathsSetupData>& setup,
                             const RecordingOptions& options,
                             std::chrono::system_clock::time_point start) {
    detail::Description description;
    description.id = detail::new_uuid();
    description.name = std::string(attributes.name.data(), attributes.name.size());
    description.start = detail::text_of_time(start);
    description.host = host_name();
    description.process = std::to_string(getpid());
    description.libraryVersion = LOGGING2_VERSION;
    description.properties = options.properties;
    description.groups = detail::groups_of(setup);
    return description;
}

} // namespace

void detail::EndEngine::operator()(Engine* engine) const noexcept {
    // In a forked child it is left alone: its thread and its files are the parent's.
    if (!engine->belongsToParent()) {
        delete engine; // NOLINT(*-owning-memory)
    }
}

RecordingStreamWriter::RecordingStreamWriter(const StreamingAttributes& attributes,
                                             const SequenceMap<Group, LoggedPathsSetupData>& setup,
                                             const RecordingOptions& options) {
    detail::check_options(options);
    const auto start = std::chrono::system_clock::now();
    const detail::Description description = describe(attributes, setup, options, start);
    // Throws before anything is made.
    detail::row_capacities(options, description.groups);
    for (const detail::DescribedGroup& group : description.groups) {
        for (const detail::DescribedPath& path : group.paths) {
            paths.insert(lang::core::ValuePath(path.text));
        }
    }
    const std::string existing = detail::existing_part(options.directory);
    directory =
        detail::make_run_directory(options.directory, description.name, start, options.mode);
    try {
        if (options.durability == Durability::power) {
            detail::synchronize_parents(directory, existing);
        }
        engine.reset(new detail::Engine(directory, options, description,
                                        attributes.rollbackOnTimeRegression));
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
        throw;
    }
}

RecordingStreamWriter::RecordingStreamWriter(RecordingStreamWriter&&) noexcept = default;
RecordingStreamWriter& RecordingStreamWriter::operator=(RecordingStreamWriter&&) noexcept = default;
RecordingStreamWriter::~RecordingStreamWriter() = default;

bool RecordingStreamWriter::write(std::size_t group, double time, const double* values,
                                  std::size_t n) {
    engine->write(group, time, values, n);
    return true;
}

void RecordingStreamWriter::rollback(std::size_t group, double time) {
    engine->rollback(group, time);
}

boost::any RecordingStreamWriter::dataStore(const lang::core::ValuePath& path) const {
    if (paths.count(path) == 0) {
        throw std::out_of_range(directory + ": there is no signal \"" + path.text() + '"');
    }
    return RecordingDatastore{directory, path};
}

std::optional<DataStoreInfo> RecordingStreamWriter::dataStoreInfo() const {
    return std::nullopt;
}

void RecordingStreamWriter::flush() {
    engine->end();
}

void RecordingStreamWriter::flushIntermediate() {
    engine->storeAll();
}

void RecordingStreamWriter::close() {
    engine->end();
}

} // namespace logging2::core
