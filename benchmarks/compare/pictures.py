"""Draws one picture per question, as SVG."""

from pathlib import Path

import matplotlib
from matplotlib.axes import Axes
from matplotlib.figure import Figure
from matplotlib.ticker import LogLocator

from benchmarks.compare.questions import Question
from benchmarks.compare.results import Results, Summary
from benchmarks.compare.tables import floor_of, growing_size

LIBRARY_COLOUR = "#3060a0"  # the library's own contenders stand out
OTHER_COLOUR = "#8090a0"
FLOOR_COLOUR = "#c04020"

matplotlib.rcParams.update({
    "font.family": "DejaVu Sans", "font.size": 9, "svg.fonttype": "none", "svg.hashsalt": "",
    "axes.grid": True, "grid.color": "#d8d8d8", "grid.linewidth": 0.6, "axes.axisbelow": True,
})


def draw(question: Question, results: Results, path: Path) -> None:
    figure = _growth(question, results) if question.is_growth else _panels(question, results)
    figure.savefig(path, metadata={"Date": None})


def draw_side_by_side(question: Question, results: Results, path: Path) -> None:
    """Rows of three panels, which fit on a page. The panels of a row share the contenders' names."""
    row_count = -(-len(question.workloads) // 3)
    figure = Figure(figsize=(10, 0.6 + row_count * (0.5 + 0.24 * len(question.entries))),
                    layout="constrained")
    grid = figure.subplots(row_count, min(3, len(question.workloads)), squeeze=False)
    panels = list(grid.flat)
    for axes in panels[len(question.workloads):]:
        axes.set_visible(False)
    for axes, workload in zip(panels, question.workloads):
        _panel(axes, question, workload, results)
        axes.set_title(_short_title(workload, question, results), loc="left", fontsize=9)
        left, right = axes.get_xlim()
        axes.set_xlim(right=right * (right / left) ** 0.15)  # labels need more of a narrow panel
        axes.xaxis.set_major_locator(LogLocator(subs=(1,) if right > 100 * left else (1, 3)))
        axes.tick_params(axis="x", labelsize=8)
    for axes in grid[:, 1:].flat:
        axes.tick_params(labelleft=False)
    figure.suptitle(_title(question, results), fontsize=10)
    figure.savefig(path, metadata={"Date": None})


def _panels(question: Question, results: Results) -> Figure:
    """A panel per workload, one below the other."""
    heights = 0.75 + 0.24 * len(question.entries)
    figure = Figure(figsize=(10, 0.8 + heights * len(question.workloads)), layout="constrained")
    panels = figure.subplots(len(question.workloads), squeeze=False)[:, 0]
    for axes, workload in zip(panels, question.workloads):
        _panel(axes, question, workload, results)
    figure.suptitle(_title(question, results), fontsize=10)
    return figure


def _title(question: Question, results: Results) -> str:
    text = f"{question.title}\nnanoseconds per row (logarithmic), medians and quartiles"
    if not results.is_full_size:
        text += f", {results.context['scale']:g} of the steps"
    floors = [floor_of(question, workload, results) for workload in question.workloads]
    if any(floor is not None for floor in floors):
        name = next(entry.title for entry in question.entries if entry.contender == question.floor)
        text += f"; broken line: floor ({name})"
    return text


def _short_title(workload: str, question: Question, results: Results) -> str:
    for entry in question.entries:
        if summary := results.summary(entry.contender, workload, entry.phase):
            noun = "double" if summary.values_per_row == 1 else "doubles"
            return f"{workload}: {summary.values_per_row:,.0f} {noun} per row"
    return workload


def _panel(axes: Axes, question: Question, workload: str, results: Results) -> None:
    """Dots with quartiles. A logarithmic axis has no zero at which bars could start."""
    axes.set_xscale("log")
    axes.set_title(workload, loc="left", fontsize=9)
    lows, highs = [], []
    for position, entry in enumerate(question.entries):
        summary = results.summary(entry.contender, workload, entry.phase)
        if summary is None:
            continue
        colour = LIBRARY_COLOUR if "Stream" in entry.title else OTHER_COLOUR
        axes.errorbar(summary.median, position, fmt="o", color=colour, capsize=2,
                      xerr=[[summary.median - summary.low], [summary.high - summary.median]])
        axes.annotate(_label(summary), (summary.high, position), xytext=(6, 0),
                      textcoords="offset points", va="center", fontsize=8)
        lows.append(summary.low)
        highs.append(summary.high)
        axes.set_title(f"{workload}: {summary.label}", loc="left", fontsize=9)
    if highs:
        # Room for the label of the longest time.
        axes.set_xlim(min(lows) / 1.5, max(highs) * (max(highs) / min(lows)) ** 0.25)
        labelled = (1,) if max(highs) > 100 * min(lows) else (1, 2, 5)
        axes.xaxis.set_major_locator(LogLocator(subs=labelled))
    floor = floor_of(question, workload, results)
    if floor is not None:
        axes.axvline(floor, color=FLOOR_COLOUR, linestyle="--", linewidth=1.2)
    axes.set_yticks(range(len(question.entries)), [entry.title for entry in question.entries])
    axes.set_ylim(len(question.entries) - 0.4, -0.6)
    axes.xaxis.set_major_formatter("{x:,.10g}")


def _label(summary: Summary) -> str:
    time = f"{summary.median:.3g}" if summary.median < 1000 else f"{summary.median:,.0f}"
    return f"{time}, rows lost" if summary.rows_lost > 0 else time


def _growth(question: Question, results: Results) -> Figure:
    """A line per entry. Both axes are logarithmic."""
    figure = Figure(figsize=(10, 5.5), layout="constrained")
    axes = figure.subplots()
    axes.set_xscale("log")
    axes.set_yscale("log")
    for entry, marker in zip(question.entries, "osD^v"):
        points = [(growing_size(question, workload, results), summary)
                  for workload in question.workloads
                  if (summary := results.summary(entry.contender, workload, entry.phase,
                                                 question.per))]
        medians = [summary.median for _, summary in points]
        axes.errorbar([size for size, _ in points], medians, label=entry.title, marker=marker,
                      capsize=2, yerr=[[summary.median - summary.low for _, summary in points],
                                       [summary.high - summary.median for _, summary in points]])
    axes.set_title(question.title, fontsize=10)
    axes.set_xlabel("rows" if question.per == "row" else "channels")
    axes.set_ylabel(f"ns per {question.per}")
    axes.yaxis.set_major_locator(LogLocator(subs=(1, 2, 5)))
    axes.xaxis.set_major_formatter("{x:,.10g}")
    axes.yaxis.set_major_formatter("{x:,.10g}")
    axes.legend(loc="upper center", bbox_to_anchor=(0.5, -0.12), ncols=2, frameon=False)
    return figure
