"""The goals of the library, compared with other contenders, and whether they are reached."""

from dataclasses import dataclass

from benchmarks.compare.questions import FULL_WORKLOADS, NO_BUFFER_FULL, ONE_IN_SIXTEEN
from benchmarks.compare.results import Results


@dataclass(frozen=True)
class Goal:
    """The subject may need at most limit times what the best of the references needs. Without
    references, the limit is a number of units.

    Subject and references are given as contender and phase."""

    line: str
    limit: float
    reference_title: str  # or the unit
    subject: tuple[str, str]
    references: list[tuple[str, str]]
    workloads: list[str]
    measure: str = "median"  # or "peak_kib", a member of Summary, or a result of the contender
    reference_workload: str | None = None  # if it is another one

    def text(self) -> str:
        times = "× " if self.references else ""
        return f"{self.limit:g} {times}{self.reference_title}"


@dataclass(frozen=True)
class Reached:
    """What was reached on one workload."""

    workload: str
    ratio: float | None  # or the number of units; None if no run of either was verified
    lost_rows: bool  # by the subject, which then misses the goal
    is_held: bool


@dataclass(frozen=True)
class Outcome:
    goal: Goal
    reached: list[Reached]

    @property
    def is_held(self) -> bool:
        return all(reached.is_held for reached in self.reached)


FIXED_WORKLOADS = ["W1", "W2", "W3", "W4", "W5"]
MEMORY_WRITE, MEMORY_FLUSH = ("memory-writer", "run"), ("memory-writer", "finish")
BARE_WRITE, BARE_FLUSH = ("bare-model", "run"), ("bare-model", "finish")
NATIVE = ("native-writer", "total")


def _rejecting_goal(line: str, writer: str, way: str) -> Goal:
    return Goal(
        line, 1.5, "no rejections",
        (f"{writer}-{way}", "run"), [(f"{writer}-accepting", "run")], ONE_IN_SIXTEEN)


GOALS = [
    Goal("MemoryStreamWriter, write", 1.05, "bare data model",
         MEMORY_WRITE, [BARE_WRITE], FIXED_WORKLOADS),
    Goal("MemoryStreamWriter, flush", 0.85, "straightforward pass",
         MEMORY_FLUSH, [BARE_FLUSH], ["W1", "W2"]),
    Goal("MemoryStreamWriter, flush", 0.6, "straightforward pass",
         MEMORY_FLUSH, [BARE_FLUSH], ["W3"]),
    # The straightforward pass also makes its columns before it frees the first row.
    Goal("MemoryStreamWriter, peak memory", 1.01, "bare data model",
         MEMORY_FLUSH, [BARE_FLUSH], FIXED_WORKLOADS, measure="peak_kib"),
    Goal("MemoryStreamRestrictedWriter, write, rings full", 0.7, "MemoryStreamWriter",
         ("restricted-writer", "run"), [MEMORY_WRITE], ["W1"]),
    _rejecting_goal("MemoryStreamWriter, write, 1 in 16 rejected, rollback()",
                    "memory", "rolling-back"),
    _rejecting_goal("MemoryStreamWriter, write, 1 in 16 rejected, time regression",
                    "memory", "regressing"),
    _rejecting_goal("MemoryStreamRestrictedWriter, write, 1 in 16 rejected, rollback()",
                    "restricted", "rolling-back"),
    _rejecting_goal("MemoryStreamRestrictedWriter, write, 1 in 16 rejected, time regression",
                    "restricted", "regressing"),
    Goal("ColumnarStreamWriter, write", 0.5, "MemoryStreamWriter",
         ("columnar", "run"), [MEMORY_WRITE], ["W1", "W3", "W4", "WR"]),
    Goal("ColumnarStreamWriter, write", 1.1, "memcpy into fresh memory",
         ("columnar", "run"), [("copy-fresh", "run")], FULL_WORKLOADS),
    Goal("ColumnarStreamWriter, write, flush and reading", 0.5, "MemoryStreamWriter",
         ("columnar-read-back", "total"), [("memory-read-back", "total")], FULL_WORKLOADS),
    Goal("ColumnarStreamWriter, write, flush and reading", 1,
         "flat vector with columns at the end, or HDF5's core driver",
         ("columnar-read-back", "total"),
         [("transposed-vector", "total"), ("hdf5-core-read-back", "total")], FULL_WORKLOADS),
    Goal("ColumnarStreamWriter, write, 1 in 4 rejected, per written step", 1.3, "no rejections",
         ("columnar-rejecting", "run"), [("columnar", "run")], ["8x10000000"],
         measure="cpu_ns_per_written_step"),
    Goal("ColumnarStreamWriter, write beside another one", 1.1, "alone",
         ("columnar-beside", "run"), [("columnar", "run")], FULL_WORKLOADS,
         measure="cpu_ns_per_written_step"),
    Goal("ColumnarStreamWriter, write beside another one, by the clock", 1.1, "alone",
         ("columnar-beside", "run"), [("columnar", "run")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, total", 0.7, "straightforward rows to files",
         NATIVE, [("straightforward-files", "total")], ["W1", "W2", "W3", "W4"]),
    Goal("NativeStreamWriter, total", 5, "write(2) per channel",
         NATIVE, [("raw-write", "total")], ["W1", "W2", "W3"]),
    Goal("NativeStreamWriter, total", 1, "fwrite",
         NATIVE, [("fwrite", "total")], ["W1", "W4"]),
    Goal("NativeStreamWriter, total", 1, "HDF5 packet table in batches",
         NATIVE, [("hdf5-packets-batches", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, total", 0.5, "SQLite",
         NATIVE, [("sqlite", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, total", 0.5, "CSV",
         NATIVE, [("csv", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, write, no buffer full", 1.1, "flat std::vector",
         ("native-writer", "run"), [("flat-vector", "run")], NO_BUFFER_FULL),
    Goal("NativeStreamReader::timeseries()", 1.15,
         "the fastest read into a std::vector", ("native-reader", "run"),
         [("stream-vector", "run"), ("read-vector", "run"), ("mapping-vector", "run")],
         ["1x67108864"]),
    Goal("Recording, write, median", 1.3, "flat std::vector",
         ("recording-batches", "run"), [("flat-vector-batches", "run")], ["8x3000000"],
         measure="median_batch_ns"),
    Goal("Recording, write at 10⁶ rows/s, 99.99th percentile", 100, "µs",
         ("recording-paced", "run"), [], ["8x10000000"], measure="call_us_of_9999_in_10000"),
    Goal("Recording, 10⁸ rows, time per row", 1.15, "that of 10⁵ rows",
         ("recording", "total"), [("recording", "total")], ["1x100000000"],
         reference_workload="1x100000"),
    Goal("Recording, memory with 1, 10 and 10,000 groups", 96, "MiB",
         ("recording", "total"), [], ["W1", "W3", "10000x8x400"], measure="grown_mib"),
    Goal("Recording, reading a signal", 1.5, "read(2) into fresh memory",
         ("recorded-series", "run"), [("recorded-bytes-fresh", "run")],
         ["1x10000000", "1x100000000"]),
    Goal("Recording, reading a range of 1 %", 0.05, "reading the signal",
         ("recorded-range", "run"), [("recorded-series", "run")], ["1x10000000", "1x100000000"]),
    Goal("Recording, reading a range of ten samples", 10, "µs",
         ("recorded-small-ranges", "run"), [], ["1x10000000", "1x100000000"],
         measure="us_per_range"),
    Goal("Recording, overview of 10⁸ samples", 50, "ms",
         ("recorded-overview", "run"), [], ["1x100000000"], measure="run_ms"),
    Goal("Recording, overview of 10⁸ samples, bytes read", 1, "%",
         ("recorded-overview", "run"), [], ["1x100000000"], measure="read_percent"),
]


def outcomes(goals: list[Goal], results: Results) -> list[Outcome]:
    """One outcome per goal of which at least one workload was run."""
    judged = [Outcome(goal, [reached_on(workload, goal, results) for workload in goal.workloads
                             if _was_run(goal, workload, results)]) for goal in goals]
    return [outcome for outcome in judged if outcome.reached]


def reached_on(workload: str, goal: Goal, results: Results) -> Reached:
    subject = results.summary(goal.subject[0], workload, goal.subject[1])
    references = [results.summary(contender, goal.reference_workload or workload, phase)
                  for contender, phase in goal.references]
    least = min((summary.value(goal.measure) for summary in references if summary),
                default=None if goal.references else 1)
    if subject is None or least is None:
        return Reached(workload, ratio=None, lost_rows=False, is_held=False)
    ratio = subject.value(goal.measure) / least
    lost_rows = subject.rows_lost > 0
    return Reached(workload, ratio, lost_rows, ratio <= goal.limit and not lost_rows)


def complaints(judged: list[Outcome], results: Results) -> list[str]:
    """Runs that failed and, if the goals are judged, goals that are missed."""
    verified, total = results.counts()
    found = [] if verified == total else [f"{total - verified} of {total} runs failed"]
    if results.is_full_size:
        found += [f"missed: {outcome.goal.line}: at most {outcome.goal.text()}"
                  for outcome in judged if not outcome.is_held]
    return found


def _was_run(goal: Goal, workload: str, results: Results) -> bool:
    references = [(contender, goal.reference_workload or workload)
                  for contender, _ in goal.references]
    return (goal.subject[0], workload) in results.runs and (
        not references or any(pair in results.runs for pair in references))
