#include <logging2/memory/MemoryStreamReader.hpp>

namespace logging2::core {
namespace {

std::shared_ptr<const MemoryDatastore> share_store(const boost::any& dataStore) {
    if (dataStore.empty()) {
        return std::make_shared<const MemoryDatastore>();
    }
    return std::make_shared<const MemoryDatastore>(
        boost::any_cast<const MemoryDatastore&>(dataStore));
}

std::vector<double> copy_of(const std::shared_ptr<std::vector<double>>& column) {
    return column ? *column : std::vector<double>();
}

} // namespace

MemoryStreamReader::MemoryStreamReader(const boost::any& dataStore)
    : store(share_store(dataStore)) {}

MemoryStreamReader::MemoryStreamReader(const MemoryStreamReader& other) = default;

MemoryStreamReader::~MemoryStreamReader() = default;

std::unique_ptr<StreamReader> MemoryStreamReader::clone() const {
    return std::unique_ptr<StreamReader>(new MemoryStreamReader(*this));
}

std::vector<double> MemoryStreamReader::times() const {
    return copy_of(store->times);
}

std::pair<std::vector<double>, std::vector<double>> MemoryStreamReader::timeseries() const {
    return {copy_of(store->times), copy_of(store->values)};
}

} // namespace logging2::core
