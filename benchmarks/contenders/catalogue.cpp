#include <benchmarks/contenders/catalogue.hpp>

#include <benchmarks/contenders/makers.hpp>

#include <algorithm>
#include <stdexcept>

namespace logging2::core::bench {

const std::vector<ContenderInfo>& all_contenders() {
    static const std::vector<ContenderInfo> contenders{
        {"loop", "rows handed out, nothing stored", make_loop_alone},
        {"memory-writer", "MemoryStreamWriter", make_memory_writer},
        {"restricted-writer", "MemoryStreamRestrictedWriter, rings full", make_restricted_writer},
        {"bare-model", "bare data model, straightforward pass", make_bare_model},
        {"flat-vector", "flat std::vector, grown", make_flat_vector},
        {"row-ring", "boost::circular_buffer of rows, full", make_row_ring},
        {"copy-fresh", "memcpy into fresh memory", make_copy_to_fresh},
        {"copy-touched", "memcpy into touched memory", make_copy_to_touched, 1, true},
        {"rollback-time", "rollback by time", make_rollback_by_time, 1, true},
        {"rollback-count", "rollback by count", make_rollback_by_count, 1, true},

        {"native-writer", "NativeStreamWriter", make_native_writer},
        {"native-keeping-all", "NativeStreamWriter, flushIntermediate() in time",
         make_native_keeping_all},
        {"straightforward-files", "straightforward rows to files", make_straightforward_files},
        {"raw-write", "write(2), columns ready", make_raw_write, 1, true},
        {"hdf5-packets-rows", "HDF5 packet table, row by row", make_packet_table_rows, 0.05},
        {"hdf5-packets-batches", "HDF5 packet table, batches", make_packet_table_batches},
        {"hdf5-datasets", "HDF5 dataset per channel", make_chunked_datasets},
        {"sqlite", "SQLite, one transaction", make_sqlite, 0.1},
        {"fwrite", "fwrite per row", make_row_major_file},
        {"csv", "CSV through fmt", make_csv, 0.1},

        {"native-reader", "NativeStreamReader::timeseries()", make_native_reader},
        {"read-touched", "read(2) into touched memory", make_read_to_touched, 1, true},
        {"stream-vector", "ifstream::read after resize", make_stream_to_vector},
        {"read-vector", "read(2) after resize", make_read_to_vector},
        {"mapping-vector", "mmap and assign", make_mapping_to_vector},
    };
    return contenders;
}

const ContenderInfo& contender_named(const std::string& name) {
    const std::vector<ContenderInfo>& contenders = all_contenders();
    const auto found = std::find_if(contenders.begin(), contenders.end(),
                                    [&](const ContenderInfo& info) { return info.name == name; });
    if (found == contenders.end()) {
        throw std::invalid_argument("no contender " + name);
    }
    return *found;
}

} // namespace logging2::core::bench
