#pragma once

#include <logging2/backends/recording/export.hpp>
#include <logging2/runs/Series.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Reads one path of a recording, which it neither changes nor deletes.
///
/// It holds the samples that were visible when it was made. Clones share them. Several threads may
/// use one reader at the same time.
class LOGGING2_RECORDING_EXPORT RecordingStreamReader final : public StreamReader {
public:
    /// Reads the samples of the data store, which a RecordingStreamWriter has given out; none if
    /// the any is empty. Throws boost::bad_any_cast if it comes from another back-end, and
    /// RecordingError.
    explicit RecordingStreamReader(const boost::any& dataStore);

    ~RecordingStreamReader() override;

    std::unique_ptr<StreamReader> clone() const override;
    std::vector<double> times() const override;
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

private:
    Series series;
};

} // namespace logging2::core
