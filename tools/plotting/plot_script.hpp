#pragma once

#include <tools/plotting/curves.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools {

/// How a plot is drawn.
struct PlotStyle {
    /// gnuplot's terminal with its options, such as "svg size 900,300".
    std::string terminal;
    /// Whether the titles of the panels stand above them, and not beside the axis.
    bool isText = false;
    /// The range of the time axis; finite.
    TimeRange range;
};

/// Curves that share their axes.
using Panel = std::vector<Curve>;

/// The commands with which gnuplot draws the panels, one below the other, on its standard output.
std::string plot_script(const std::vector<Panel>& panels, const PlotStyle& style);

} // namespace logging2::tools
