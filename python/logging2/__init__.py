"""Runs of simulations: read what was logged, and log from Python.

    import logging2

    with logging2.open("results/ball-20261121T221530Z-1f3a9c.recording") as run:
        height = run["ball.height"]
        print(height.times, height.values)

Times are in the unit of the simulation that logged them. Values are float64, in arrays of shape (S,)
for a signal with one value per step, and (S, w) for one with w values.
"""

from ._core import RecordingError
from ._reading import Run, open, runs
from ._signal import Group, Overview, Samples, Signal, Summary
from ._writing import Writer, backends, load_backends

__all__ = [
    "Group",
    "Overview",
    "RecordingError",
    "Run",
    "Samples",
    "Signal",
    "Summary",
    "Writer",
    "backends",
    "load_backends",
    "open",
    "runs",
]
