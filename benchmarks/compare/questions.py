"""What is compared: the contenders, the workloads, and the phase of the work that counts."""

from dataclasses import dataclass, replace
from typing import Callable


@dataclass(frozen=True)
class Entry:
    """One line of a table and one mark of a picture."""

    contender: str
    phase: str  # "run", "finish" or "total"
    title: str


@dataclass(frozen=True)
class Question:
    """The same workloads for several contenders, of which the first is the library's."""

    id: str
    title: str
    workloads: list[str]
    entries: list[Entry]
    floor: str | None = None  # the contender that no other one can beat
    is_growth: bool = False  # one table and one picture over all workloads
    per: str = "row"  # or "value": what a time is divided by
    most_repetitions: int | None = None


# Slow contenders get fewer rows and fewer repetitions, so that a full run stays short.
ROW_FRACTIONS = {"hdf5-packets-rows": 0.05, "sqlite": 0.1, "csv": 0.1}
# Here the fixed cost of a contender counts, so all write the same number of rows.
WHOLE = {("sqlite", "W5"), ("csv", "W5")}
MOST_REPETITIONS_OF_SLOW_ONES = 3

# These hold data in memory before the timed phase, so their peak memory says nothing.
HOLDING_DATA_BEFORE = {
    "copy-touched", "rollback-time", "rollback-count", "one-file", "raw-write", "read-touched",
    "recorded-bytes-touched",
}

FULL_WORKLOADS = ["W1", "W2", "W3", "W4", "W5", "WR"]
# W1, W2, W4 and W5 with fewer steps, so that no buffer fills. In W3 none fills anyway.
NO_BUFFER_FULL = ["8x900000", "100x80000", "W3", "1x4000000", "1000x8000"]
ONE_IN_SIXTEEN = ["1x1000000", "8x1000000"]

GROWING_WRITERS = [
    Entry("memory-writer", "run", "MemoryStreamWriter, write"),
    Entry("memory-writer", "finish", "MemoryStreamWriter, flush"),
    Entry("restricted-writer", "run", "MemoryStreamRestrictedWriter, write"),
    Entry("native-writer", "total", "NativeStreamWriter, total"),
    Entry("native-keeping-all", "total", "NativeStreamWriter, flushIntermediate() in time"),
]

QUESTIONS = [
    Question(
        "all", "All back-ends and their peers: from the first write to the end of flush",
        FULL_WORKLOADS,
        [
            Entry("memory-writer", "total", "MemoryStreamWriter"),
            Entry("restricted-writer", "total", "MemoryStreamRestrictedWriter, rings full"),
            Entry("columnar", "total", "ColumnarStreamWriter"),
            Entry("flat-vector", "total", "flat std::vector, grown"),
            Entry("copy-fresh", "total", "memcpy into fresh memory"),
            Entry("native-writer", "total", "NativeStreamWriter"),
            Entry("recording", "total", "RecordingStreamWriter"),
            Entry("recording-lz4", "total", "RecordingStreamWriter, packed with LZ4"),
            Entry("fwrite", "total", "fwrite per row, row-major"),
            Entry("hdf5-packets-batches", "total", "HDF5 packet table in batches"),
            Entry("hdf5-datasets", "total", "HDF5 dataset per channel"),
            Entry("sqlite", "total", "SQLite, one transaction"),
            Entry("csv", "total", "CSV through fmt"),
            Entry("copy-touched", "total", "memcpy into touched memory"),
        ],
        floor="copy-touched", most_repetitions=3),
    Question(
        "memory-write", "Storing in memory: what write costs", FULL_WORKLOADS,
        [
            Entry("memory-writer", "run", "MemoryStreamWriter"),
            Entry("restricted-writer", "run", "MemoryStreamRestrictedWriter, rings full"),
            Entry("columnar", "run", "ColumnarStreamWriter"),
            Entry("columnar-beside", "run", "ColumnarStreamWriter, another one beside it"),
            Entry("bare-model", "run", "bare data model"),
            Entry("flat-vector", "run", "flat std::vector, grown"),
            Entry("row-ring", "run", "boost::circular_buffer of rows, full"),
            Entry("copy-fresh", "run", "memcpy into fresh memory"),
            Entry("copy-touched", "run", "memcpy into touched memory"),
            Entry("copy-touched-beside", "run", "memcpy into touched memory, another one beside it"),
            Entry("loop", "run", "rows handed out, nothing stored"),
        ],
        floor="loop"),
    Question(
        "memory-flush", "Storing in memory: what flush costs", FULL_WORKLOADS,
        [
            Entry("memory-writer", "finish", "MemoryStreamWriter"),
            Entry("bare-model", "finish", "straightforward pass"),
            Entry("copy-fresh", "run", "memcpy into fresh memory"),
            Entry("copy-touched", "run", "memcpy into touched memory"),
        ],
        floor="copy-touched"),
    Question(
        "memory-read-back", "Storing in memory: write, flush, and reading every path once",
        FULL_WORKLOADS,
        [
            Entry("columnar-read-back", "total", "ColumnarStreamWriter"),
            Entry("memory-read-back", "total", "MemoryStreamWriter"),
            Entry("transposed-vector", "total", "flat std::vector, then columns"),
            Entry("hdf5-core-read-back", "total", "HDF5 dataset per channel, core driver"),
        ],
        most_repetitions=3),
    Question(
        "memory-rejections", "Storing in memory: what a written step costs if one in four is rejected",
        ["8x10000000"],
        [
            Entry("columnar", "run", "ColumnarStreamWriter, nothing rejected"),
            Entry("columnar-rejecting", "run", "ColumnarStreamWriter, rollback()"),
        ],
        most_repetitions=3),
    Question(
        "files", "Storing in files: from the first write to the end of flush", FULL_WORKLOADS,
        [
            Entry("native-writer", "total", "NativeStreamWriter"),
            Entry("native-keeping-all", "total", "NativeStreamWriter, flushIntermediate() in time"),
            Entry("straightforward-files", "total", "straightforward rows to files"),
            Entry("fwrite", "total", "fwrite per row, row-major"),
            Entry("hdf5-packets-batches", "total", "HDF5 packet table in batches"),
            Entry("hdf5-packets-rows", "total", "HDF5 packet table, row by row"),
            Entry("hdf5-datasets", "total", "HDF5 dataset per channel"),
            Entry("sqlite", "total", "SQLite, one transaction"),
            Entry("csv", "total", "CSV through fmt"),
            Entry("raw-write", "total", "write(2) per channel, columns ready"),
            Entry("one-file", "total", "write(2) into one file, rows ready"),
        ],
        floor="one-file"),
    # The values repeat after 1,024 steps, so they are packed better than most signals.
    Question(
        "recordings", "Storing in recordings, packed or not", FULL_WORKLOADS,
        [
            Entry("recording", "total", "recording"),
            Entry("recording-lz4", "total", "recording, packed with LZ4"),
            Entry("one-file", "total", "write(2) into one file, rows ready"),
        ],
        floor="one-file", most_repetitions=3),
    Question(
        "recordings-growth", "Storing in recordings: one scalar, by number of rows",
        ["1x100000", "1x1000000", "1x10000000", "1x100000000"],
        [
            Entry("recording", "total", "recording"),
            Entry("recording-lz4", "total", "recording, packed with LZ4"),
        ],
        is_growth=True, most_repetitions=3),
    Question(
        "recordings-memory", "Storing in recordings: 10,000 groups", ["10000x8x400"],
        [
            Entry("recording", "total", "recording"),
            Entry("recording-lz4", "total", "recording, packed with LZ4"),
        ],
        most_repetitions=3),
    Question(
        "recordings-calls", "Storing in recordings: batches of rows with pauses", ["8x3000000"],
        [
            Entry("recording-batches", "run", "recording"),
            Entry("flat-vector-batches", "run", "flat std::vector, grown"),
        ],
        most_repetitions=3),
    Question(
        "recordings-pace", "Storing in recordings: a million rows per second", ["8x10000000"],
        [Entry("recording-paced", "run", "recording")], most_repetitions=3),
    Question(
        "recordings-reading", "Reading one scalar of a recording",
        ["1x10000000", "1x100000000"],
        [
            Entry("recorded-series", "run", "all samples"),
            Entry("recorded-range", "run", "a range of 1 %"),
            Entry("recorded-small-ranges", "run", "100,000 ranges of ten samples"),
            Entry("recorded-overview", "run", "an overview of 1,000 buckets"),
            Entry("recorded-bytes-fresh", "run", "read(2) of as many bytes into fresh memory"),
            Entry("recorded-bytes-touched", "run", "read(2) of as many bytes into touched memory"),
        ],
        most_repetitions=3),
    # Here the file-backed writer is expected to lose rows.
    Question(
        "files-lockstep", "Storing in files: buffers that fill on consecutive calls", ["WL"],
        [
            Entry("native-writer", "total", "NativeStreamWriter"),
            Entry("native-keeping-all", "total", "NativeStreamWriter, flushIntermediate() in time"),
            Entry("straightforward-files", "total", "straightforward rows to files"),
            Entry("one-file", "total", "write(2) into one file, rows ready"),
        ],
        floor="one-file", most_repetitions=3),
    Question(
        "native-write", "Storing in files: what write costs the caller while no buffer is full",
        NO_BUFFER_FULL,
        [
            Entry("native-writer", "run", "NativeStreamWriter"),
            Entry("flat-vector", "run", "flat std::vector, grown"),
            Entry("loop", "run", "rows handed out, nothing stored"),
        ],
        floor="loop"),
    Question(
        "rejected-steps", "Storing in memory: what a step costs if one in sixteen is rejected",
        ONE_IN_SIXTEEN,
        [
            Entry("memory-accepting", "run", "MemoryStreamWriter, nothing rejected"),
            Entry("memory-rolling-back", "run", "MemoryStreamWriter, rollback()"),
            Entry("memory-regressing", "run", "MemoryStreamWriter, time regression"),
            Entry("restricted-accepting", "run", "MemoryStreamRestrictedWriter, nothing rejected"),
            Entry("restricted-rolling-back", "run", "MemoryStreamRestrictedWriter, rollback()"),
            Entry("restricted-regressing", "run", "MemoryStreamRestrictedWriter, time regression"),
            Entry("loop", "run", "rows handed out, nothing stored"),
        ],
        floor="loop", most_repetitions=3),
    Question(
        "reading", "Reading a values file", ["1x67108864"],
        [
            Entry("native-reader", "run", "NativeStreamReader::timeseries()"),
            Entry("stream-vector", "run", "std::vector, ifstream::read after resize"),
            Entry("read-vector", "run", "std::vector, read(2) after resize"),
            Entry("mapping-vector", "run", "std::vector, mmap and assign"),
            Entry("read-touched", "run", "read(2) into touched memory"),
        ],
        floor="read-touched"),
    Question(
        "growth-rows", "Growth: 8 scalars, by number of rows",
        ["8x100000", "8x300000", "8x1000000", "8x3000000", "8x10000000"],
        GROWING_WRITERS, is_growth=True, most_repetitions=3),
    Question(
        "growth-channels", "Growth: 30,000 rows, by number of scalar channels",
        ["10x30000", "30x30000", "100x30000", "300x30000", "1000x30000"],
        GROWING_WRITERS, is_growth=True, per="value", most_repetitions=3),
    Question(
        "growth-rollback", "Growth: rollback in memory, by number of steps scanned or dropped",
        ["8x10000", "8x100000", "8x1000000", "8x3000000"],
        [
            Entry("rollback-time", "run", "by time, per step scanned (one is dropped)"),
            Entry("rollback-count", "run", "by count, per step dropped"),
        ],
        is_growth=True),
]


def questions_with(is_wanted: Callable[[Question, str], bool]) -> list[Question]:
    """The questions with the wanted workloads, without questions that have none."""
    cut = [replace(question, workloads=[workload for workload in question.workloads
                                        if is_wanted(question, workload)])
           for question in QUESTIONS]
    return [question for question in cut if question.workloads]
