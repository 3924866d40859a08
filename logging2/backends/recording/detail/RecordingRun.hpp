#pragma once

#include <logging2/backends/recording/detail/DataFile.hpp>
#include <logging2/backends/recording/detail/Description.hpp>
#include <logging2/backends/recording/detail/IndexReader.hpp>
#include <logging2/backends/recording/detail/OpenChunks.hpp>
#include <logging2/backends/recording/detail/RunWriter.hpp>
#include <logging2/backends/recording/detail/SeriesReader.hpp>
#include <logging2/backends/recording/detail/VisibleSteps.hpp>
#include <logging2/backends/recording/open_recording.hpp>
#include <logging2/runs/Run.hpp>

#include <cstddef>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace logging2::core::detail {

/// A recording that is being read.
class RecordingRun final : public Run {
public:
    RecordingRun(const std::string& directory, SampleAccess access);

    RunInfo info() const override;
    std::vector<GroupInfo> groups() const override;
    std::vector<SignalInfo> signals() const override;
    Series series(const lang::core::ValuePath& path) const override;
    Series series(const lang::core::ValuePath& path, double from, double to) const override;
    Series series(const lang::core::ValuePath& path, StepRange steps) const override;
    StepRange steps(std::size_t group, double from, double to) const override;
    SignalSummary summary(const lang::core::ValuePath& path) const override;
    Overview overview(const lang::core::ValuePath& path, double from, double to,
                      std::size_t bucketCount) const override;
    bool refresh() override;
    Outline outline(const lang::core::ValuePath& path, std::size_t element, double from, double to,
                    std::size_t bucketCount) const override;

    /// What is visible, to be written once more; valid until the next refresh. The headers of all
    /// chunks are checked. A run that is running counts as interrupted.
    RunContent content() const;

private:
    /// Where a path's samples stand.
    struct Place {
        std::size_t group;
        std::size_t column; ///< of its chunks; channel k is column k + 1
        std::size_t width;
    };

    /// Neighbouring elements of a signal.
    struct Elements {
        std::size_t first;
        std::size_t count;
    };

    /// What was asked for: group, column, first element, range and number of buckets.
    using OutlineQuestion =
        std::tuple<std::size_t, std::size_t, std::size_t, double, double, std::size_t>;

    /// What the answers to all questions depend on: the revision, the run's state, and how many
    /// steps of each group are visible.
    using Answers = std::tuple<std::uint64_t, RunState, std::vector<std::size_t>>;

    void checkDescription() const;
    void checkPlaces();
    bool isRunning() const;
    RunState stateOfRun() const;
    std::size_t stepCountOf(const StoredGroup& group) const;
    Answers answers() const;
    Place placeOf(const lang::core::ValuePath& path) const;
    std::size_t positionOf(std::size_t groupId) const;
    const VisibleSteps& stepsOf(std::size_t group) const;
    std::vector<Outline> makeOutlines(const Place& place, const Elements& elements, double from,
                                      double to, std::size_t bucketCount) const;

    std::string location;
    IndexReader index;
    DataFile data;
    Description description;
    RunId run{};
    std::map<std::string, Place> places; ///< by the path's text
    IndexState state;
    bool claimed = false;                                     ///< by a writer, at the last refresh
    mutable std::vector<std::optional<VisibleSteps>> visible; ///< by group; made when needed
    mutable OpenChunks chunks;
    mutable SeriesReader seriesReader;
    mutable std::list<std::pair<OutlineQuestion, std::vector<Outline>>> keptOutlines;
};

} // namespace logging2::core::detail
