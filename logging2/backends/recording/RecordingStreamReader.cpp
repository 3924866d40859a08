#include <logging2/backends/recording/RecordingStreamReader.hpp>

#include <logging2/backends/recording/RecordingDatastore.hpp>
#include <logging2/backends/recording/open_recording.hpp>

namespace logging2::core {
namespace {

std::vector<double> copy_of(const DoubleView& view) {
    return {view.begin(), view.end()};
}

} // namespace

RecordingStreamReader::RecordingStreamReader(const boost::any& dataStore) {
    if (dataStore.empty()) {
        return;
    }
    const auto& store = boost::any_cast<const RecordingDatastore&>(dataStore);
    series = open_recording(store.location)->series(store.path);
}

RecordingStreamReader::~RecordingStreamReader() = default;

std::unique_ptr<StreamReader> RecordingStreamReader::clone() const {
    return std::make_unique<RecordingStreamReader>(*this);
}

std::vector<double> RecordingStreamReader::times() const {
    return copy_of(series.times());
}

std::pair<std::vector<double>, std::vector<double>> RecordingStreamReader::timeseries() const {
    return {copy_of(series.times()), copy_of(series.values())};
}

} // namespace logging2::core
