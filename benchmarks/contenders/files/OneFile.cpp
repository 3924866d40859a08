#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/contenders/files/Descriptor.hpp>
#include <benchmarks/workload/batch.hpp>

#include <algorithm>
#include <vector>

namespace logging2::core::bench {
namespace {

/// The least cost of storing in files: all rows are ready in memory, one after the other, and
/// write(2) appends them to one file in pieces of 2 MiB.
class OneFile : public Contender {
public:
    using Contender::Contender;

    void prepare() override { prepared = batch_of(rows); }

    void run() override {
        constexpr std::size_t pieceByteCount = std::size_t{2} << 20;
        const Descriptor file(path, O_WRONLY | O_CREAT | O_APPEND);
        const auto* const bytes = reinterpret_cast<const char*>(prepared.data());
        const std::size_t byteCount = prepared.size() * sizeof(double);
        for (std::size_t at = 0; at < byteCount; at += pieceByteCount) {
            file.writeAll(bytes + at, std::min(pieceByteCount, byteCount - at));
        }
    }

    std::size_t check() override {
        std::vector<double> found(prepared.size());
        Descriptor(path, O_RDONLY).readAll(found.data(), found.size() * sizeof(double));
        check_rows(rows, found.data());
        return 0;
    }

private:
    const std::filesystem::path path = directory / "rows";
    std::vector<double> prepared;
};

[[maybe_unused]] const bool added = add_contender<OneFile>("one-file", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
