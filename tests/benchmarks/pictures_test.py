import tempfile
import unittest
from pathlib import Path

from matplotlib.figure import Figure

from benchmarks.compare import pictures
from benchmarks.compare.questions import Entry, Question
from tests.benchmarks.made_up import results, run

ENTRIES = [Entry("ours", "run", "MemoryStreamWriter"), Entry("floor", "run", "a copy")]
QUESTION = Question("id", "What storing costs", ["W1", "W2"], ENTRIES, floor="floor")


class PanelTest(unittest.TestCase):
    def panel_of(self, *runs: dict):
        axes = Figure().subplots()
        pictures._panel(axes, QUESTION, "W1", results(*runs))
        return axes

    def floor_lines(self, axes) -> list[float]:
        return [line.get_xdata()[0] for line in axes.lines if line.get_linestyle() == "--"]

    def test_has_dots_and_no_bars_on_its_logarithmic_axis(self):
        axes = self.panel_of(run("ours/W1", 20), run("floor/W1", 10))
        self.assertEqual(axes.get_xscale(), "log")
        self.assertEqual(len(axes.patches), 0)
        self.assertEqual(len(axes.containers), 2)

    def test_draws_the_floor_below_everything(self):
        axes = self.panel_of(run("ours/W1", 20), run("floor/W1", 10))
        self.assertEqual(self.floor_lines(axes), [10])

    def test_draws_no_floor_if_a_contender_was_faster(self):
        axes = self.panel_of(run("ours/W1", 9), run("floor/W1", 10))
        self.assertEqual(self.floor_lines(axes), [])


class DrawTest(unittest.TestCase):
    def drawn(self, question: Question, *runs: dict) -> str:
        with tempfile.TemporaryDirectory() as directory:
            path = Path(directory) / "picture.svg"
            pictures.draw(question, results(*runs), path)
            return path.read_text(encoding="utf-8")

    def test_names_everything_in_the_picture(self):
        text = self.drawn(QUESTION, run("ours/W1", 20), run("floor/W1", 10), run("ours/W2", 1234))
        for word in ["MemoryStreamWriter", "a copy", "W1: a shape", "W2: a shape", "1,234"]:
            self.assertIn(word, text)

    def test_title_names_the_floor_only_if_it_is_drawn(self):
        def title(*runs: dict) -> str:
            return self.drawn(QUESTION, *runs)

        self.assertIn("floor (a copy)", title(run("ours/W1", 20), run("floor/W1", 10)))
        self.assertNotIn("floor (a copy)", title(run("ours/W1", 9), run("floor/W1", 10)))

    def test_growth_names_its_lines(self):
        growth = Question("id", "Growth", ["3x10", "3x20"], ENTRIES[:1], is_growth=True)
        text = self.drawn(growth, run("ours/3x10", 6, rows=10), run("ours/3x20", 9, rows=20))
        self.assertIn("MemoryStreamWriter", text)


class SideBySideTest(unittest.TestCase):
    def test_names_contenders_once_and_shows_row_widths(self):
        with tempfile.TemporaryDirectory() as directory:
            path = Path(directory) / "picture.svg"
            pictures.draw_side_by_side(
                QUESTION, results(run("ours/W1", 20), run("floor/W1", 10), run("ours/W2", 30),
                                  run("floor/W2", 10)), path)
            text = path.read_text(encoding="utf-8")
        self.assertEqual(text.count(">MemoryStreamWriter<"), 1)
        self.assertIn("W1: 3 doubles per row", text)
        self.assertIn("W2: 3 doubles per row", text)


if __name__ == "__main__":
    unittest.main()
