"""What the library promises beside other contenders, and whether it keeps that."""

from dataclasses import dataclass

from benchmarks.compare.questions import FULL_WORKLOADS, NO_BUFFER_FULL, ONE_IN_SIXTEEN
from benchmarks.compare.results import Results

AT_MOST = "at most"  # the subject takes no more than so many times what the reference takes
AT_LEAST = "at least"  # the reference takes at least so many times what the subject takes


@dataclass(frozen=True)
class Goal:
    """How one contender stands beside others; both are named by contender and phase."""

    line: str
    bound: str
    limit: float
    reference_title: str
    subject: tuple[str, str]
    references: list[tuple[str, str]]  # the least of them counts
    workloads: list[str]
    measure: str = "median"  # or "peak_kib": a member of Summary

    def text(self) -> str:
        if self.bound == AT_MOST:
            return f"at most {self.limit:g} × {self.reference_title}"
        return f"at least {self.limit:g} times as fast as {self.reference_title}"


@dataclass(frozen=True)
class Reached:
    """What was reached on one workload."""

    workload: str
    ratio: float | None  # None if no run of either was verified
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
        line, AT_MOST, 1.5, "the same run with nothing rejected",
        (f"{writer}-{way}", "run"), [(f"{writer}-accepting", "run")], ONE_IN_SIXTEEN)


GOALS = [
    Goal("MemoryStreamWriter, write", AT_MOST, 1.05, "bare data model",
         MEMORY_WRITE, [BARE_WRITE], FIXED_WORKLOADS),
    Goal("MemoryStreamWriter, flush", AT_MOST, 0.85, "straightforward pass",
         MEMORY_FLUSH, [BARE_FLUSH], ["W1", "W2"]),
    Goal("MemoryStreamWriter, flush", AT_MOST, 0.6, "straightforward pass",
         MEMORY_FLUSH, [BARE_FLUSH], ["W3"]),
    # The pass makes its columns before it frees the first row.
    Goal("MemoryStreamWriter, peak memory", AT_MOST, 1.01, "bare data model and the columns",
         MEMORY_FLUSH, [BARE_FLUSH], FIXED_WORKLOADS, measure="peak_kib"),
    Goal("MemoryStreamRestrictedWriter, write, rings full", AT_MOST, 0.7, "MemoryStreamWriter",
         ("restricted-writer", "run"), [MEMORY_WRITE], ["W1"]),
    _rejecting_goal("MemoryStreamWriter, 1 step in 16 taken back by rollback()",
                    "memory", "rolling-back"),
    _rejecting_goal("MemoryStreamWriter, 1 step in 16 taken back by time regression",
                    "memory", "regressing"),
    _rejecting_goal("MemoryStreamRestrictedWriter, 1 step in 16 taken back by rollback()",
                    "restricted", "rolling-back"),
    _rejecting_goal("MemoryStreamRestrictedWriter, 1 step in 16 taken back by time regression",
                    "restricted", "regressing"),
    Goal("NativeStreamWriter, total", AT_MOST, 0.7, "straightforward rows to files",
         NATIVE, [("straightforward-files", "total")], ["W1", "W2", "W3", "W4"]),
    Goal("NativeStreamWriter, total", AT_MOST, 5, "write(2) per channel, columns ready",
         NATIVE, [("raw-write", "total")], ["W1", "W2", "W3"]),
    Goal("NativeStreamWriter, total", AT_MOST, 1, "fwrite per row",
         NATIVE, [("fwrite", "total")], ["W1", "W4"]),
    Goal("NativeStreamWriter, total", AT_MOST, 1, "HDF5 packet table in batches",
         NATIVE, [("hdf5-packets-batches", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, total", AT_LEAST, 2, "SQLite",
         NATIVE, [("sqlite", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, total", AT_LEAST, 2, "CSV",
         NATIVE, [("csv", "total")], FULL_WORKLOADS),
    Goal("NativeStreamWriter, write, no buffer full", AT_MOST, 1.1, "flat std::vector",
         ("native-writer", "run"), [("flat-vector", "run")], NO_BUFFER_FULL),
    Goal("NativeStreamReader::timeseries()", AT_MOST, 1.15,
         "the fastest way to fill a fresh std::vector", ("native-reader", "run"),
         [("stream-vector", "run"), ("read-vector", "run"), ("mapping-vector", "run")],
         ["1x67108864"]),
]


def outcomes(goals: list[Goal], results: Results) -> list[Outcome]:
    """One outcome per goal of which at least one workload was run."""
    judged = [Outcome(goal, [reached_on(workload, goal, results) for workload in goal.workloads
                             if _was_run(goal, workload, results)]) for goal in goals]
    return [outcome for outcome in judged if outcome.reached]


def reached_on(workload: str, goal: Goal, results: Results) -> Reached:
    subject = results.summary(goal.subject[0], workload, goal.subject[1])
    references = [results.summary(contender, workload, phase)
                  for contender, phase in goal.references]
    least = min((getattr(summary, goal.measure) for summary in references if summary),
                default=None)
    if subject is None or least is None:
        return Reached(workload, ratio=None, lost_rows=False, is_held=False)
    value = getattr(subject, goal.measure)
    ratio = value / least if goal.bound == AT_MOST else least / value
    is_within = ratio <= goal.limit if goal.bound == AT_MOST else ratio >= goal.limit
    lost_rows = subject.rows_lost > 0
    return Reached(workload, ratio, lost_rows, is_within and not lost_rows)


def complaints(judged: list[Outcome], results: Results) -> list[str]:
    """What is wrong: runs that failed and, if the goals are judged, those that are missed."""
    verified, total = results.counts()
    found = [] if verified == total else [f"{total - verified} of {total} runs failed"]
    if results.is_full_size:
        found += [f"missed: {outcome.goal.line}, {outcome.goal.text()}"
                  for outcome in judged if not outcome.is_held]
    return found


def _was_run(goal: Goal, workload: str, results: Results) -> bool:
    return (goal.subject[0], workload) in results.runs and any(
        (contender, workload) in results.runs for contender, _ in goal.references)
