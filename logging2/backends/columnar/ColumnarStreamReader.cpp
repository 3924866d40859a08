#include <logging2/backends/columnar/ColumnarStreamReader.hpp>

#include <logging2/backends/columnar/detail/GroupView.hpp>
#include <logging2/columns/storage.hpp>

#include <algorithm>
#include <new>

namespace logging2::core {
namespace {

/// A vector with capacity for so many elements.
std::vector<double> make_vector(std::size_t elementCount) {
    // glibc's malloc returns freed memory to the system unless a larger block was freed before. A
    // host that reads many signals one after the other would then get new pages for each of them,
    // which takes six times as long as reading. So an empty block is freed first. Reading works
    // without it, too.
    constexpr std::size_t leastCount = std::size_t{1} << 14;
    constexpr std::size_t greatestCount = std::size_t{1} << 22;
    if (elementCount >= leastCount) {
        const std::size_t count = std::min(4 * elementCount, greatestCount - 1024);
        ::operator delete(::operator new(count * sizeof(double), std::nothrow));
    }
    std::vector<double> result;
    detail::reserve_large(result, elementCount);
    return result;
}

} // namespace

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
    std::vector<double> result = make_vector(store.group ? store.group->stepCount() : 0);
    if (store.group) {
        detail::append_times(store.group->spans(), result);
    }
    return result;
}

std::pair<std::vector<double>, std::vector<double>> ColumnarStreamReader::timeseries() const {
    std::pair<std::vector<double>, std::vector<double>> result;
    result.first = times();
    if (store.group) {
        const detail::ColumnPlace& column = store.group->layout().columns()[store.channel];
        result.second = make_vector(store.group->stepCount() * column.width);
        detail::append_values(store.group->spans(), column, result.second);
    }
    return result;
}

} // namespace logging2::core
