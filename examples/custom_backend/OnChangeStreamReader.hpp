#pragma once

#include "OnChangeStore.hpp"

#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace custom_backend {

/// Repeats the values of a path at the steps at which they did not change.
class OnChangeStreamReader final : public logging2::core::StreamReader {
public:
    /// An empty any makes a reader without data. Throws boost::bad_any_cast where the any holds
    /// what another back-end gave out.
    explicit OnChangeStreamReader(const boost::any& dataStore);

    std::unique_ptr<logging2::core::StreamReader> clone() const override;
    std::vector<double> times() const override;
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

private:
    OnChangeStore store;
};

} // namespace custom_backend
