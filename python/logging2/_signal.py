"""Signals and their samples."""

from __future__ import annotations

import math
import operator
from collections.abc import Iterator
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    import pandas

    from ._reading import Run

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
        self._key = _bytes_of(path)
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
        with self._run._lock:
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
        samples = Samples(*self._run._handle.series(self._key))
        if copy is False and not samples.is_view:
            raise ValueError(f"{self.path}: the samples cannot be read without a copy")
        if copy:
            return Samples(samples.times.copy(), samples.values.copy(), False)
        return samples

    def pieces(self) -> list[Samples]:
        """All samples in pieces, in their order. Those of a run in memory are views of it."""
        return [Samples(*piece) for piece in self._run._handle.pieces(self._key)]

    def sel(self, time: slice) -> Samples:
        """The samples with time.start <= time <= time.stop, in the order in which they were logged.

        Reads only these. Samples whose time is NaN are left out.
        """
        if not isinstance(time, slice) or time.step is not None:
            raise TypeError("sel needs a range of time, such as slice(1.0, 2.0)")
        start = -math.inf if time.start is None else float(time.start)
        stop = math.inf if time.stop is None else float(time.stop)
        return Samples(*self._run._handle.series_between(self._key, start, stop))

    def __getitem__(self, steps: slice) -> Samples:
        """The samples of these steps, numbered from 0. Reads only these."""
        if not isinstance(steps, slice):
            raise TypeError("a signal needs a range of steps, such as signal[10:20]")
        with self._run._lock:
            first, stop, stride = steps.indices(len(self))
            if stride != 1:
                raise ValueError("a range of steps cannot skip or reverse steps; slice the arrays")
            count = max(0, stop - first)
            return Samples(*self._run._handle.series_of_steps(self._key, first, count))

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
        time = float(time)
        with self._run._lock:
            first, count = self._run._handle.steps(self.group, time, time)
            if count > 0:
                step = first if side == "left" else first + count - 1
                value: Array | float = self[step : step + 1].values[0]
                return value
            before, count = self._run._handle.steps(self.group, -math.inf, time)
            after = before + count
            if count == 0 or not after < len(self):
                raise ValueError(f"{self.path}: there is no value at the time {time}")
            times, values, _ = self[after - 1 : after + 1]
        with np.errstate(over="ignore", invalid="ignore"):
            share = (time - times[0]) / (times[1] - times[0])
            value = values[0] * (1 - share) + values[1] * share
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
        return Overview(*self._run._handle.overview(self._key, low, high, bucket_count))

    @property
    def summary(self) -> Summary:
        """What is known about all samples, without reading them."""
        return Summary(**self._run._handle.summary(self._key))

    def to_pandas(self) -> pandas.DataFrame:
        """A table with a column per value and the times as its index."""
        return frame_of([self])

    def __array__(self, dtype: npt.DTypeLike = None, copy: bool | None = None) -> npt.NDArray[Any]:
        values = self.read(copy=False).values if copy is False else self.values
        if copy is False and dtype is not None and np.dtype(dtype) != values.dtype:
            raise ValueError("values of another type need a copy")
        return np.array(values, dtype=dtype) if copy else np.asarray(values, dtype=dtype)

    def __reduce__(self) -> tuple[Any, ...]:
        return operator.getitem, (self._run, self.path)

    def __repr__(self) -> str:
        width = "" if self.width == 1 else f" of {self.width} values"
        return f"<Signal {self.path!r}: {len(self)} steps{width}, group {self.group}>"


def _bytes_of(text: str) -> bytes:
    """The text as it was logged, also if it was not UTF-8."""
    return text.encode("utf-8", "surrogateescape")


def frame_of(signals: list[Signal]) -> pandas.DataFrame:
    """A table of signals of one group, with the times as its index."""
    import pandas  # pylint: disable=import-outside-toplevel

    names: list[str] = []
    columns: list[Array] = []
    for signal in signals:
        values = signal.values
        if signal.width == 1:
            names.append(signal.path)
            columns.append(values)
            continue
        for element in range(signal.width):
            names.append(f"{signal.path}[{element}]")
            columns.append(values[:, element])
    frame = pandas.DataFrame(
        dict(enumerate(columns)), index=pandas.Index(signals[0].times, name="time")
    )
    frame.columns = pandas.Index(names)  # a name may occur twice
    return frame
