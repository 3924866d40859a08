"""Reads and summarises what was measured."""

import json
import statistics
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Summary:
    """All runs of one contender on one workload; times are nanoseconds per row or value."""

    low: float  # quartile
    median: float
    high: float  # quartile
    bytes_per_second: float  # by the median
    peak_kib: float  # median, at the end of the phase
    rows: float  # of one run
    rows_lost: float  # the most of any run
    stored_share: float  # bytes on disk per byte of the rows; 0 if nothing is stored in files
    values_per_row: float  # without the time
    label: str
    verified_count: int  # runs
    run_count: int
    results: dict[str, float]  # medians of all other numbers

    def value(self, measure: str) -> float:
        """A member, or one of the results."""
        return self.results[measure] if measure in self.results else getattr(self, measure)


class Results:
    """The runs in a file of Google Benchmark's JSON, by contender and workload."""

    def __init__(self, document: dict):
        self.context: dict = document["context"]
        self.runs: dict[tuple[str, str], list[dict]] = {}
        for run in document["benchmarks"]:
            contender, workload = run["name"].split("/")[:2]
            self.runs.setdefault((contender, workload), []).append(run)

    @property
    def is_full_size(self) -> bool:
        """Goals are judged only if each workload had its full number of steps."""
        return self.context["scale"] == 1

    def counts(self) -> tuple[int, int]:
        """How many runs were verified, and how many there were."""
        runs = [run for group in self.runs.values() for run in group]
        return sum(is_verified(run) for run in runs), len(runs)

    def summary(self, contender: str, workload: str, phase: str,
                per: str = "row") -> Summary | None:
        """Summarises the verified runs. None if there are none."""
        runs = self.runs.get((contender, workload), [])
        verified = [run for run in runs if is_verified(run)]
        if not verified:
            return None
        first = verified[0]
        values_per_row = first["bytes_per_row"] / 8 - 1  # a row has its time, too
        units = 1 if per == "row" else values_per_row
        low, median, high = quartiles([time_of(run, phase) / units for run in verified])
        peak = "run_peak_kib" if phase == "run" else "finish_peak_kib"
        return Summary(
            low, median, high,
            bytes_per_second=1e9 * first["bytes_per_row"] / (median * units) if median else 0,
            peak_kib=statistics.median(run[peak] for run in verified),
            rows=first["rows"],
            stored_share=first["stored_bytes_per_row"] / first["bytes_per_row"],
            rows_lost=max(run["rows_lost"] for run in verified),
            values_per_row=values_per_row,
            label=first["label"],
            verified_count=len(verified),
            run_count=len(runs),
            results={key: statistics.median(run[key] for run in verified)
                     for key, value in first.items() if isinstance(value, float)})


def read_results(path: Path) -> Results:
    return Results(json.loads(path.read_text(encoding="utf-8")))


def is_verified(run: dict) -> bool:
    """Whether the data that was read back is the data that was stored."""
    return not run.get("error_occurred", False)


def time_of(run: dict, phase: str) -> float:
    """Nanoseconds per row."""
    if phase == "total":
        return run["run_ns_per_row"] + run["finish_ns_per_row"]
    return run[f"{phase}_ns_per_row"]


def quartiles(values: list[float]) -> tuple[float, float, float]:
    """The lower quartile, the median and the upper quartile, between neighbours in proportion."""
    if len(values) == 1:
        return values[0], values[0], values[0]
    low, median, high = statistics.quantiles(values, n=4, method="inclusive")
    return low, median, high
