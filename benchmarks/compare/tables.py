"""Tables in Markdown."""

from benchmarks.compare.goals import Outcome
from benchmarks.compare.questions import HOLDING_DATA_BEFORE, Entry, Question
from benchmarks.compare.results import Results, Summary


def markdown(questions: list[Question], outcomes: list[Outcome], results: Results) -> str:
    lines = ["# What logging costs", "", *_facts(results), "", "## Goals", "",
             *goals_table(outcomes, results)]
    for question in questions:
        lines += ["", f"## {question.title}"]
        lines += _growth(question, results) if question.is_growth else _panels(question, results)
    return "\n".join(lines) + "\n"


def floor_of(question: Question, workload: str, results: Results) -> float | None:
    """The time of the floor. None if something was faster, because then it is no floor."""
    times = {entry.contender: summary.median for entry in question.entries
             if (summary := results.summary(entry.contender, workload, entry.phase, question.per))}
    floor = times.get(question.floor)
    return floor if floor is not None and floor <= min(times.values()) else None


def growing_size(question: Question, workload: str, results: Results) -> int:
    """The number that grows from one workload to the next: of rows or of channels."""
    if question.per == "value":
        return int(workload.split("x")[0])
    summaries = [results.summary(entry.contender, workload, entry.phase)
                 for entry in question.entries]
    return int(max((summary.rows for summary in summaries if summary), default=0))


def _facts(results: Results) -> list[str]:
    context = results.context
    verified, total = results.counts()
    facts = {"date": context.get("date", "")[:10], "processor": context["processor"],
             "cores": context.get("num_cpus", ""), "memory": context["memory"],
             "load at the start": ", ".join(f"{load:.1f}" for load in context.get("load_avg", [])),
             "system": context["system"], "compiler": context.get("compiler", ""),
             "file system": context["file_system"],
             "share of the steps that were run": f"{context['scale']:g}",
             "runs whose rows were read back and compared": f"{verified} of {total}"}
    return ["| | |", "|---|---|", *(f"| {name} | {value} |" for name, value in facts.items())]


def goals_table(outcomes: list[Outcome], results: Results) -> list[str]:
    """What was reached, as the least and the greatest ratio of all workloads."""
    lines = [] if results.is_full_size else [
        f"Only {results.context['scale']:g} of the steps were run, so the goals are not judged.", ""]
    lines += ["| measured | at most | reached | result |", "|---|---|---|---|"]
    for outcome in outcomes:
        result = _verdict(outcome) if results.is_full_size else "not judged"
        lines.append(
            f"| {outcome.goal.line} | {outcome.goal.text()} | {_reached(outcome)} | {result} |")
    return lines


def _verdict(outcome: Outcome) -> str:
    missed = [reached.workload for reached in outcome.reached if not reached.is_held]
    return f"**missed** on {', '.join(missed)}" if missed else "held"


def _reached(outcome: Outcome) -> str:
    ratios = [reached.ratio for reached in outcome.reached if reached.ratio is not None]
    texts = sorted({f"{ratio:.2f}" for ratio in ratios}, key=float)
    parts = [" to ".join(dict.fromkeys([texts[0], texts[-1]]))] if texts else []
    parts += [f"{reached.workload} FAILED" for reached in outcome.reached if reached.ratio is None]
    parts += [f"{reached.workload} LOST rows" for reached in outcome.reached if reached.lost_rows]
    return ", ".join(parts)


def _panels(question: Question, results: Results) -> list[str]:
    lines: list[str] = []
    for workload in question.workloads:
        summaries = [(entry, results.summary(entry.contender, workload, entry.phase))
                     for entry in question.entries]
        fullest = max((summary for _, summary in summaries if summary),
                      key=lambda summary: summary.rows, default=None)
        if fullest is None:
            lines += ["", f"### {workload}: every run FAILED"]
            continue
        floor = floor_of(question, workload, results)
        lines += ["", f"### {workload}: {fullest.label}", "",
                  "| | ns per row | quartiles | MB/s | peak MiB | first line ÷ this | remarks |",
                  "|---|---:|---:|---:|---:|---:|---|"]
        lines += [_row(entry, summary, summaries[0][1], fullest.rows,
                       entry.contender == question.floor and floor is not None)
                  for entry, summary in summaries]
    return lines


def _row(entry: Entry, summary: Summary | None, first: Summary | None, full_rows: float,
         is_floor: bool) -> str:
    if summary is None:
        return f"| {entry.title} | | | | | | FAILED |"
    peak = "" if entry.contender in HOLDING_DATA_BEFORE else f"{summary.peak_kib / 1024:.0f}"
    ratio = f"{first.median / summary.median:.2f}" if first and summary.median else ""
    remarks = _remarks(summary)
    if summary.rows < full_rows:
        remarks.append(f"{summary.rows:.0f} rows only")
    if is_floor:
        remarks.append("floor")
    return (f"| {entry.title} | {summary.median:.1f} | {summary.low:.1f} to {summary.high:.1f} "
            f"| {summary.bytes_per_second / 1e6:.0f} | {peak} | {ratio} | {'; '.join(remarks)} |")


def _remarks(summary: Summary) -> list[str]:
    remarks = []
    if summary.verified_count < summary.run_count:
        failed = summary.run_count - summary.verified_count
        remarks.append(f"{failed} of {summary.run_count} runs FAILED")
    if 0 < summary.stored_share < 0.9:
        remarks.append(f"{100 * summary.stored_share:.0f} % of the bytes on disk")
    if summary.rows_lost > 0:
        remarks.append(f"LOST {summary.rows_lost:.0f} rows")
    return remarks


def _growth(question: Question, results: Results) -> list[str]:
    what = "rows" if question.per == "row" else "channels"
    sizes = [growing_size(question, workload, results) for workload in question.workloads]
    lines = ["", f"| ns per {question.per}; number of {what}: | "
             + " | ".join(str(size) for size in sizes) + " | largest ÷ smallest | remarks |",
             "|---|" + "---:|" * (len(sizes) + 1) + "---|"]
    for entry in question.entries:
        found = {workload: results.summary(entry.contender, workload, entry.phase, question.per)
                 for workload in question.workloads}
        times = [summary.median for summary in found.values() if summary]
        ratio = f"{max(times) / min(times):.2f}" if times else ""
        cells = [f"{summary.median:.2f}" if summary else "FAILED" for summary in found.values()]
        remarks = [f"{workload}: {remark}" for workload, summary in found.items() if summary
                   for remark in _remarks(summary)]
        lines.append(f"| {entry.title} | {' | '.join(cells)} | {ratio} | {'; '.join(remarks)} |")
    return lines
