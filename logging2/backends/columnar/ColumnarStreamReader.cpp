#include <logging2/backends/columnar/ColumnarStreamReader.hpp>

#include <logging2/backends/columnar/detail/GroupView.hpp>
#include <logging2/columns/storage.hpp>

namespace logging2::core {

ColumnarStreamReader::ColumnarStreamReader(const boost::any& dataStore) {
    if (!dataStore.empty()) {
        store = boost::any_cast<const ColumnarDatastore&>(dataStore);
    }
}

ColumnarStreamReader::~ColumnarStreamReader() = default;

std::unique_ptr<StreamReader> ColumnarStreamReader::clone() const {
    return std::make_unique<ColumnarStreamReader>(*this);
}

std::vector<double> ColumnarStreamReader::times() const {
    std::vector<double> result;
    if (store.group) {
        detail::reserve_large(result, store.group->stepCount());
        detail::append_times(store.group->spans(), result);
    }
    return result;
}

std::pair<std::vector<double>, std::vector<double>> ColumnarStreamReader::timeseries() const {
    std::pair<std::vector<double>, std::vector<double>> result{times(), {}};
    if (store.group) {
        const detail::ColumnPlace& column = store.group->layout().columns()[store.channel];
        detail::reserve_large(result.second, store.group->stepCount() * column.width);
        detail::append_values(store.group->spans(), column, result.second);
    }
    return result;
}

} // namespace logging2::core
