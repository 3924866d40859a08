import unittest

from benchmarks.compare.results import quartiles
from tests.benchmarks.made_up import failed_run, results, run


class QuartilesTest(unittest.TestCase):
    def test_lie_between_neighbours_in_proportion(self):
        for values, expected in [([7], (7, 7, 7)),
                                 ([2, 4], (2.5, 3, 3.5)),
                                 ([9, 1, 5], (3, 5, 7)),
                                 ([5, 1, 4, 2, 3], (2, 3, 4)),
                                 ([1, 1, 1, 1, 100], (1, 1, 1))]:
            with self.subTest(values=values):
                self.assertEqual(quartiles(values), expected)


class SummaryTest(unittest.TestCase):
    def test_takes_the_median_of_the_chosen_phase(self):
        found = results(run("a/W1", 1, 10), run("a/W1", 3, 50), run("a/W1", 2, 20))
        self.assertEqual(found.summary("a", "W1", "run").median, 2)
        self.assertEqual(found.summary("a", "W1", "finish").median, 20)
        self.assertEqual(found.summary("a", "W1", "total").median, 22)

    def test_divides_by_the_values_of_a_row_without_its_time(self):
        found = results(run("a/W1", 12, bytes_per_row=32))
        summary = found.summary("a", "W1", "run", per="value")
        self.assertEqual((summary.median, summary.values_per_row), (4, 3))
        self.assertAlmostEqual(summary.bytes_per_second, 32 / 12e-9)

    def test_takes_the_peak_at_the_end_of_the_phase(self):
        found = results(run("a/W1", run_peak_kib=3, finish_peak_kib=5))
        self.assertEqual(found.summary("a", "W1", "run").peak_kib, 3)
        self.assertEqual(found.summary("a", "W1", "finish").peak_kib, 5)
        self.assertEqual(found.summary("a", "W1", "total").peak_kib, 5)

    def test_leaves_failed_runs_out_and_counts_them(self):
        found = results(run("a/W1", 1), failed_run("a/W1"), run("a/W1", 3))
        summary = found.summary("a", "W1", "run")
        self.assertEqual((summary.median, summary.verified_count, summary.run_count), (2, 2, 3))
        self.assertEqual(found.counts(), (2, 3))

    def test_is_none_if_no_run_was_verified(self):
        found = results(failed_run("a/W1"))
        self.assertIsNone(found.summary("a", "W1", "run"))
        self.assertIsNone(found.summary("b", "W1", "run"))

    def test_reports_the_most_rows_that_any_run_lost(self):
        found = results(run("a/W1"), run("a/W1", rows_lost=7), run("a/W1", rows_lost=2))
        self.assertEqual(found.summary("a", "W1", "run").rows_lost, 7)


if __name__ == "__main__":
    unittest.main()
