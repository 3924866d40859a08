#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/memory/memory_stores.hpp>

namespace logging2::core::bench {
namespace {

class MemoryWriter : public Contender {
public:
    using Contender::Contender;

    void run() override { write_all(*writer, rows); }

    void finish() override { writer->flush(); }

    std::size_t check() override {
        check_stores(rows, *writer, rows.workload().stepCount);
        return 0;
    }

private:
    std::unique_ptr<StreamWriter> writer = get_default_stream_writer({}, setup_of(rows.workload()));
};

[[maybe_unused]] const bool added = add_contender<MemoryWriter>("memory-writer", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
