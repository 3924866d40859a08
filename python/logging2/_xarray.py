"""xarray.open_dataset(location, engine="logging2")."""

from __future__ import annotations

import os
from collections.abc import Iterable
from typing import Any

import numpy as np
import numpy.typing as npt
import xarray
from xarray.backends import BackendArray, BackendEntrypoint
from xarray.core import indexing

from ._reading import Run, Signal


class LazySignal(BackendArray):  # type: ignore[misc]
    """The values of a signal, which are read when they are used."""

    def __init__(self, signal: Signal) -> None:
        self._signal = signal
        self.shape = signal.shape
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
            block = self._signal[first : last + 1].values
            return block[(slice(None, None, numbers.step), *elements)]
        value: npt.NDArray[np.float64] = self._signal[steps : steps + 1].values[(0, *elements)]
        return value


class LoggingBackend(BackendEntrypoint):  # type: ignore[misc]
    """Opens recordings as datasets.

    The dimension of a group's signals is "step". The time is an ordinary coordinate, because times
    may repeat. If the run has several groups, both names end with "_" and the group's id.
    """

    description = "Open recordings (*.recording) of logging2"
    open_dataset_parameters = ("filename_or_obj", "drop_variables", "group")

    def open_dataset(
        self,
        filename_or_obj: str | os.PathLike[str],
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
        data: dict[str, xarray.Variable] = {}
        coordinates: dict[str, xarray.Variable] = {}
        for path, signal in run.items():
            if signal.group not in chosen or path in dropped:
                continue
            end = "" if len(chosen) == 1 else f"_{signal.group}"
            dimensions = ["step" + end]
            if signal.width != 1:
                dimensions.append(f"{path}_element")
            lazy = indexing.LazilyIndexedArray(LazySignal(signal))
            data[path] = xarray.Variable(dimensions, lazy)
            if "time" + end not in coordinates:
                coordinates["time" + end] = xarray.Variable("step" + end, signal.times)
        attributes = {"id": run.id, "name": run.name, "revision": run.revision, **run.properties}
        return xarray.Dataset(data, coordinates, attributes)

    def guess_can_open(self, filename_or_obj: Any) -> bool:
        """Whether the name is that of a recording."""
        try:
            name = str(os.fspath(filename_or_obj))
        except TypeError:
            return False
        return name.rstrip("/").endswith(".recording")
