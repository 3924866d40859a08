#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/files/Descriptor.hpp>
#include <benchmarks/contenders/reading/ValuesFile.hpp>

#include <sys/mman.h>

#include <system_error>

namespace logging2::core::bench {
namespace {

class StreamToVector : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void run() override {
        std::ifstream file(path, std::ios::binary);
        values.resize(rows.workload().valueCount());
        file.read(reinterpret_cast<char*>(values.data()),
                  static_cast<std::streamsize>(byteCount()));
    }
};

class ReadToVector : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void run() override {
        const Descriptor file(path, O_RDONLY);
        values.resize(rows.workload().valueCount());
        file.readAll(values.data(), byteCount());
    }
};

class MappingToVector : public FreshVectorReader {
public:
    using FreshVectorReader::FreshVectorReader;

    void run() override {
        const Descriptor file(path, O_RDONLY);
        void* const mapping =
            mmap(nullptr, byteCount(), PROT_READ, MAP_PRIVATE | MAP_POPULATE, file.get(), 0);
        if (mapping == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category());
        }
        const auto* const first = static_cast<const double*>(mapping);
        values.assign(first, first + rows.workload().valueCount());
        munmap(mapping, byteCount());
    }
};

} // namespace

std::unique_ptr<Contender> make_stream_to_vector(const Rows& rows,
                                                 const std::filesystem::path& directory) {
    return std::make_unique<StreamToVector>(rows, directory);
}

std::unique_ptr<Contender> make_read_to_vector(const Rows& rows,
                                               const std::filesystem::path& directory) {
    return std::make_unique<ReadToVector>(rows, directory);
}

std::unique_ptr<Contender> make_mapping_to_vector(const Rows& rows,
                                                  const std::filesystem::path& directory) {
    return std::make_unique<MappingToVector>(rows, directory);
}

} // namespace logging2::core::bench
