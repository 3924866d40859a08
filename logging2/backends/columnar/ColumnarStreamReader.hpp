#pragma once

#include <logging2/backends/columnar/ColumnarDatastore.hpp>
#include <logging2/backends/columnar/export.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Returns the samples that a ColumnarStreamWriter has stored for one path.
///
/// They live as long as any store, reader or clone refers to them, even after the writer is
/// destroyed. Several threads may use a reader at once.
class LOGGING2_COLUMNAR_EXPORT ColumnarStreamReader final : public StreamReader {
public:
    /// Shares the samples of the ColumnarDatastore in the any. An empty any gives a reader without
    /// samples. Throws boost::bad_any_cast if the any holds anything else.
    explicit ColumnarStreamReader(const boost::any& dataStore);
    ~ColumnarStreamReader() override;

    std::unique_ptr<StreamReader> clone() const override;
    std::vector<double> times() const override;
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

private:
    ColumnarDatastore store;
};

} // namespace logging2::core
