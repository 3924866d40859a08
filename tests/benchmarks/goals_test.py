import unittest

from benchmarks.compare.goals import GOALS, Goal, complaints, outcomes
from benchmarks.compare.measure import repetitions_of
from benchmarks.compare.questions import QUESTIONS
from tests.benchmarks.made_up import failed_run, results, run


def goal(**others) -> Goal:
    given = {"line": "ours", "limit": 2, "reference_title": "theirs", "subject": ("ours", "run"),
             "references": [("theirs", "run")], "workloads": ["W1"], **others}
    return Goal(**given)


def reached(the_goal: Goal, *runs: dict):
    [outcome] = outcomes([the_goal], results(*runs))
    [one] = outcome.reached
    return one


class ReachedTest(unittest.TestCase):
    def test_ratio_up_to_the_limit_meets_the_goal(self):
        for ours, is_held in [(19, True), (20, True), (21, False)]:
            with self.subTest(ours=ours):
                one = reached(goal(), run("ours/W1", ours), run("theirs/W1", 10))
                self.assertEqual((one.ratio, one.is_held), (ours / 10, is_held))

    def test_medians_are_compared(self):
        one = reached(goal(), *(run("ours/W1", ns) for ns in (5, 1000, 15)),
                      *(run("theirs/W1", ns) for ns in (1, 10, 11)))
        self.assertEqual(one.ratio, 1.5)

    def test_fastest_reference_counts(self):
        both = goal(references=[("theirs", "run"), ("others", "run")])
        one = reached(both, run("ours/W1", 10), run("theirs/W1", 10), run("others/W1", 4))
        self.assertEqual((one.ratio, one.is_held), (2.5, False))

    def test_goal_may_compare_peak_memory(self):
        one = reached(goal(measure="peak_kib"), run("ours/W1", run_peak_kib=30),
                      run("theirs/W1", run_peak_kib=10))
        self.assertEqual(one.ratio, 3)

    def test_goal_may_compare_another_result_of_the_contender(self):
        one = reached(goal(measure="delay"), run("ours/W1", delay=6.0), run("theirs/W1", delay=2.0))
        self.assertEqual(one.ratio, 3)

    def test_goal_may_compare_with_another_workload(self):
        one = reached(goal(reference_workload="W2"), run("ours/W1", 10), run("theirs/W1", 1),
                      run("theirs/W2", 5))
        self.assertEqual(one.ratio, 2)

    def test_goal_without_references_limits_units(self):
        ours = goal(references=[], reference_title="ms", measure="delay")
        self.assertEqual(ours.text(), "2 ms")
        for delay, is_held in [(2.0, True), (2.5, False)]:
            one = reached(ours, run("ours/W1", delay=delay))
            self.assertEqual((one.ratio, one.is_held), (delay, is_held))

    def test_lost_rows_miss_the_goal_at_any_speed(self):
        one = reached(goal(), run("ours/W1", 1, rows_lost=1), run("theirs/W1", 10))
        self.assertEqual((one.lost_rows, one.is_held), (True, False))

    def test_failed_subject_misses_the_goal(self):
        one = reached(goal(), failed_run("ours/W1"), run("theirs/W1", 10))
        self.assertEqual((one.ratio, one.is_held), (None, False))


class OutcomesTest(unittest.TestCase):
    def test_one_missed_workload_misses_the_goal(self):
        [outcome] = outcomes([goal(workloads=["W1", "W2"])], results(
            run("ours/W1", 10), run("theirs/W1", 10), run("ours/W2", 30), run("theirs/W2", 10)))
        self.assertEqual([one.is_held for one in outcome.reached], [True, False])
        self.assertFalse(outcome.is_held)

    def test_workloads_that_were_not_run_are_left_out(self):
        found = results(run("ours/W1", 10), run("theirs/W1", 10), run("ours/W2", 10))
        [outcome] = outcomes([goal(workloads=["W1", "W2"]), goal(workloads=["W3"])], found)
        self.assertEqual([one.workload for one in outcome.reached], ["W1"])

    def test_goals_compare_only_contenders_that_are_run(self):
        made = repetitions_of(QUESTIONS, 5)
        for one in GOALS:
            for workload in one.workloads:
                self.assertIn((one.subject[0], workload), made, one.line)
                for contender, _ in one.references:
                    self.assertIn((contender, one.reference_workload or workload), made, one.line)


class ComplaintsTest(unittest.TestCase):
    RUNS = [run("ours/W1", 30), run("theirs/W1", 10)]

    def test_missed_goal_is_reported_with_all_steps(self):
        found = results(*self.RUNS)
        self.assertEqual(complaints(outcomes([goal()], found), found),
                         ["missed: ours: at most 2 × theirs"])

    def test_goals_are_not_judged_with_fewer_steps(self):
        found = results(*self.RUNS, scale=0.1)
        self.assertEqual(complaints(outcomes([goal()], found), found), [])

    def test_failed_run_is_reported_with_any_number_of_steps(self):
        found = results(*self.RUNS, failed_run("ours/W2"), scale=0.1)
        self.assertEqual(complaints([], found), ["1 of 3 runs failed"])


if __name__ == "__main__":
    unittest.main()
