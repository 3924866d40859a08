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
    anyGroups, ///< every workload that is stored
    oneGroup,  ///< those of them that have one group
    reading    ///< the one large column that is read
};

using ContenderMaker = std::function<std::unique_ptr<Contender>(
    const Rows& rows, const std::filesystem::path& directory)>;

/// Registers a Google Benchmark NAME/WORKLOAD for each of the workloads. It runs a new contender
/// once, on warm memory and in a new directory, and compares what it stored. Its time is that of
/// run() and finish() together; counters tell each of them in nanoseconds per row, the peak of the
/// resident memory after each, and the numbers of rows, bytes per row and rows lost.
/// Returns true, so that a contender's file can register it while the program starts.
bool add_contender(const std::string& name, Suits suits, const ContenderMaker& make);

/// The same for a class whose constructor takes the rows, the directory and these arguments.
template <class Kind, class... Arguments>
bool add_contender(const std::string& name, Suits suits, Arguments... arguments) {
    return add_contender(
        name, suits, ContenderMaker([=](const Rows& rows, const std::filesystem::path& directory) {
            return std::make_unique<Kind>(rows, directory, arguments...);
        }));
}

/// Factor for the number of steps of every workload.
void set_scale(double factor);

/// Whether every contender that ran gave back what it was given.
bool all_verified();

} // namespace logging2::core::bench
