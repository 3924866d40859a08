"""Logging from Python."""

from __future__ import annotations

import operator
import os
from collections.abc import Iterable, Mapping, Sequence
from types import TracebackType
from typing import Literal, Union

import numpy as np
import numpy.typing as npt

from . import _core
from ._reading import Run, StrPath

Signals = Union[Mapping[str, int], Iterable[str]]
"""The paths of a group's signals, with the number of values of each if it is not 1."""


class Writer:
    """Logs a simulation with one of the back-ends.

        with logging2.Writer("recording", groups=[{"height": 1, "position": 3}]) as writer:
            writer.write(0, 0.0, [1.0, 0.0, 0.0, 1.0])

    At the end of the block, everything is final. If an exception leaves the block, a recording is
    marked as interrupted. Several threads may use a writer; it does one call at a time. A forked
    process cannot use it.
    """

    def __init__(
        self,
        backend: str = "recording",
        *,
        groups: Sequence[Signals],
        name: str = "",
        rollback_on_time_regression: bool = False,
        point_limit: int = 0,
        directory: StrPath | None = None,
        properties: Mapping[str, str] | None = None,
        compress: bool | None = None,
        durability: Literal["process", "power"] | None = None,
        held_back_steps: int | None = None,
        byte_limit: int | None = None,
        discard_oldest: bool | None = None,
    ) -> None:
        """Makes a writer.

        groups: the signals of group 0, 1, and so on, in the order of the values in `write`.
        rollback_on_time_regression: a step whose time is not later than the last one replaces the
            steps from its own time on.
        point_limit: how many steps "memory-restricted" keeps.
        For "recording" only:
        directory: where the recording is made; created if missing. The default is the current one.
        properties: notes that are stored with the run.
        compress: whether values are packed without loss.
        durability: what a commit survives: the end of the process (the default), or of the machine.
        held_back_steps: how many of the newest steps readers do not see yet, 16 by default.
        For "columnar" only:
        byte_limit: how many bytes of memory the samples may take; no limit by default.
        discard_oldest: whether `write` discards the oldest steps beyond the limit. By default, it
            raises ValueError.
        """
        self._widths: dict[str, int] = {}
        if isinstance(groups, (str, bytes, Mapping)):
            raise TypeError("groups is a list of groups")
        setup = [self._signals_of(group) for group in groups]
        options = {
            "recording": (directory, properties, compress, durability, held_back_steps),
            "columnar": (byte_limit, discard_oldest),
        }
        for owner, values in options.items():
            if backend != owner and any(value is not None for value in values):
                raise ValueError(f'only "{owner}" has these options, not "{backend}"')
        if discard_oldest and byte_limit is None:
            raise ValueError("discard_oldest needs a byte_limit")
        if backend == "recording":
            if durability not in (None, "process", "power"):
                raise ValueError('durability is "process" or "power"')
            self._writer = _core.make_recording(
                setup,
                name,
                rollback_on_time_regression,
                os.fsencode(directory) if directory is not None else ".",
                dict(properties or {}),
                bool(compress),
                durability == "power",
                16 if held_back_steps is None else held_back_steps,
            )
        elif byte_limit is not None:
            self._writer = _core.make_columnar(
                setup, name, rollback_on_time_regression, byte_limit, bool(discard_oldest)
            )
        else:
            self._writer = _core.make_writer(
                backend, setup, name, rollback_on_time_regression, point_limit
            )

    def _signals_of(self, group: Signals) -> list[tuple[str, int]]:
        if isinstance(group, (str, bytes)):
            raise TypeError(f"a group is a list of paths or a mapping to widths, not {group!r}")
        pairs = list(group.items()) if isinstance(group, Mapping) else [(path, 1) for path in group]
        for path, width in pairs:
            if not isinstance(path, str):
                raise TypeError(f"a path is a text, not {path!r}")
            if path in self._widths:
                raise ValueError(f"there are two signals {path!r}")
            self._widths[path] = operator.index(width)
            if not 0 <= width < 2**32:
                raise ValueError(f"the signal {path!r} cannot have {width} values")
        return pairs

    @property
    def location(self) -> str:
        """The directory of the recording; empty for other back-ends."""
        return self._writer.location

    def write(self, group: int, time: float, values: npt.ArrayLike) -> None:
        """Logs a step of a group: the values of its signals, one after the other.

        values: numbers or arrays of any shape. Integers beyond 2**53 are rounded to the nearest
            float64; whatever else would lose something raises TypeError, also a masked array.
        """
        self._writer.write(group, time, values)

    def rollback(self, group: int, time: float) -> None:
        """Discards the first step that is later than the time, and all steps after it."""
        self._writer.rollback(group, time)

    def flush_intermediate(self) -> None:
        """Stores all steps so far, and shows them to readers, also those that were held back."""
        self._writer.show()

    def flush(self) -> None:
        """Makes everything final. After it, only `read`, `run`, `snapshot` and `close` can be called."""
        self._writer.flush()

    def read(self, path: str) -> tuple[npt.NDArray[np.float64], npt.NDArray[np.float64]]:
        """Copies of the times and values of a signal; call it after `flush`."""
        if path not in self._widths:
            raise KeyError(f"there is no signal {path!r}")
        times, values = self._writer.read(path)
        width = self._widths[path]
        return times, values if width == 1 else values.reshape(times.size, width)

    def run(self) -> Run:
        """The run so far; for "columnar" only. `Signal.pieces` gives views of the writer's memory.

        `refresh` goes on to its present state. The run outlives the writer. A forked process cannot
        use it.
        """
        return Run._of(self._writer.run())

    def snapshot(self, start: float, stop: float) -> Run:
        """Like `run`, but from the first to the last step with start <= time <= stop.

        `stop` may lie in the future; `refresh` adds what was written since.
        """
        return Run._of(self._writer.snapshot(start, stop))

    def close(self) -> None:
        """Makes everything final, and lets go of what was kept in memory or temporary files."""
        self._writer.flush()
        self._writer.abandon()

    def __enter__(self) -> Writer:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        if kind is None:
            self.flush()
        else:
            self._writer.abandon()


def load_backends(file: StrPath) -> None:
    """Adds the back-ends of a shared library to those that Writer finds by name."""
    _core.load_backends(os.fsencode(file))


def backends() -> list[str]:
    """The names of the back-ends that Writer can use; each also with "checked:" before it."""
    return _core.backend_names()
