import tempfile
import unittest
from pathlib import Path

from benchmarks.compare.goals import Goal, outcomes
from benchmarks.compare.page import BEGIN, END, update_page, with_lines
from tests.benchmarks.made_up import results, run

GOAL = Goal("our writer", 2, "a copy", ("memory-writer", "run"), [("loop", "run")],
            ["W1"])


class WithLinesTest(unittest.TestCase):
    def test_replaces_what_is_between_the_markers(self):
        page = f"before\n\n{BEGIN}\n\nold\n\n{END}\n\nafter\n"
        self.assertEqual(with_lines(page, ["new", "lines"]),
                         f"before\n\n{BEGIN}\n\nnew\nlines\n\n{END}\n\nafter\n")

    def test_refuses_a_page_without_markers(self):
        for page, missing in [("nothing", BEGIN), (BEGIN, END)]:
            with self.subTest(page=page), self.assertRaisesRegex(ValueError, missing):
                with_lines(page, [])


class UpdatePageTest(unittest.TestCase):
    def test_writes_the_table_and_the_picture(self):
        found = results(run("memory-writer/W1", 20), run("loop/W1", 10), run("one-file/W5", 10))
        with tempfile.TemporaryDirectory() as directory:
            docs = Path(directory)
            (docs / "maintaining").mkdir()
            (docs / "pictures").mkdir()
            page = docs / "maintaining" / "performance.md"
            page.write_text(f"{BEGIN}\n{END}\n", encoding="utf-8")
            update_page(docs, outcomes([GOAL], found), found)
            text = page.read_text(encoding="utf-8")
            pictures = sorted(path.name for path in (docs / "pictures").iterdir())
        self.assertIn("Measured on 2026-01-02: a processor, 2 cores, ext4, a compiler.\n", text)
        self.assertIn("| our writer | 2 × a copy | 2.00 | held |\n", text)
        self.assertEqual(pictures, ["performance.svg"])


class RepositoryTest(unittest.TestCase):
    def test_page_has_the_markers(self):
        docs = Path(__file__).parents[2] / "docs"
        page = (docs / "maintaining" / "performance.md").read_text(encoding="utf-8")
        self.assertIn("new", with_lines(page, ["new"]))


if __name__ == "__main__":
    unittest.main()
