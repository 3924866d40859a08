#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/memory/memory_stores.hpp>
#include <benchmarks/contenders/memory/ring_size.hpp>

namespace logging2::core::bench {
namespace {

StreamingAttributes limited_to(std::size_t pointLimit) {
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    return attributes;
}

/// Timed after the rings are full, so that every step overwrites an older one.
class RestrictedWriter : public Contender {
public:
    using Contender::Contender;

    void prepare() override {
        rows.forFirst(ringSize, [this](std::size_t group, double time, const double* values,
                                       std::size_t n) { writer->write(group, time, values, n); });
    }

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_stores(rows, *writer, ringSize);
        return 0;
    }

private:
    std::size_t ringSize = ring_size(rows.workload());
    std::unique_ptr<StreamWriter> writer = std::make_unique<MemoryStreamRestrictedWriter>(
        limited_to(ringSize), setup_of(rows.workload()));
};

[[maybe_unused]] const bool added =
    add_contender<RestrictedWriter>("restricted-writer", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
