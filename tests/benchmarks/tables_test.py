import unittest
from dataclasses import replace

from benchmarks.compare.goals import Goal, outcomes
from benchmarks.compare.questions import Entry, Question
from benchmarks.compare.tables import floor_of, goals_table, growing_size, markdown
from tests.benchmarks.made_up import failed_run, results, run

QUESTION = Question("id", "What storing costs", ["W1"], [
    Entry("ours", "run", "our writer"), Entry("copy-touched", "run", "a copy")],
    floor="copy-touched")
GOAL = Goal("our writer", 2, "a copy", ("ours", "run"), [("copy-touched", "run")], ["W1"])


def tables(found, question: Question = QUESTION) -> str:
    return markdown([question], outcomes([GOAL], found), found)


class MarkdownTest(unittest.TestCase):
    def test_compares_each_line_with_the_first(self):
        text = tables(results(run("ours/W1", 20), run("copy-touched/W1", 10)))
        self.assertIn("### W1: a shape\n", text)
        self.assertIn("| our writer | 20.0 | 20.0 to 20.0 | 1600 | 1 | 1.00 |  |\n", text)
        self.assertIn("| a copy | 10.0 | 10.0 to 10.0 | 3200 |  | 2.00 | floor |\n", text)
        self.assertIn("| our writer | 2 × a copy | 2.00 | held |\n", text)
        self.assertIn("| runs whose rows were read back and compared | 2 of 2 |\n", text)

    def test_reports_lost_rows_fewer_rows_and_failed_runs(self):
        text = tables(results(run("ours/W1", rows_lost=5), failed_run("ours/W1"),
                              run("copy-touched/W1", rows=10)))
        self.assertIn("| 1 of 2 runs FAILED; LOST 5 rows |\n", text)
        self.assertIn("| 10 rows only; floor |\n", text)

    def test_reports_contenders_that_need_fewer_bytes(self):
        self.assertIn("| 25 % of the bytes on disk |\n",
                      tables(results(run("ours/W1", stored_bytes_per_row=8))))
        self.assertNotIn("on disk", tables(results(run("ours/W1", stored_bytes_per_row=32))))

    def test_reports_a_contender_whose_runs_all_failed(self):
        text = tables(results(failed_run("ours/W1"), run("copy-touched/W1")))
        self.assertIn("| our writer | | | | | | FAILED |\n", text)
        self.assertIn("| W1 FAILED | **missed** on W1 |\n", text)

    def test_reports_a_workload_whose_runs_all_failed(self):
        self.assertIn("### W1: every run FAILED", tables(results(failed_run("ours/W1"))))

    def test_growth_is_one_table_with_the_ratio_of_its_extremes(self):
        growth = Question("id", "Growth", ["3x10", "3x20"], [Entry("ours", "run", "our writer")],
                          is_growth=True)
        text = tables(results(run("ours/3x10", 6, rows=10), run("ours/3x20", 9, rows=20)), growth)
        self.assertIn("| ns per row; number of rows: | 10 | 20 | largest ÷ smallest |", text)
        self.assertIn("| our writer | 6.00 | 9.00 | 1.50 |  |\n", text)


class GoalsTableTest(unittest.TestCase):
    def row(self, *runs: dict, workloads: tuple[str, ...] = ("W1",), scale: float = 1) -> str:
        found = results(*runs, scale=scale)
        return goals_table(outcomes([replace(GOAL, workloads=list(workloads))], found), found)[-1]

    def test_shows_the_least_and_the_greatest_ratio(self):
        self.assertEqual(
            self.row(run("ours/W1", 20), run("copy-touched/W1", 10), run("ours/W2", 5),
                     run("copy-touched/W2", 10), workloads=("W1", "W2")),
            "| our writer | 2 × a copy | 0.50 to 2.00 | held |")

    def test_shows_one_ratio_if_all_are_equal(self):
        self.assertEqual(self.row(run("ours/W1", 20), run("copy-touched/W1", 10)),
                         "| our writer | 2 × a copy | 2.00 | held |")

    def test_names_the_workloads_that_miss_the_goal(self):
        self.assertEqual(
            self.row(run("ours/W1", 30), run("copy-touched/W1", 10), run("ours/W2", 5),
                     run("copy-touched/W2", 10), workloads=("W1", "W2")),
            "| our writer | 2 × a copy | 0.50 to 3.00 | **missed** on W1 |")

    def test_shows_lost_rows(self):
        self.assertEqual(
            self.row(run("ours/W1", 10, rows_lost=1), run("copy-touched/W1", 10)),
            "| our writer | 2 × a copy | 1.00, W1 LOST rows | **missed** on W1 |")

    def test_judges_no_goal_with_fewer_steps(self):
        runs = [run("ours/W1", 30), run("copy-touched/W1", 10)]
        self.assertEqual(self.row(*runs, scale=0.1),
                         "| our writer | 2 × a copy | 3.00 | not judged |")
        self.assertIn("Only 0.1 of the steps were run, so the goals are not judged.",
                      tables(results(*runs, scale=0.1)))


class FloorTest(unittest.TestCase):
    def test_is_the_time_of_the_contender_below_all_others(self):
        found = results(run("ours/W1", 20), run("copy-touched/W1", 10))
        self.assertEqual(floor_of(QUESTION, "W1", found), 10)

    def test_is_none_if_a_contender_was_faster(self):
        found = results(run("ours/W1", 9), run("copy-touched/W1", 10))
        self.assertIsNone(floor_of(QUESTION, "W1", found))
        self.assertNotIn("floor", tables(found).replace("| file system |", ""))

    def test_is_none_if_its_run_failed(self):
        self.assertIsNone(floor_of(QUESTION, "W1", results(run("ours/W1", 9))))


class GrowingSizeTest(unittest.TestCase):
    def test_is_the_number_of_channels_if_times_are_per_value(self):
        by_value = Question("id", "Growth", ["30x10"], QUESTION.entries, per="value")
        self.assertEqual(growing_size(by_value, "30x10", results()), 30)


if __name__ == "__main__":
    unittest.main()
