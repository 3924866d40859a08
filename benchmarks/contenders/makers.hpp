#pragma once

#include <benchmarks/contenders/Contender.hpp>
#include <benchmarks/workload/Rows.hpp>

#include <filesystem>
#include <memory>

// One maker per contender, defined in the contender's own file.

namespace logging2::core::bench {

std::unique_ptr<Contender> make_loop_alone(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_memory_writer(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_restricted_writer(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_bare_model(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_flat_vector(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_row_ring(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_copy_to_fresh(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_copy_to_touched(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_rollback_by_time(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_rollback_by_count(const Rows&, const std::filesystem::path&);

std::unique_ptr<Contender> make_native_writer(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_native_keeping_all(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_straightforward_files(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_raw_write(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_packet_table_rows(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_packet_table_batches(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_chunked_datasets(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_sqlite(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_row_major_file(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_csv(const Rows&, const std::filesystem::path&);

std::unique_ptr<Contender> make_native_reader(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_read_to_touched(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_stream_to_vector(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_read_to_vector(const Rows&, const std::filesystem::path&);
std::unique_ptr<Contender> make_mapping_to_vector(const Rows&, const std::filesystem::path&);

} // namespace logging2::core::bench
