import contextlib
import io
import tempfile
import unittest
from pathlib import Path

from benchmarks.compare.measure import measure, repetitions_of, rounds_of
from benchmarks.compare.questions import QUESTIONS, Entry, Question


def question(workloads: list[str], contenders: list[str], **others) -> Question:
    entries = [Entry(name, "run", name) for name in contenders]
    return Question("id", "title", workloads, entries, **others)


class RepetitionsTest(unittest.TestCase):
    def test_highest_wanted_number_is_used(self):
        wanted = repetitions_of([question(["W1"], ["a", "b"], most_repetitions=2),
                                 question(["W1"], ["a"])], 5)
        self.assertEqual(wanted, {("a", "W1"): 5, ("b", "W1"): 2})

    def test_slow_contenders_run_three_times(self):
        self.assertEqual(repetitions_of([question(["W1"], ["csv"])], 5), {("csv", "W1"): 3})
        self.assertEqual(repetitions_of([question(["W1"], ["csv"])], 2), {("csv", "W1"): 2})


class RoundsTest(unittest.TestCase):
    rounds = rounds_of(repetitions_of(QUESTIONS, 5))

    def test_have_each_pair_the_wanted_number_of_times(self):
        wanted = repetitions_of(QUESTIONS, 5)
        counts = {pair: sum(pairs.count(pair) for pairs in self.rounds) for pair in wanted}
        self.assertEqual(counts, wanted)
        self.assertTrue(all(len(set(pairs)) == len(pairs) for pairs in self.rounds))

    def test_keep_contenders_on_a_workload_together(self):
        for pairs in self.rounds:
            workloads = [workload for _, workload in pairs]
            changes = sum(one != next_one for one, next_one in zip(workloads, workloads[1:]))
            self.assertEqual(changes, len(set(workloads)) - 1)

    def test_differ_in_the_order_of_workloads_and_contenders(self):
        pairs = [("a", "W1"), ("b", "W1"), ("c", "W1"), ("d", "W1")]
        others = [(name, workload) for name, workload in zip("aaaa", ["W2", "W3", "W4", "W5"])]
        for wanted in (pairs, others):
            rounds = rounds_of(dict.fromkeys(wanted, 5))
            self.assertGreater(len({tuple(one) for one in rounds}), 1)


class MeasureTest(unittest.TestCase):
    def measured(self, script: str) -> dict:
        with tempfile.TemporaryDirectory() as directory, \
                contextlib.redirect_stderr(io.StringIO()):
            program = Path(directory) / "program"
            program.write_text("#!/bin/sh\n" + script, encoding="utf-8")
            program.chmod(0o700)
            return measure(str(program), [[("csv", "W1")], [("csv", "W1")]], scale=0.5, kept="kept")

    def test_merges_the_runs_of_all_rounds(self):
        document = self.measured(
            'cat <<END\n{"context": {"date": "d"}, "benchmarks": [{"name": "$*"}]}\nEND\n')
        names = [one["name"] for one in document["benchmarks"]]
        self.assertEqual(
            names, ["--keep-files-in=kept --benchmark_filter=^csv/W1/ --benchmark_format=json "
                    "--scale=0.05"] * 2)
        self.assertEqual([one["repetition_index"] for one in document["benchmarks"]], [0, 1])
        self.assertEqual((document["context"]["date"], document["context"]["scale"]), ("d", 0.5))

    def test_program_that_crashes_is_a_failed_run(self):
        document = self.measured("echo no memory >&2; exit 3")
        one = document["benchmarks"][0]
        self.assertEqual((one["name"], one["error_occurred"]), ("csv/W1", True))
        self.assertEqual(one["error_message"], "ended with status 3: no memory\n")

    def test_program_that_fails_after_its_report_is_a_failed_run(self):
        document = self.measured('cat <<END\n{"context": {}, "benchmarks": [{}]}\nEND\nexit 4')
        self.assertTrue(document["benchmarks"][0]["error_occurred"])

    def test_unknown_run_is_a_failed_run(self):
        self.assertTrue(self.measured("exit 0")["benchmarks"][0]["error_occurred"])


if __name__ == "__main__":
    unittest.main()
