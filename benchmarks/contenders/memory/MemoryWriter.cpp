#include <benchmarks/contenders/makers.hpp>

#include <benchmarks/contenders/memory/memory_stores.hpp>

namespace logging2::core::bench {
namespace {

class MemoryWriter : public Contender {
public:
    explicit MemoryWriter(const Rows& workloadRows)
        : rows(workloadRows),
          writer(get_default_stream_writer({}, setup_of(rows.workload()))) {}

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_stores(rows, *writer, rows.workload().stepCount);
        return 0;
    }

private:
    const Rows& rows;
    std::unique_ptr<StreamWriter> writer;
};

} // namespace

std::unique_ptr<Contender> make_memory_writer(const Rows& rows, const std::filesystem::path&) {
    return std::make_unique<MemoryWriter>(rows);
}

} // namespace logging2::core::bench
