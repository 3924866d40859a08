#include <benchmarks/contenders/registration.hpp>

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

[[maybe_unused]] const bool addedStream =
    add_contender<StreamToVector>("stream-vector", Suits::reading);
[[maybe_unused]] const bool addedRead = add_contender<ReadToVector>("read-vector", Suits::reading);
[[maybe_unused]] const bool addedMapping =
    add_contender<MappingToVector>("mapping-vector", Suits::reading);

} // namespace
} // namespace logging2::core::bench
