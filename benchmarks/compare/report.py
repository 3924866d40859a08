"""Makes tables and pictures of what was measured, and judges the goals.

The exit status is 1 if a run failed or a goal is missed. Goals are judged only if the workloads had
their full number of steps."""

import argparse
import sys
from pathlib import Path

from benchmarks.compare.goals import GOALS, complaints, outcomes
from benchmarks.compare.page import update_page
from benchmarks.compare.pictures import draw
from benchmarks.compare.questions import Question, questions_with
from benchmarks.compare.results import Results, read_results
from benchmarks.compare.tables import markdown


def was_run(question: Question, workload: str, results: Results) -> bool:
    return any((entry.contender, workload) in results.runs for entry in question.entries)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", type=Path, help="the file of results")
    parser.add_argument("--output", required=True, type=Path, help="directory for tables and pictures")
    parser.add_argument("--docs", type=Path,
                        help="directory of the page on performance, which is to be updated")
    options = parser.parse_args()
    results = read_results(options.results)
    questions = questions_with(
        lambda question, workload: was_run(question, workload, results))
    judged = outcomes(GOALS, results)
    tables = markdown(questions, judged, results)
    (options.output / "results.md").write_text(tables, encoding="utf-8")
    print(tables, end="")
    for question in questions:
        draw(question, results, options.output / f"{question.id}.svg")
    if options.docs:
        update_page(options.docs, judged, results)
    found = complaints(judged, results)
    for complaint in found:
        print(f"report: {complaint}", file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
