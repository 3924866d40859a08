#!/usr/bin/env python3
"""Draws the pictures of docs/using/comparing-runs.md.

Usage: draw_tubes.py TUBE_POINTS DIRECTORY

TUBE_POINTS is the built program tools_tube_points, whose algorithm is that of `logging2 diff`. DIRECTORY is
docs/pictures.
"""
import math
import subprocess
import sys
from pathlib import Path

import matplotlib
from matplotlib.figure import Figure

A_COLOUR, B_COLOUR, OUTSIDE_COLOUR, TUBE_COLOUR = "#3060a0", "#303030", "#c04020", "#c8d8ee"
matplotlib.rcParams.update({
    "font.family": "DejaVu Sans", "font.size": 8, "svg.fonttype": "none", "svg.hashsalt": "",
    "axes.spines.top": False, "axes.spines.right": False,
})

WAVE = [(t / 2, math.sin(t / 2)) for t in range(13)]
EVENT = [(0, 1), (2, 1), (2, 0.2), (4, 0.6)]
VALVE = [(0, 0), (1.5, 1), (3, 0), (4, 0)]
SPIKE = [(0, 0), (2.5, 0), (3, 1), (3.5, 0), (6, 0)]

# Each picture has two panels: title, ALLOWED, TIME, shape, reference, other signal.
PICTURES = {
    "diff-linear": [
        ("other samples of the same curve", 0.1, 0, "linear", WAVE,
         [(t / 3, math.sin(t / 3)) for t in range(19)]),
        ("a deviation", 0.1, 0, "linear", WAVE,
         [(t / 3, math.sin(t / 3) + 0.3 * math.exp(-(t / 3 - 4) ** 2)) for t in range(19)])],
    "diff-event": [
        ("event with a repeated time", 0.05, 0, "linear", EVENT,
         [(0, 1.02), (1, 0.98), (2, 1.02), (2, 0.22), (3, 0.4), (4, 0.58)]),
        ("the state before the event is missing", 0.05, 0, "linear", EVENT,
         [(0, 1.02), (1, 0.98), (2, 0.22), (3, 0.4), (4, 0.58)])],
    "diff-hold": [
        ("--hold: more samples of the same steps", 0.05, 0, "hold", VALVE,
         [(0, 0), (0.8, 0), (1.5, 1), (2.2, 1), (3, 0), (4, 0)]),
        ("without --hold", 0.05, 0, "linear", VALVE,
         [(0, 0), (0.8, 0), (1.5, 1), (2.2, 1), (3, 0), (4, 0)])],
    "diff-spike": [
        ("sparse samples", 0.05, 0, "linear", [(t / 2, 0.3 + 0.1 * t / 2) for t in range(13)],
         [(0, 0.3), (6, 0.9)]),
        ("missing spike", 0.05, 0, "linear", SPIKE, [(0, 0), (6, 0)])],
    "diff-time": [
        ("event 0.15 later", 0.05, 0, "linear", EVENT,
         [(0, 1), (2.15, 1), (2.15, 0.23), (4, 0.6)]),
        ("event 0.15 later, --time-tolerance 0.2", 0.05, 0.2, "linear", EVENT,
         [(0, 1), (2.15, 1), (2.15, 0.23), (4, 0.6)])],
}


def computed(program, allowed, time, shape, a, b):
    """The lines of the program, by their first word."""
    script = f"tube {allowed} {time} {shape}\n" + "".join(
        f"{name} {t!r} {v!r}\n" for name, samples in (("a", a), ("b", b)) for t, v in samples)
    output = subprocess.run([program], input=script, check=True, capture_output=True, text=True)
    lines = {"edge": [], "outside": []}
    for line in output.stdout.splitlines():
        word, *numbers = line.split()
        lines.setdefault(word, []).append([float(number) for number in numbers])
    return lines


def draw_panel(axes, program, title, *case):
    _, _, shape, a, b = case
    lines = computed(program, *case)
    style = "steps-post" if shape == "hold" else "default"
    axes.fill_between(*zip(*lines["edge"]), color=TUBE_COLOUR, linewidth=0, label="tube of A")
    axes.plot(*zip(*a), color=A_COLOUR, linewidth=1, marker="o", markersize=3, label="A",
              drawstyle=style)
    axes.plot(*zip(*b), color=B_COLOUR, linewidth=1, marker="x", markersize=4, label="B",
              linestyle="--", drawstyle=style)
    if lines["outside"]:
        axes.plot(*zip(*lines["outside"]), "o", color=OUTSIDE_COLOUR, markersize=8,
                  fillstyle="none", label="outside")
    result = "fails" if "differs" in lines else "passes"
    axes.set_title(f"{title}: {result}", loc="left", fontsize=8)
    axes.set_xlabel("time", fontsize=7)
    axes.tick_params(labelsize=7)
    axes.margins(y=0.15)
    axes.legend(fontsize=7, frameon=False, loc="best")


def main(program, directory):
    for name, panels in PICTURES.items():
        figure = Figure(figsize=(8, 2.3), layout="constrained")
        for axes, panel in zip(figure.subplots(ncols=2), panels):
            draw_panel(axes, program, *panel)
        figure.savefig(Path(directory) / f"{name}.svg", metadata={"Date": None})


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])
