#include <examples/simulate/report/plot_layout.hpp>

#include <examples/simulate/report/samples.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace simulate {
namespace {

constexpr std::size_t seriesSampleLimit = 4000;
constexpr std::size_t phaseSampleLimit = 40000;

/// The samples of a group that a plot shows, by index.
struct Selection {
    std::vector<std::size_t> accepted;
    std::vector<std::size_t> rejected;
};

std::vector<std::size_t> not_before(const std::vector<std::size_t>& samples,
                                    const std::vector<double>& times, double begin) {
    std::vector<std::size_t> later;
    std::copy_if(samples.begin(), samples.end(), std::back_inserter(later),
                 [&](std::size_t sample) { return times[sample] >= begin; });
    return later;
}

/// The end of the run, as long as the span says.
Selection select_end(const std::vector<double>& times, double span) {
    const double begin = times.empty() ? 0 : times.back() - span;
    return {not_before(accepted_samples(times), times, begin),
            not_before(rejected_samples(times), times, begin)};
}

std::vector<Point> points_at(const std::vector<std::size_t>& samples, const std::vector<double>& x,
                             const std::vector<double>& y) {
    std::vector<Point> points;
    points.reserve(samples.size());
    for (const std::size_t sample : samples) {
        points.push_back({x[sample], y[sample]});
    }
    return points;
}

/// The range with some room around it, and never empty.
Range padded(Range range) {
    if (!(range.low <= range.high)) {
        return {0, 1};
    }
    const double extent = range.high - range.low;
    const double room = extent > 0 ? 0.06 * extent : std::max(1.0, std::abs(range.low)) / 2;
    return {range.low - room, range.high + room};
}

template <class Coordinate>
void widen(Range& range, const std::vector<Point>& points, Coordinate coordinate) {
    for (const Point& point : points) {
        range.low = std::min(range.low, coordinate(point));
        range.high = std::max(range.high, coordinate(point));
    }
}

template <class Coordinate>
Range range_of(const Panel& panel, Coordinate coordinate) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Range range{infinity, -infinity};
    for (const Curve& curve : panel.curves) {
        widen(range, curve.points, coordinate);
    }
    widen(range, panel.rejected, coordinate);
    return range;
}

double x_of(const Point& point) {
    return point.x;
}

double y_of(const Point& point) {
    return point.y;
}

/// A time axis ends where the samples do, all other axes leave some room.
Range time_range(const Panel& panel) {
    const Range range = range_of(panel, x_of);
    return range.low < range.high ? range : padded(range);
}

std::string axis_label(const Component& component) {
    return component.quantity + " [" + component.unit + ']';
}

/// The path that shows the same channel and stands before the path, or the path itself.
std::size_t first_alias(const GroupInfo& group, std::size_t path) {
    std::size_t first = 0;
    while (group.paths[first].channel != group.paths[path].channel) {
        ++first;
    }
    return first;
}

std::string curve_title(const GroupInfo& group, std::size_t path, std::size_t component) {
    std::string title = group.paths[path].label(component);
    for (std::size_t alias = path + 1; alias < group.paths.size(); ++alias) {
        if (group.paths[alias].channel == group.paths[path].channel) {
            title += " = " + group.paths[alias].label(component);
        }
    }
    return title;
}

Panel& panel_with_label(std::vector<Panel>& panels, const std::string& label) {
    const auto found = std::find_if(panels.begin(), panels.end(),
                                    [&](const Panel& panel) { return panel.yLabel == label; });
    if (found != panels.end()) {
        return *found;
    }
    panels.push_back({{}, label, {}, {}, {}, {}});
    return panels.back();
}

void add_curve(std::vector<Panel>& panels, const GroupResult& result, const Selection& selection,
               std::size_t path, std::size_t component) {
    const PathInfo& info = result.info.paths[path];
    const auto values = component_of(result.values[path], info.width(), component);
    const auto drawn = thin_samples(selection.accepted, values, seriesSampleLimit);
    Panel& panel = panel_with_label(panels, axis_label(info.components[component]));
    panel.curves.push_back(
        {curve_title(result.info, path, component), points_at(drawn, result.times, values)});
    const auto rejected = points_at(selection.rejected, result.times, values);
    panel.rejected.insert(panel.rejected.end(), rejected.begin(), rejected.end());
}

std::vector<Panel> time_series(const GroupResult& result, const std::string& timeUnit) {
    const double span =
        result.info.phase ? result.info.phase->seriesSpan : std::numeric_limits<double>::infinity();
    const Selection selection = select_end(result.times, span);
    std::vector<Panel> panels;
    for (std::size_t path = 0; path < result.info.paths.size(); ++path) {
        if (first_alias(result.info, path) != path) {
            continue;
        }
        for (std::size_t c = 0; c < result.info.paths[path].width(); ++c) {
            add_curve(panels, result, selection, path, c);
        }
    }
    for (Panel& panel : panels) {
        panel.xLabel = "time [" + timeUnit + ']';
        panel.x = time_range(panel);
        panel.y = padded(range_of(panel, y_of));
    }
    return panels;
}

std::string rounded(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find('.') + 2);
    return text;
}

/// Not thinned, which would cut corners, but limited to the end of the run.
Panel phase_panel(const GroupResult& result, const PhasePlot& phase) {
    const PathInfo& info = result.info.paths.front();
    std::vector<std::size_t> drawn = select_end(result.times, phase.phaseSpan).accepted;
    const std::size_t surplus = drawn.size() - std::min(drawn.size(), phaseSampleLimit);
    drawn.erase(drawn.begin(), drawn.begin() + static_cast<std::ptrdiff_t>(surplus));
    const auto x = component_of(result.values.front(), info.width(), phase.horizontal);
    const auto y = component_of(result.values.front(), info.width(), phase.vertical);
    Panel panel{axis_label(info.components[phase.horizontal]),
                axis_label(info.components[phase.vertical]),
                {},
                {},
                {},
                {}};
    const std::string title = drawn.empty() ? ""
                                            : "time " + rounded(result.times[drawn.front()]) +
                                                  " to " + rounded(result.times[drawn.back()]);
    panel.curves.push_back({title, points_at(drawn, x, y)});
    panel.x = padded(range_of(panel, x_of));
    panel.y = padded(range_of(panel, y_of));
    return panel;
}

std::vector<Event> events_inside(const std::vector<Event>& events, Range time) {
    std::vector<Event> inside;
    std::copy_if(events.begin(), events.end(), std::back_inserter(inside), [&](const Event& event) {
        return time.low <= event.time && event.time <= time.high;
    });
    return inside;
}

} // namespace

Plot lay_out_plot(const GroupResult& result, const PlotContext& context) {
    Plot plot;
    plot.title = context.title;
    plot.subtitle = context.subtitle;
    plot.held = result.info.held;
    plot.series = time_series(result, context.timeUnit);
    if (result.info.phase) {
        plot.phase.push_back(phase_panel(result, *result.info.phase));
    }
    plot.events = events_inside(context.events, range_of(plot.series.front(), x_of));
    return plot;
}

} // namespace simulate
