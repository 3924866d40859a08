#include <logging2/backends/columnar/ColumnarStreamWriter.hpp>

#include <logging2/backends/columnar/detail/ColumnarRun.hpp>
#include <logging2/backends/columnar/detail/Samples.hpp>

namespace logging2::core {

ColumnarStreamWriter::ColumnarStreamWriter(const StreamingAttributes& attributes,
                                           const SequenceMap<Group, LoggedPathsSetupData>& setup,
                                           const ColumnarOptions& options)
    : samples(std::make_shared<detail::Samples>(attributes, setup, options)) {}

ColumnarStreamWriter::ColumnarStreamWriter(ColumnarStreamWriter&&) noexcept = default;
ColumnarStreamWriter& ColumnarStreamWriter::operator=(ColumnarStreamWriter&&) noexcept = default;
ColumnarStreamWriter::~ColumnarStreamWriter() = default;

bool ColumnarStreamWriter::write(std::size_t group, double time, const double* values,
                                 std::size_t n) {
    samples->write(group, time, values, n);
    return true;
}

void ColumnarStreamWriter::rollback(std::size_t group, double time) {
    samples->rollback(group, time);
}

boost::any ColumnarStreamWriter::dataStore(const lang::core::ValuePath& path) const {
    return samples->dataStore(path);
}

std::optional<DataStoreInfo> ColumnarStreamWriter::dataStoreInfo() const {
    return std::nullopt;
}

void ColumnarStreamWriter::flush() {
    samples->flush();
}

void ColumnarStreamWriter::flushIntermediate() {
    samples->flushIntermediate();
}

void ColumnarStreamWriter::close() {
    if (!samples->isFlushed()) {
        flush();
    }
}

std::unique_ptr<Run> ColumnarStreamWriter::run() const {
    return std::make_unique<detail::ColumnarRun>(samples, std::nullopt);
}

std::unique_ptr<Run> ColumnarStreamWriter::snapshot(double from, double to) const {
    return std::make_unique<detail::ColumnarRun>(samples, detail::Interval{from, to});
}

} // namespace logging2::core
