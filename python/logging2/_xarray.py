"""xarray.open_dataset(location, engine="logging2")."""

from __future__ import annotations

import os
from collections.abc import Iterable
from itertools import count
from typing import Any, Literal

import numpy as np
import numpy.typing as npt
import xarray
from xarray.backends import BackendArray, BackendEntrypoint
from xarray.core import indexing

from ._reading import Run, StrPath
from ._signal import Signal


class LazyArray(BackendArray):  # type: ignore[misc]
    """The values or times of a signal, which are read when they are used."""

    def __init__(self, signal: Signal, part: Literal["values", "times"]) -> None:
        self._signal = signal
        self._part = part
        self.shape = signal.shape if part == "values" else signal.shape[:1]
        self.dtype = np.dtype(np.float64)

    def __getitem__(self, key: indexing.ExplicitIndexer) -> npt.NDArray[np.float64]:
        values: npt.NDArray[np.float64] = indexing.explicit_indexing_adapter(
            key, self.shape, indexing.IndexingSupport.BASIC, self._read
        )
        return values

    def _read(self, key: tuple[Any, ...]) -> npt.NDArray[np.float64]:
        """Reads the steps from the first to the last that are asked for, and chooses among them."""
        steps, *elements = key
        if isinstance(steps, slice):
            numbers = range(*steps.indices(self.shape[0]))
            if not numbers:
                return np.empty(self.shape)[(slice(0, 0), *elements)]
            first, last = min(numbers), max(numbers)
            return self._block(first, last)[(slice(None, None, numbers.step), *elements)]
        value: npt.NDArray[np.float64] = self._block(steps, steps)[(0, *elements)]
        return value

    def _block(self, first: int, last: int) -> npt.NDArray[np.float64]:
        block: npt.NDArray[np.float64] = getattr(self._signal[first : last + 1], self._part)
        return block


def variable_of(
    dimensions: list[str], signal: Signal, part: Literal["values", "times"]
) -> xarray.Variable:
    return xarray.Variable(dimensions, indexing.LazilyIndexedArray(LazyArray(signal, part)))


def free_names(paths: list[str], reserved: set[str]) -> dict[str, str]:
    """A name for each path: the path itself, or with a number if the path is reserved."""
    names = {path: path for path in paths}
    taken = reserved.union(paths)
    for path in reserved.intersection(paths):
        names[path] = next(name for number in count(2) if (name := f"{path}_{number}") not in taken)
        taken.add(names[path])
    return names


class LoggingBackend(BackendEntrypoint):  # type: ignore[misc]
    """Opens recordings as datasets.

    The dimension of a group's signals is "step". The time is an ordinary coordinate, because times
    may repeat. If the run has several groups, both names end with "_" and the group's id. A signal
    with a name that is taken in this way gets a number: "time" becomes "time_2".
    """

    description = "Open recordings (*.recording) of logging2"
    open_dataset_parameters = ("filename_or_obj", "drop_variables", "group")

    def open_dataset(
        self,
        filename_or_obj: StrPath,
        *,
        drop_variables: str | Iterable[str] | None = None,
        group: int | None = None,
    ) -> xarray.Dataset:
        """group: the id of the only group that is opened; by default all of them are."""
        run = Run(filename_or_obj)
        dropped = {drop_variables} if isinstance(drop_variables, str) else set(drop_variables or ())
        chosen = {each.id for each in run.groups if group is None or each.id == group}
        if not chosen:
            raise ValueError(f"{run.location}: there is no group {group}")
        signals = [s for s in run.values() if s.group in chosen and s.path not in dropped]
        ends = {id: "" if len(chosen) == 1 else f"_{id}" for id in chosen}
        reserved = {name + end for name in ("step", "time") for end in ends.values()}
        reserved |= {f"{signal.path}_element" for signal in signals if signal.width != 1}
        names = free_names([signal.path for signal in signals], reserved)
        data: dict[str, xarray.Variable] = {}
        coordinates: dict[str, xarray.Variable] = {}
        for signal in signals:
            end = ends[signal.group]
            dimensions = ["step" + end]
            if signal.width != 1:
                dimensions.append(f"{signal.path}_element")
            data[names[signal.path]] = variable_of(dimensions, signal, "values")
            if "time" + end not in coordinates:
                coordinates["time" + end] = variable_of(["step" + end], signal, "times")
        attributes = {"id": run.id, "name": run.name, "revision": run.revision, **run.properties}
        dataset = xarray.Dataset(data, coordinates, attributes)
        dataset.set_close(run.close)
        return dataset

    def guess_can_open(self, filename_or_obj: Any) -> bool:
        """Whether the name is that of a recording."""
        try:
            name = str(os.fspath(filename_or_obj))
        except TypeError:
            return False
        return name.rstrip("/").endswith(".recording")
