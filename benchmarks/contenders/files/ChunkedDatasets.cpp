#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/contenders/files/Hdf5Handle.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

/// The number of steps in a chunk. So many steps are appended at once.
constexpr std::size_t chunkStepCount = 4096;

using Shape = std::array<hsize_t, 2>; // steps, doubles per step

/// One extendible dataset and the values that wait to be appended to it.
struct Dataset {
    Hdf5Handle handle;
    std::size_t width;
    std::vector<double> waiting;
    std::size_t stepCount = 0;
};

Hdf5Handle create_dataset(const Hdf5Handle& file, const std::string& name, std::size_t width) {
    const Shape none{0, width};
    const Shape unlimited{H5S_UNLIMITED, width};
    const Shape chunk{chunkStepCount, width};
    const Hdf5Handle space(H5Screate_simple(2, none.data(), unlimited.data()), H5Sclose);
    const Hdf5Handle properties(H5Pcreate(H5P_DATASET_CREATE), H5Pclose);
    hdf5_require(H5Pset_chunk(properties.get(), 2, chunk.data()));
    return {H5Dcreate2(file.get(), name.c_str(), H5T_NATIVE_DOUBLE, space.get(), H5P_DEFAULT,
                       properties.get(), H5P_DEFAULT),
            H5Dclose};
}

/// Selects the part of the dataset that holds `count` steps, beginning with the first.
Hdf5Handle select(const Dataset& dataset, std::size_t first, std::size_t count) {
    const Shape start{first, 0};
    const Shape size{count, dataset.width};
    Hdf5Handle space(H5Dget_space(dataset.handle.get()), H5Sclose);
    hdf5_require(H5Sselect_hyperslab(space.get(), H5S_SELECT_SET, start.data(), nullptr,
                                     size.data(), nullptr));
    return space;
}

Hdf5Handle memory_space(const Dataset& dataset, std::size_t count) {
    const Shape size{count, dataset.width};
    return {H5Screate_simple(2, size.data(), nullptr), H5Sclose};
}

void append(Dataset& dataset) {
    const std::size_t count = dataset.waiting.size() / dataset.width;
    if (count == 0) {
        return;
    }
    const Shape extent{dataset.stepCount + count, dataset.width};
    hdf5_require(H5Dset_extent(dataset.handle.get(), extent.data()));
    const Hdf5Handle target = select(dataset, dataset.stepCount, count);
    const Hdf5Handle source = memory_space(dataset, count);
    hdf5_require(H5Dwrite(dataset.handle.get(), H5T_NATIVE_DOUBLE, source.get(), target.get(),
                          H5P_DEFAULT, dataset.waiting.data()));
    dataset.stepCount += count;
    dataset.waiting.clear();
}

void read(const Dataset& dataset, std::size_t first, std::size_t count,
          std::vector<double>& values) {
    values.resize(count * dataset.width);
    const Hdf5Handle source = select(dataset, first, count);
    const Hdf5Handle target = memory_space(dataset, count);
    hdf5_require(H5Dread(dataset.handle.get(), H5T_NATIVE_DOUBLE, target.get(), source.get(),
                         H5P_DEFAULT, values.data()));
}

enum class Place { file, memory };

/// The properties of a file on disk, or of one that only exists in memory.
Hdf5Handle access_of(Place place) {
    constexpr std::size_t increment = std::size_t{1} << 22;
    Hdf5Handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
    if (place == Place::memory) {
        hdf5_require(H5Pset_fapl_core(access.get(), increment, 0));
    }
    return access;
}

/// One dataset for the times of each group and one dataset per channel. Samples are appended chunk
/// by chunk.
class ChunkedDatasets : public Contender {
public:
    ChunkedDatasets(const Rows& workloadRows, const std::filesystem::path& emptyDirectory,
                    Place where)
        : Contender(workloadRows, emptyDirectory),
          place(where),
          file(H5Fcreate((directory / "columns.h5").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT,
                         access_of(place).get()),
               H5Fclose) {
        for (const GroupShape& group : rows.workload().groups) {
            addGroup(group);
        }
    }

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t) {
            std::vector<Dataset>& columns = datasets[group];
            columns[0].waiting.push_back(time);
            for (std::size_t j = 1; j < columns.size(); ++j) {
                Dataset& column = columns[j];
                column.waiting.insert(column.waiting.end(), values, values + column.width);
                values += column.width;
            }
            if (columns[0].waiting.size() == chunkStepCount) {
                std::for_each(columns.begin(), columns.end(), append);
            }
        });
    }

    void finish() override {
        for (std::vector<Dataset>& columns : datasets) {
            std::for_each(columns.begin(), columns.end(), append);
        }
        hdf5_require(H5Fflush(file.get(), H5F_SCOPE_GLOBAL));
        if (place == Place::memory) {
            readEverything();
        }
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < datasets.size(); ++group) {
            for (std::size_t channel = 0; channel + 1 < datasets[group].size(); ++channel) {
                check_dataset({group, channel});
            }
        }
        return 0;
    }

private:
    void addGroup(const GroupShape& group) {
        const std::string stem = "group" + std::to_string(datasets.size());
        datasets.emplace_back();
        addDataset(stem + ".times", 1);
        for (std::size_t channel = 0; channel < group.widths.size(); ++channel) {
            addDataset(stem + ".channel" + std::to_string(channel), group.widths[channel]);
        }
    }

    void addDataset(const std::string& name, std::size_t width) {
        datasets.back().push_back({create_dataset(file, name, width), width, {}});
        datasets.back().back().waiting.reserve(chunkStepCount * width);
    }

    /// Reads every channel with its times.
    void readEverything() const {
        std::vector<double> values;
        for (const std::vector<Dataset>& columns : datasets) {
            for (std::size_t channel = 1; channel < columns.size(); ++channel) {
                read(columns[0], 0, columns[0].stepCount, values);
                read(columns[channel], 0, columns[0].stepCount, values);
            }
        }
    }

    void check_dataset(ColumnId column) const {
        const Dataset& times = datasets[column.group][0];
        const Dataset& values = datasets[column.group][column.channel + 1];
        ColumnCheck check(rows, column);
        std::vector<double> timesPiece;
        std::vector<double> valuesPiece;
        for (std::size_t step = 0; step < times.stepCount; step += chunkStepCount) {
            const std::size_t count = std::min(chunkStepCount, times.stepCount - step);
            read(times, step, count, timesPiece);
            read(values, step, count, valuesPiece);
            check.take(timesPiece.data(), valuesPiece.data(), count);
        }
        check_count(check.stepCount(), rows.workload().stepCount);
    }

    Place place;
    Hdf5Handle file;
    std::vector<std::vector<Dataset>> datasets; // by group, the times first
};

[[maybe_unused]] const bool added =
    add_contender<ChunkedDatasets>("hdf5-datasets", Suits::anyGroups, Place::file) &&
    add_contender<ChunkedDatasets>("hdf5-core-read-back", Suits::anyGroups, Place::memory);

} // namespace
} // namespace logging2::core::bench
