"""The goals of the library, compared with other contenders, and whether they are reached."""

from dataclasses import dataclass

from benchmarks.compare.questions import FULL_WORKLOADS, NO_BUFFER_FULL, ONE_IN_SIXTEEN
from benchmarks.compare.results import Results


@dataclass(frozen=True)
class Goal:
    """The subject may need at most limit times what the best of the references needs.

    Subject and references are given as contender and phase."""

    line: str
    limit: float
    reference_title: str
    subject: tuple[str, str]
    references: list[tuple[str, str]]
    workloads: list[str]
    measure: str = "median"  # or "peak_kib": a member of Summary

    def text(self) -> str:
        return f"{self.limit:g} × {self.reference_title}"


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
    ratio = getattr(subject, goal.measure) / least
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
    return (goal.subject[0], workload) in results.runs and any(
        (contender, workload) in results.runs for contender, _ in goal.references)
