#pragma once

#include <logging2/logging2.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace simulate {

/// One double of a path's sample.
struct Component {
    /// Empty where the path has one component only.
    std::string name;
    /// What is measured; components of one quantity share an axis.
    std::string quantity;
    /// "1" for a number without a unit.
    std::string unit;
};

/// A logged value path: the channel it shows and what stands in the channel.
/// Paths of one group with the same channel are aliases.
struct PathInfo {
    std::string path;
    /// Unique in the whole model, not only in its group.
    std::size_t channel;
    std::vector<Component> components;

    std::size_t width() const { return components.size(); }
    /// The path itself, or "path.component" where it has several components.
    std::string label(std::size_t component) const;
};

/// Two components of a group's first path drawn against each other.
struct PhasePlot {
    std::size_t horizontal;
    std::size_t vertical;
    /// How much of the end of the run is drawn, in the model's time unit.
    double phaseSpan;
    /// The same for the time series beside it.
    double seriesSpan;
};

/// A logging group: the paths whose values are logged together, step by step.
struct GroupInfo {
    /// Groups of a model are numbered from 0.
    std::size_t id;
    /// Part of the names of the group's files.
    std::string name;
    /// Whether a value holds until the next sample, as in a sampled controller.
    bool held;
    std::vector<PathInfo> paths;
    std::optional<PhasePlot> phase;
};

/// What a writer is created with: each group's paths, and its channels in the order in which the
/// paths first name them. A model's rows must have that order.
logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData>
logging_setup(const std::vector<GroupInfo>& groups);

} // namespace simulate
