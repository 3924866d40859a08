"""Runs, their signals and samples."""

from __future__ import annotations

import math
import os
import warnings
from collections.abc import Iterator, Mapping
from dataclasses import dataclass
from datetime import datetime, timezone
from fnmatch import fnmatchcase
from types import TracebackType
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

import numpy as np
import numpy.typing as npt

from . import _core
from ._drawing import table_of

if TYPE_CHECKING:
    import pandas

Array = npt.NDArray[np.float64]


@dataclass(frozen=True)
class Group:
    """The steps of a group: signals that are logged together, with one time for all of them."""

    id: int
    step_count: int
    first_time: float | None
    last_time: float | None


class Samples(NamedTuple):
    """Consecutive samples of a signal.

    The arrays cannot be written. They stay valid after the run was closed or refreshed.
    """

    times: Array
    """The times of the S samples, in the order in which they were logged."""

    values: Array
    """The values, of shape (S,) or (S, w)."""

    is_view: bool
    """Whether the arrays are the run's own memory or its file, mapped into memory, and not a copy."""


class Overview(NamedTuple):
    """The least and the greatest value in each of several intervals of time.

    An interval without a number has +inf as its least value and -inf as its greatest one.
    """

    low: Array
    high: Array


@dataclass(frozen=True)
class Summary:
    """What is known about all samples of a signal. It is found without reading them."""

    step_count: int
    least_time: float | None
    greatest_time: float | None
    least: list[float]
    """The least value of each element; +inf if it has no number."""
    greatest: list[float]
    """The greatest value of each element; -inf if it has no number."""
    nan_count: list[int]
    """How many values of each element are NaN."""
    byte_count: int
    """How many bytes the values take in the file."""


class Signal:
    """A signal of a run. Reads its samples when they are asked for."""

    def __init__(self, run: Run, path: str, group: int, channel: int, width: int) -> None:
        self._run = run
        self._samples: Samples | None = None
        self._generation = -1
        self.path = path
        self.group = group
        """The id of its group."""
        self.channel = channel
        """The number of its channel. Signals with the same group and channel are aliases."""
        self.width = width
        """How many values each sample has."""

    def __len__(self) -> int:
        return self._run._step_count(self.group)

    @property
    def shape(self) -> tuple[int, ...]:
        """The shape of `values`."""
        return (len(self),) if self.width == 1 else (len(self), self.width)

    @property
    def times(self) -> Array:
        """The times of all samples. Read together with `values`, and kept."""
        return self._all().times

    @property
    def values(self) -> Array:
        """The values of all samples, of shape (S,) or (S, w). Read once, and kept."""
        return self._all().values

    def _all(self) -> Samples:
        if self._samples is None or self._generation != self._run._generation:
            self._samples = self.read()
            self._generation = self._run._generation
        return self._samples

    def read(self, *, copy: bool | None = None) -> Samples:
        """Reads all samples.

        copy: False raises ValueError if the samples do not lie side by side, so that they would
        have to be copied. True returns arrays that can be written. None does what is
        cheapest.
        """
        samples = Samples(*self._run._handle.series(self.path))
        if copy is False and not samples.is_view:
            raise ValueError(f"{self.path}: the samples cannot be read without a copy")
        if copy:
            return Samples(samples.times.copy(), samples.values.copy(), False)
        return samples

    def pieces(self) -> list[Samples]:
        """All samples in pieces, in their order. Those of a run in memory are views of it."""
        return [Samples(*piece) for piece in self._run._handle.pieces(self.path)]

    def sel(self, time: slice) -> Samples:
        """The samples with time.start <= time <= time.stop, in the order in which they were logged.

        Reads only these. Samples whose time is NaN are left out.
        """
        if not isinstance(time, slice) or time.step is not None:
            raise TypeError("sel needs a range of time, such as slice(1.0, 2.0)")
        start = -math.inf if time.start is None else float(time.start)
        stop = math.inf if time.stop is None else float(time.stop)
        return Samples(*self._run._handle.series_between(self.path, start, stop))

    def __getitem__(self, steps: slice) -> Samples:
        """The samples of these steps, numbered from 0. Reads only these."""
        if not isinstance(steps, slice):
            raise TypeError("a signal needs a range of steps, such as signal[10:20]")
        first, stop, stride = steps.indices(len(self))
        if stride != 1:
            raise ValueError("the steps of a range follow each other")
        return Samples(
            *self._run._handle.series_of_steps(self.path, first, max(0, stop - first))
        )

    def chunks(self, step_count: int = 65536) -> Iterator[Samples]:
        """All samples in pieces of so many steps; the last one may be shorter."""
        if step_count < 1:
            raise ValueError("a piece needs at least one step")
        for first in range(0, len(self), step_count):
            yield self[first : first + step_count]

    def at(self, time: float, side: Literal["left", "right"] = "right") -> Array | float:
        """The value at a time, interpolated linearly between two steps.

        If several steps have this time, as at an event, side chooses the first ("left") or the last
        ("right") of them. The times of the signal must ascend. Raises ValueError if the time is
        outside of them.
        """
        if side not in ("left", "right"):
            raise ValueError('side is "left" or "right"')
        first, count = self._run._handle.steps(self.group, time, time)
        if count > 0:
            return self._value(first if side == "left" else first + count - 1)
        before, count = self._run._handle.steps(self.group, -math.inf, time)
        after = before + count
        if count == 0 or not after < len(self):
            raise ValueError(f"{self.path}: there is no value at the time {time}")
        times, values, _ = self[after - 1 : after + 1]
        share = (time - times[0]) / (times[1] - times[0])
        value: Array | float = values[0] * (1 - share) + values[1] * share
        return value

    def _value(self, step: int) -> Array | float:
        value: Array | float = self[step : step + 1].values[0]
        return value

    def overview(
        self, bucket_count: int, start: float | None = None, stop: float | None = None
    ) -> Overview:
        """The least and the greatest value in each of bucket_count equal intervals of [start, stop].

        By default, these are the least and the greatest time. Costs little, however many samples
        there are. The arrays have the shape (bucket_count,) or (bucket_count, w).
        """
        summary = self.summary
        low = summary.least_time if start is None else start
        high = summary.greatest_time if stop is None else stop
        if low is None or high is None:
            low = high = 0.0
        return Overview(*self._run._handle.overview(self.path, low, high, bucket_count))

    @property
    def summary(self) -> Summary:
        """What is known about all samples, without reading them."""
        return Summary(**self._run._handle.summary(self.path))

    def to_pandas(self) -> pandas.DataFrame:
        """A table with a column per value and the times as its index."""
        return self._run.to_pandas(self.path)

    def __array__(self, dtype: npt.DTypeLike = None, copy: bool | None = None) -> npt.NDArray[Any]:
        values = self.values
        if copy is False and dtype is not None and np.dtype(dtype) != values.dtype:
            raise ValueError("values of another type need a copy")
        return np.array(values, dtype=dtype) if copy else np.asarray(values, dtype=dtype)

    def __repr__(self) -> str:
        width = "" if self.width == 1 else f" of {self.width} values"
        return f"<Signal {self.path!r}: {len(self)} steps{width}, group {self.group}>"


class Run(Mapping[str, Signal]):
    """A run, as a mapping from paths to signals.

    It shows the run as it was when it was opened or last refreshed. Several threads may use it.
    A pickled run is its location and revision, and is opened again.
    """

    def __init__(self, location: str | os.PathLike[str]) -> None:
        self._attach(os.fspath(location), _core.Run(os.fspath(location)))

    @classmethod
    def _of(cls, handle: _core.Run) -> Run:
        """A run in memory."""
        run = cls.__new__(cls)
        run._attach("", handle)
        return run

    def _attach(self, location: str, handle: _core.Run) -> None:
        self.location = location
        """The directory of the recording; empty for a run in memory."""
        self._open: _core.Run | None = handle
        self._generation = 0
        self._load()

    def _load(self) -> None:
        info = self._handle.info()
        self.id: str = info["id"]
        self.name: str = info["name"]
        self.state: Literal["running", "finished", "interrupted"] = info["state"]
        self.start: datetime = datetime.fromtimestamp(info["start"], timezone.utc)
        """When the host started to write, by its clock."""
        self.end: datetime | None = (
            None if info["end"] is None else datetime.fromtimestamp(info["end"], timezone.utc)
        )
        """When the host ended writing; None while it runs and if it crashed."""
        self.properties: dict[str, str] = info["properties"]
        """The host's own notes."""
        self.revision: int = info["revision"]
        """Grows whenever samples that readers could see are discarded."""
        self.groups: list[Group] = [Group(*group) for group in self._handle.groups()]
        self._places = {signal[0]: signal[1:] for signal in self._handle.signals()}

    @property
    def _handle(self) -> _core.Run:
        if self._open is None:
            raise ValueError("the run is closed")
        return self._open

    def _step_count(self, group: int) -> int:
        return next(each.step_count for each in self.groups if each.id == group)

    def __getitem__(self, path: str) -> Signal:
        if path not in self._places:
            raise KeyError(f"{self.location}: there is no signal {path!r}")
        return Signal(self, path, *self._places[path])

    def __iter__(self) -> Iterator[str]:
        return iter(self._places)

    def __len__(self) -> int:
        return len(self._places)

    def refresh(self) -> bool:
        """Goes on to the present state of the run. Returns whether anything has changed.

        Arrays that were given out before stay as they are.
        """
        changed = self._handle.refresh()
        if changed:
            self._generation += 1
            self._load()
        return changed

    def matching(self, *patterns: str) -> list[Signal]:
        """The signals whose path matches one of the patterns, such as "ball.*"; all without one."""
        found = [
            self[path]
            for path in self
            if not patterns or any(fnmatchcase(path, pattern) for pattern in patterns)
        ]
        if not found:
            raise KeyError(f"{self.location}: no signal matches {', '.join(patterns)}")
        return found

    def to_pandas(self, *patterns: str) -> pandas.DataFrame:
        """A table of the signals that match, with the times as its index; needs pandas.

        A signal with w values has the columns "path[0]" to "path[w - 1]". All signals must belong to
        one group, because groups have steps at different times; otherwise raises ValueError.
        """
        import pandas  # pylint: disable=import-outside-toplevel

        signals = self.matching(*patterns)
        if len({signal.group for signal in signals}) > 1:
            raise ValueError("the signals belong to several groups; choose those of one group")
        columns: dict[str, Array] = {}
        for signal in signals:
            values = signal.values
            if signal.width == 1:
                columns[signal.path] = values
            else:
                for element in range(signal.width):
                    columns[f"{signal.path}[{element}]"] = values[:, element]
        index = pandas.Index(signals[0].times, name="time")
        return pandas.DataFrame(columns, index=index)

    def close(self) -> None:
        """Closes the run. Arrays that were given out stay valid."""
        self._open = None

    def __enter__(self) -> Run:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, ...]:
        if not self.location:
            raise TypeError("a run in memory cannot be pickled")
        return _reopen, (os.path.abspath(self.location), self.revision)

    # Two runs are equal if they are the same object, although mappings compare their contents.
    __eq__ = object.__eq__
    __hash__ = object.__hash__

    def __repr__(self) -> str:
        steps = sum(group.step_count for group in self.groups)
        return f"<Run {self.name!r}: {self.state}, {len(self)} signals, {steps} steps, {self.location!r}>"

    def _repr_html_(self) -> str:
        return table_of(self)


def _reopen(location: str, revision: int) -> Run:
    run = Run(location)
    if run.revision != revision:
        raise _core.RecordingError(
            f"{location}: steps were discarded since this run was pickled"
        )
    return run


def open(location: str | os.PathLike[str]) -> Run:  # pylint: disable=redefined-builtin
    """Opens a recording, given its directory, also while it is still being written.

    Raises RecordingError if it is missing or damaged.
    """
    return Run(location)


def runs(directory: str | os.PathLike[str]) -> Iterator[Run]:
    """The recordings in a directory, the newest first. Warns of those that cannot be opened."""
    for location, fault in _core.list_recordings(os.fspath(directory)):
        if fault:
            warnings.warn(fault, stacklevel=2)
        else:
            yield Run(location)
