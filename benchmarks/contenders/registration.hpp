#pragma once

#include <benchmarks/contenders/Contender.hpp>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace logging2::core::bench {

/// The workloads that a contender is registered for.
enum class Suits {
    anyGroups, ///< all workloads that are stored
    oneGroup,  ///< the workloads that are stored and have one group
    oneScalar, ///< the workloads that are stored and have nothing but one scalar
    reading    ///< the workload of one large column that is read
};

using ContenderMaker = std::function<std::unique_ptr<Contender>(
    const Rows& rows, const std::filesystem::path& directory)>;

/// Registers a Google Benchmark NAME/WORKLOAD for each of the workloads, and returns true, so that
/// a contender's file can call this while the program starts.
///
/// The benchmark runs a new contender once, on warm memory and in a new directory, and compares
/// what it stored. Its time is that of run() and finish() together. Its counters are the
/// nanoseconds per row of run() and of finish(), the peak of the resident memory after each of
/// them, and by how much it has grown since before prepare(), the milliseconds of run() and how
/// many percent of the rows' bytes it reads from files, the numbers of rows, bytes per row, bytes
/// on disk per row and lost rows, and the contender's own results.
bool add_contender(const std::string& name, Suits suits, const ContenderMaker& make);

/// Registers contenders of the class `Kind`, whose constructor takes the rows, the directory and
/// these arguments.
template <class Kind, class... Arguments>
bool add_contender(const std::string& name, Suits suits, Arguments... arguments) {
    return add_contender(
        name, suits, ContenderMaker([=](const Rows& rows, const std::filesystem::path& directory) {
            return std::make_unique<Kind>(rows, directory, arguments...);
        }));
}

/// Sets the factor by which the number of steps of every workload is multiplied.
void set_scale(double factor);

/// Keeps the files of contenders as empty files in this directory, which the caller removes; see
/// KeptFiles.
void keep_files_in(std::filesystem::path parent);

/// Returns whether every contender that ran has stored exactly what it was given.
bool all_verified();

} // namespace logging2::core::bench
