#pragma once

#include <examples/simulate/logging/Recorder.hpp>
#include <examples/simulate/logging/RunResult.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace simulate {

struct Point {
    double x;
    double y;
};

struct Range {
    double low;
    double high;
};

struct Curve {
    std::string title;
    std::vector<Point> points;
};

/// One pair of axes. Everything that it shows has the units of its labels.
struct Panel {
    std::string xLabel;
    std::string yLabel;
    Range x;
    Range y;
    std::vector<Curve> curves;
    /// Samples that a back-end kept although they were to be taken back.
    std::vector<Point> rejected;
};

/// A group's plot, laid out but not drawn: a column of time series over one time axis, and beside
/// it the phase plot of a group that has one.
struct Plot {
    std::string title;
    std::string subtitle;
    /// Whether curves are stairs, as of values that hold until the next sample.
    bool held = false;
    std::vector<Panel> series;
    /// At most one.
    std::vector<Panel> phase;
    /// Those inside the time axis.
    std::vector<Event> events;
};

/// What a plot shows beside the samples.
struct PlotContext {
    std::string title;
    std::string subtitle;
    std::string timeUnit;
    std::vector<Event> events;
};

/// Puts components of one quantity into one panel, aliases into one curve, and thins curves to
/// what can be seen.
Plot lay_out_plot(const GroupResult& result, const PlotContext& context);

} // namespace simulate
