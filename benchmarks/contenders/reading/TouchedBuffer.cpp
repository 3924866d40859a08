#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/files/Descriptor.hpp>
#include <benchmarks/contenders/reading/ValuesFile.hpp>

namespace logging2::core::bench {
namespace {

class TouchedBuffer : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void prepare() override {
        ValuesFile::prepare();
        values.assign(rows.workload().valueCount(), 1.0);
    }

    void run() override { Descriptor(path, O_RDONLY).readAll(values.data(), byteCount()); }
};

[[maybe_unused]] const bool added = add_contender<TouchedBuffer>("read-touched", Suits::reading);

} // namespace
} // namespace logging2::core::bench
