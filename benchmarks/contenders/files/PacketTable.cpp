#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/contenders/files/Hdf5Handle.hpp>

#include <hdf5_hl.h>

#include <algorithm>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

/// Two neighbouring chunks of this size fit into the chunk cache of 1 MiB.
constexpr std::size_t chunkByteCount = 512 * 1024;

/// The size of a batch: 2 MiB.
constexpr std::size_t chunksPerBatch = 4;

enum class Appending { rowByRow, batches };

/// One packet table and the rows that wait to be appended to it.
struct Table {
    Hdf5Handle handle;
    std::size_t rowLength;
    std::size_t batchRowCount;
    std::vector<double> waiting;
};

/// One packet table per group. Each packet is an array of the time and the values.
class PacketTable : public Contender {
public:
    PacketTable(const Rows& workloadRows, const std::filesystem::path& emptyDirectory,
                Appending how)
        : Contender(workloadRows, emptyDirectory),
          file(H5Fcreate((directory / "rows.h5").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT),
               H5Fclose) {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            addTable(group, how);
        }
    }

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            Table& table = tables[group];
            table.waiting.push_back(time);
            table.waiting.insert(table.waiting.end(), values, values + n);
            if (table.waiting.size() == table.batchRowCount * table.rowLength) {
                append(table);
            }
        });
    }

    void finish() override {
        std::for_each(tables.begin(), tables.end(), append);
        hdf5_require(H5Fflush(file.get(), H5F_SCOPE_GLOBAL));
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < tables.size(); ++group) {
            check_group(group, tables[group]);
        }
        return 0;
    }

private:
    void addTable(std::size_t group, Appending how) {
        const std::size_t rowLength = rows.workload().groups[group].valueCount() + 1;
        const std::size_t chunkRowCount =
            std::max<std::size_t>(1, chunkByteCount / (rowLength * sizeof(double)));
        const hsize_t dimension = rowLength;
        const Hdf5Handle type(H5Tarray_create2(H5T_NATIVE_DOUBLE, 1, &dimension), H5Tclose);
        tables.push_back(
            {Hdf5Handle(H5PTcreate(file.get(), ("rows" + std::to_string(group)).c_str(), type.get(),
                                   chunkRowCount, H5P_DEFAULT),
                        H5PTclose),
             rowLength,
             how == Appending::batches ? chunksPerBatch * chunkRowCount : 1,
             {}});
        tables.back().waiting.reserve(tables.back().batchRowCount * rowLength);
    }

    static void append(Table& table) {
        const std::size_t rowCount = table.waiting.size() / table.rowLength;
        if (rowCount > 0) {
            hdf5_require(H5PTappend(table.handle.get(), rowCount, table.waiting.data()));
            table.waiting.clear();
        }
    }

    void check_group(std::size_t group, const Table& table) const {
        hsize_t packetCount = 0;
        hdf5_require(H5PTget_num_packets(table.handle.get(), &packetCount));
        check_count(packetCount, rows.workload().stepCount);
        const std::size_t pieceRowCount = chunkByteCount / (table.rowLength * sizeof(double)) + 1;
        std::vector<double> piece(pieceRowCount * table.rowLength);
        for (std::size_t step = 0; step < packetCount; step += pieceRowCount) {
            const std::size_t count = std::min<std::size_t>(pieceRowCount, packetCount - step);
            hdf5_require(H5PTread_packets(table.handle.get(), step, count, piece.data()));
            for (std::size_t i = 0; i < count; ++i) {
                const double* row = piece.data() + i * table.rowLength;
                check_row(rows, group, step + i, row[0], row + 1);
            }
        }
    }

    Hdf5Handle file;
    std::vector<Table> tables;
};

[[maybe_unused]] const bool addedRows =
    add_contender<PacketTable>("hdf5-packets-rows", Suits::anyGroups, Appending::rowByRow);
[[maybe_unused]] const bool addedBatches =
    add_contender<PacketTable>("hdf5-packets-batches", Suits::anyGroups, Appending::batches);

} // namespace
} // namespace logging2::core::bench
