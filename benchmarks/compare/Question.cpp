#include <benchmarks/compare/Question.hpp>

#include <benchmarks/workload/Workload.hpp>

namespace logging2::core::bench {
namespace {

const std::vector<std::string>& full_workloads() {
    static const std::vector<std::string> names{"W1", "W2", "W3", "W4", "W5", "WR"};
    return names;
}

Question memory_write() {
    return {"memory-write",
            "Storing in memory: what write costs",
            full_workloads(),
            {{"memory-writer", "MemoryStreamWriter", Phase::run},
             {"restricted-writer", "MemoryStreamRestrictedWriter, rings full", Phase::run},
             {"bare-model", "bare data model", Phase::run},
             {"flat-vector", "flat std::vector, grown", Phase::run},
             {"row-ring", "boost::circular_buffer of rows, full", Phase::run},
             {"copy-fresh", "memcpy into fresh memory", Phase::run},
             {"copy-touched", "memcpy into touched memory", Phase::run},
             {"loop", "rows handed out, nothing stored", Phase::run}},
            "bare-model"};
}

Question memory_flush() {
    return {"memory-flush",
            "Storing in memory: what flush costs",
            full_workloads(),
            {{"memory-writer", "MemoryStreamWriter", Phase::finish},
             {"bare-model", "straightforward pass", Phase::finish},
             {"copy-fresh", "memcpy into fresh memory", Phase::run}},
            "copy-fresh"};
}

Question files() {
    return {"files",
            "Storing in files: from the first write to the end of flush",
            full_workloads(),
            {{"native-writer", "NativeStreamWriter"},
             {"native-keeping-all", "NativeStreamWriter, flushIntermediate() in time"},
             {"straightforward-files", "straightforward rows to files"},
             {"fwrite", "fwrite per row, row-major"},
             {"hdf5-packets-batches", "HDF5 packet table, batches"},
             {"hdf5-datasets", "HDF5 dataset per channel"},
             {"hdf5-packets-rows", "HDF5 packet table, row by row"},
             {"sqlite", "SQLite, one transaction"},
             {"csv", "CSV through fmt"},
             {"raw-write", "write(2), columns ready"}},
            "raw-write"};
}

/// Here the file-backed writer is expected to lose rows.
Question files_in_lockstep() {
    return {"files-lockstep",
            "Storing in files: buffers that fill on consecutive calls",
            {"WL"},
            {{"native-writer", "NativeStreamWriter"},
             {"native-keeping-all", "NativeStreamWriter, flushIntermediate() in time"},
             {"straightforward-files", "straightforward rows to files"}},
            "straightforward-files",
            Layout::bars,
            Unit::row,
            3};
}

/// The steps of W1, W2, W4 and W5 are cut so that no buffer fills; none of W3 does.
Question write_below_threshold() {
    return {"native-write",
            "Storing in files: what write costs the caller while no buffer is full",
            {"8x900000", "100x80000", "W3", "1x4000000", "1000x8000"},
            {{"native-writer", "NativeStreamWriter", Phase::run},
             {"flat-vector", "flat std::vector, grown", Phase::run},
             {"loop", "rows handed out, nothing stored", Phase::run}},
            "flat-vector"};
}

Question reading() {
    return {"reading",
            "Reading a values file of 512 MiB",
            {"1x67108864"},
            {{"native-reader", "NativeStreamReader::timeseries()", Phase::run},
             {"stream-vector", "std::vector, ifstream::read after resize", Phase::run},
             {"read-vector", "std::vector, read(2) after resize", Phase::run},
             {"mapping-vector", "std::vector, mmap and assign", Phase::run},
             {"read-touched", "read(2) into touched memory", Phase::run}},
            "read-touched"};
}

std::vector<Entry> growing_writers() {
    return {{"memory-writer", "MemoryStreamWriter, write", Phase::run},
            {"memory-writer", "MemoryStreamWriter, flush", Phase::finish},
            {"restricted-writer", "MemoryStreamRestrictedWriter, write", Phase::run},
            {"native-writer", "NativeStreamWriter, total"},
            {"native-keeping-all", "NativeStreamWriter, flushIntermediate() in time"}};
}

Question growth_by_rows() {
    return {"growth-rows",
            "Growth: 8 scalars, by number of rows",
            {"8x100000", "8x300000", "8x1000000", "8x3000000", "8x10000000"},
            growing_writers(),
            "",
            Layout::growth,
            Unit::row,
            3};
}

Question growth_by_channels() {
    return {"growth-channels",
            "Growth: 30,000 rows, by number of scalar channels",
            {"10x30000", "30x30000", "100x30000", "300x30000", "1000x30000"},
            growing_writers(),
            "",
            Layout::growth,
            Unit::value,
            3};
}

Question growth_of_rollback() {
    return {"growth-rollback",
            "Growth: rollback in memory, by number of steps scanned or dropped",
            {"8x10000", "8x100000", "8x1000000", "8x3000000"},
            {{"rollback-time", "by time, per step scanned (one is dropped)", Phase::run},
             {"rollback-count", "by count, per step dropped", Phase::run}},
            "",
            Layout::growth,
            Unit::row,
            5};
}

} // namespace

const std::vector<Question>& all_questions() {
    static const std::vector<Question> questions{
        memory_write(),      memory_flush(),          files(),
        files_in_lockstep(), write_below_threshold(), reading(),
        growth_by_rows(),    growth_by_channels(),    growth_of_rollback()};
    return questions;
}

std::size_t changing_size(const Question& question, const std::string& workload, double scale) {
    const Workload full = scaled(workload_named(workload), scale);
    return question.unit == Unit::row ? full.stepCount : full.groups[0].widths.size();
}

} // namespace logging2::core::bench
