#include <benchmarks/contenders/makers.hpp>

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

} // namespace

std::unique_ptr<Contender> make_read_to_touched(const Rows& rows,
                                                const std::filesystem::path& directory) {
    return std::make_unique<TouchedBuffer>(rows, directory);
}

} // namespace logging2::core::bench
