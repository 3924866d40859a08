#pragma once

#include <logging2/export.hpp>
#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Reads the data that a memory writer stored for one path.
///
/// The data lives as long as any store, reader or clone refers to it, also after the writer is
/// gone. Threads: readers and clones may be used on several threads at once.
class LOGGING2_EXPORT MemoryStreamReader : public StreamReader {
public:
    /// Shares the vectors of the MemoryDatastore that the any holds. An empty any makes a reader
    /// on the empty store, which has no times and no values.
    /// Throws boost::bad_any_cast where the any holds anything else.
    explicit MemoryStreamReader(const boost::any& dataStore);
    ~MemoryStreamReader() override;

    MemoryStreamReader& operator=(const MemoryStreamReader&) = delete;

    /// Costs one small allocation, whatever the size of the data.
    std::unique_ptr<StreamReader> clone() const override;
    std::vector<double> times() const override;
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

private:
    LOGGING2_NO_EXPORT MemoryStreamReader(const MemoryStreamReader& other);

    std::shared_ptr<const MemoryDatastore> store;
};

} // namespace logging2::core
