#pragma once

#include <logging2/export.hpp>
#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Returns the data that a memory writer stored for one path.
///
/// The data lives as long as any store, reader or clone refers to it, even after the writer is
/// destroyed.
///
/// Threads: readers and clones may be used on several threads at once, and destroyed on any thread.
class LOGGING2_EXPORT MemoryStreamReader : public StreamReader {
public:
    /// Makes a reader that shares the vectors of the MemoryDatastore in the any. An empty any gives
    /// a reader without times and values. Throws boost::bad_any_cast if the any holds anything
    /// else.
    explicit MemoryStreamReader(const boost::any& dataStore);
    ~MemoryStreamReader() override;

    MemoryStreamReader& operator=(const MemoryStreamReader&) = delete;

    /// Returns a reader that shares the data. Costs one small allocation, whatever the size of the
    /// data.
    std::unique_ptr<StreamReader> clone() const override;
    std::vector<double> times() const override;
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

private:
    LOGGING2_NO_EXPORT MemoryStreamReader(const MemoryStreamReader& other);

    std::shared_ptr<const MemoryDatastore> store;
};

} // namespace logging2::core
