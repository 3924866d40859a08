"""Runs."""

from __future__ import annotations

import os
import threading
import warnings
from collections.abc import Iterator, Mapping
from contextlib import AbstractContextManager
from datetime import datetime, timezone
from fnmatch import fnmatchcase
from types import TracebackType
from typing import TYPE_CHECKING, Any, Literal, Union

from . import _core
from ._drawing import table_of
from ._signal import Group, Signal, frame_of

if TYPE_CHECKING:
    import pandas

StrPath = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class Run(Mapping[str, Signal]):
    """A run, as a mapping from paths to signals.

    It shows the run as it was when it was opened or last refreshed. Several threads may use it.
    A pickled run is its location, id and revision, and is opened again. A forked process opens it
    again, too, but cannot use a run in memory.
    """

    _reopening = threading.RLock()
    """Held by the thread of a forked process that opens a run again."""

    def __init__(self, location: StrPath) -> None:
        self._attach(os.fsdecode(location), _core.Run(os.fsencode(location)))

    @classmethod
    def _of(cls, handle: _core.Run) -> Run:
        """A run in memory."""
        run = cls.__new__(cls)
        run._attach("", handle)
        return run

    def _attach(self, location: str, handle: _core.Run) -> None:
        self.location = location
        """The directory of the recording; empty for a run in memory."""
        self._place = os.path.abspath(location) if location else ""
        self._open: _core.Run | None = handle
        self._process = os.getpid()
        self._guard = threading.RLock()
        self._generation = 0
        self._load(handle)

    def _load(self, handle: _core.Run) -> None:
        info = handle.info()
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
        self.host: str = info["host"]
        """The name of the computer that the host ran on; empty for a run in memory."""
        self.process: str = info["process"]
        """The id of the host's process; empty for a run in memory."""
        self.library_version: str = info["library_version"]
        """The version of logging2 that the host used; empty for a run in memory."""
        self.groups: list[Group] = [Group(*group) for group in handle.groups()]
        self._places = {signal[0]: signal[1:] for signal in handle.signals()}

    @property
    def _handle(self) -> _core.Run:
        if self._process != os.getpid():
            self._open_in_fork()
        handle = self._open  # another thread may close the run
        if handle is None:
            raise ValueError("the run is closed")
        return handle

    def _open_in_fork(self) -> None:
        """A forked process must not use the files and locks of its parent."""
        if not self.location:
            raise ValueError("the run belongs to the parent of this process")
        with Run._reopening:
            if self._process == os.getpid():
                return
            if self._open is not None:
                handle = _core.Run(os.fsencode(self._place))
                _check_same(handle, self._place, self.id, self.revision)
                self._load(handle)
                self._open = handle
                self._generation += 1
            self._guard = threading.RLock()
            self._process = os.getpid()  # last, because other threads wait for the rest

    @property
    def _lock(self) -> AbstractContextManager[Any]:
        """Keeps several questions to one state of the run together."""
        if self._process != os.getpid():
            self._open_in_fork()
        return self._guard

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
        with self._lock:
            handle = self._handle
            changed = handle.refresh()
            if changed:
                self._generation += 1
                self._load(handle)
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
        signals = self.matching(*patterns)
        if len({signal.group for signal in signals}) > 1:
            raise ValueError("the signals belong to several groups; choose those of one group")
        with self._lock:
            return frame_of(signals)

    def close(self) -> None:
        """Closes the run. Arrays that were given out stay valid."""
        with Run._reopening:
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
        return _reopen, (self._place, self.id, self.revision)

    # Two runs are equal if they are the same object, although mappings compare their contents.
    __eq__ = object.__eq__
    __hash__ = object.__hash__

    def __repr__(self) -> str:
        steps = sum(group.step_count for group in self.groups)
        return f"<Run {self.name!r}: {self.state}, {len(self)} signals, {steps} steps, {self.location!r}>"

    def _repr_html_(self) -> str:
        return table_of(self)


def _renew_lock() -> None:
    """The thread that held the lock does not exist in a forked process."""
    Run._reopening = threading.RLock()


os.register_at_fork(after_in_child=_renew_lock)


def _check_same(handle: _core.Run, location: str, identity: str, revision: int) -> None:
    info = handle.info()
    if info["id"] != identity:
        raise _core.RecordingError(f"{location}: another run has taken the place of this one")
    if info["revision"] != revision:
        raise _core.RecordingError(
            f"{location}: steps were discarded since this run was opened first"
        )


def _reopen(location: str, identity: str, revision: int) -> Run:
    run = Run(location)
    _check_same(run._handle, location, identity, revision)
    return run


def open(location: StrPath) -> Run:  # pylint: disable=redefined-builtin
    """Opens a recording, given its directory, also while it is still being written.

    Raises RecordingError if it is missing or damaged.
    """
    return Run(location)


def runs(directory: StrPath) -> Iterator[Run]:
    """The recordings in a directory, the newest first. Warns of those that cannot be opened."""
    for location, fault in _core.list_recordings(os.fsencode(directory)):
        try:
            run = None if fault else Run(location)
        except _core.RecordingError as error:  # it was removed or damaged meanwhile
            fault = str(error)
            run = None
        if run is None:
            warnings.warn(fault, stacklevel=2)
        else:
            yield run
