"""Writes the table and the picture of docs/maintaining/performance.md."""

from pathlib import Path

from benchmarks.compare.goals import Outcome
from benchmarks.compare.pictures import draw_side_by_side
from benchmarks.compare.questions import QUESTIONS
from benchmarks.compare.results import Results
from benchmarks.compare.tables import goals_table

BEGIN = "<!-- scripts/bench --page writes the lines from here -->"
END = "<!-- to here. -->"

PICTURES = {"all": "performance.svg"}


def update_page(docs: Path, outcomes: list[Outcome], results: Results) -> None:
    """Replaces the table of the page, and draws its picture."""
    page = docs / "maintaining" / "performance.md"
    lines = [measured_on(results), "", *goals_table(outcomes, results)]
    page.write_text(with_lines(page.read_text(encoding="utf-8"), lines), encoding="utf-8")
    for question in QUESTIONS:
        if question.id in PICTURES:
            draw_side_by_side(question, results, docs / "pictures" / PICTURES[question.id])


def measured_on(results: Results) -> str:
    context = results.context
    return (f"Measured on {context['date'][:10]}: {context['processor']}, "
            f"{context['num_cpus']} cores, {context['file_system']}, {context['compiler']}.")


def with_lines(page: str, lines: list[str]) -> str:
    """The page with these lines between its two markers."""
    before, begin, rest = page.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not end:
        raise ValueError(f"the page lacks the line {END if begin else BEGIN}")
    return "".join([before, begin, "\n\n", "\n".join(lines), "\n\n", end, after])
