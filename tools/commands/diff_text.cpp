#include <tools/commands/diff_report.hpp>

#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>
#include <cmath>

namespace logging2::tools {
namespace {

std::string percent_text(double share) {
    return share > 0 && share < 0.0001 ? "<0.01 %"
                                       : short_number_text(std::round(share * 1e4) / 1e2) + " %";
}

std::string range_text(const SideSummary& side) {
    return side.stepCount == 0
               ? "nothing"
               : short_number_text(*side.firstTime) + " to " + short_number_text(*side.lastTime);
}

void append_note(std::string& notes, const std::string& note) {
    notes += (notes.empty() ? "" : "; ") + note;
}

std::string tolerance_text(const Tolerance& tolerance) {
    return "absolute " + short_number_text(tolerance.absolute) + ", relative " +
           short_number_text(tolerance.relative) + " of the range in A, time " +
           short_number_text(tolerance.time);
}

/// The tolerance is told if a file may make it differ from signal to signal.
std::string notes_of(const SignalComparison& signal, bool tellsTolerance) {
    const SideSummary& a = signal.comparison.a;
    const SideSummary& b = signal.comparison.b;
    std::string notes;
    if (!signal.isOrdered) {
        append_note(notes, "times do not ascend, so bit by bit");
    }
    if (signal.comparison.hasTimeDifference) {
        append_note(notes, signal.method == Method::exact
                               ? "times differ"
                               : "A has " + range_text(a) + ", B " + range_text(b));
    }
    if (a.stepCount != b.stepCount) {
        append_note(notes,
                    "A has " + count_text(a.stepCount) + " steps, B " + count_text(b.stepCount));
    }
    if (a.nanCount != b.nanCount || signal.comparison.worst.hasNanDifference) {
        append_note(notes, "A has " + count_text(a.nanCount) + " NaN, B " + count_text(b.nanCount));
    }
    if (tellsTolerance && signal.isOrdered) {
        append_note(notes, "allowed: " + tolerance_text(signal.tolerance));
    }
    return notes;
}

std::string name_of(const SignalComparison& signal) {
    return signal.width == 1
               ? signal.path
               : signal.path + '[' + std::to_string(signal.comparison.worst.element) + ']';
}

/// The number of the step in A, or in B if A has none.
std::string step_text(const Place& place) {
    return place.stepA ? count_text(*place.stepA) : "B " + count_text(place.stepB.value_or(0));
}

std::vector<std::string> cells_of(const SignalComparison& signal, bool tellsTolerance) {
    const ElementComparison& worst = signal.comparison.worst;
    return {name_of(signal),
            short_number_text(worst.first->time),
            step_text(*worst.first),
            short_number_text(worst.largest),
            short_number_text(worst.at),
            short_number_text(worst.allowed),
            percent_text(worst.share),
            notes_of(signal, tellsTolerance)};
}

std::vector<std::string> cells_of(const std::string& path, const std::string& note) {
    return {path, "", "", "", "", "", "", note};
}

Table table_of(const DiffReport& report) {
    const RunComparison& result = report.result;
    using Content = Table::Content;
    Table table({{"SIGNAL", Content::name},
                 {"FIRST", Content::number, 5},
                 {"STEP", Content::number, 1},
                 {"LARGEST", Content::number, 6},
                 {"AT", Content::number, 3},
                 {"ALLOWED", Content::number, 2},
                 {"OUTSIDE", Content::number, 4},
                 {"NOTE", Content::note, 7}});
    for (const std::string& path : result.onlyA) {
        table.add(cells_of(path, "missing: only in A"));
    }
    for (const std::string& path : result.onlyB) {
        table.add(cells_of(path, "added: only in B"));
    }
    for (const WidthChange& change : result.widths) {
        table.add(cells_of(change.path, "A has " + count_text(change.widthA) + " elements, B " +
                                            count_text(change.widthB)));
    }
    for (const SignalComparison& signal : result.signals) {
        if (signal.comparison.differs()) {
            table.add(cells_of(signal, !report.toleranceFile.empty()));
        }
    }
    return table;
}

std::string tolerance_text(const DiffReport& report) {
    if (report.isExact) {
        return "compared: the bits of all times and values";
    }
    return "allowed: " + tolerance_text(report.tolerance) +
           (report.toleranceFile.empty() ? "" : "; others in " + printable(report.toleranceFile));
}

std::string unordered_text(std::size_t count) {
    return count_text(count) + (count == 1 ? " signal was" : " signals were") +
           " compared bit by bit, because times do not ascend or are not finite";
}

} // namespace

void print_diff(const Terminal& terminal, const DiffReport& report) {
    const RunComparison& result = report.result;
    if (result.differs()) {
        table_of(report).print(terminal);
        terminal.out << '\n';
    }
    terminal.printLine(count_text(result.differenceCount()) + " of " +
                       count_text(result.signalCount()) + " signals " +
                       (result.differenceCount() == 1 ? "differs" : "differ"));
    terminal.printLine(tolerance_text(report));
    const auto unordered =
        std::count_if(result.signals.begin(), result.signals.end(),
                      [](const SignalComparison& signal) { return !signal.isOrdered; });
    if (unordered > 0) {
        terminal.printLine(unordered_text(static_cast<std::size_t>(unordered)));
    }
}

} // namespace logging2::tools
