import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from commands import COMMAND, CommandTest

KILLED_AT_CHANGE = os.environ["LOGGING2_KILLED_AT_CHANGE"]

SETUP = "name demo\ngroup 0 x:1 y:1\nbegin\n"
# The second half is discarded.
SCRIPT = SETUP + "".join(f"write 0 {time} {10 * time} {-time}\n" for time in range(100)) + (
    "show\nrollback 0 49\nend\n")


class CompactTest(CommandTest):
    """compact."""

    def names(self):
        return [entry.name for entry in self.directory.iterdir()]

    def test_bytes_of_discarded_steps_are_freed(self):
        run = self.record(SCRIPT)
        expected = self.output_of("print", run, "--csv")
        sizes = self.json_of("compact", run)
        self.assertLess(sizes["bytes"], sizes["bytesBefore"])
        self.assertEqual(self.output_of("print", run, "--csv"), expected)
        self.assertEqual(self.names(), [run.name])

    def test_running_run_is_refused(self):
        process, run = self.recorder(SETUP + "write 0 1 1 1\nshow\n")
        self.assert_refused("still being written", "compact", run)
        process.stdin.write("end\n")

    def test_permissions_stay(self):
        run = self.record(SCRIPT)
        run.chmod(0o755)
        self.output_of("compact", run)
        self.assertEqual([run.stat().st_mode & 0o777, (run / "samples.bin").stat().st_mode & 0o777],
                         [0o755, 0o644])

    def test_next_one_removes_what_a_killed_one_left(self):
        if os.access("/dev/shm", os.W_OK):  # A disk would take a minute to synchronize the files.
            memory = tempfile.TemporaryDirectory(prefix="logging2-tools-", dir="/dev/shm")
            self.addCleanup(memory.cleanup)
            self.directory = Path(memory.name)
        run = self.record(SCRIPT)
        expected = self.output_of("print", run, "--csv")
        leavings = 0
        for number in range(10000):
            status = subprocess.run([KILLED_AT_CHANGE, str(number), COMMAND, "compact", run],
                                    stdout=subprocess.DEVNULL, check=False).returncode
            if status == 77:
                raise unittest.SkipTest("processes cannot be traced here")
            if status == 1:
                break
            leavings += len(self.names()) > 1
            self.assertEqual(self.output_of("print", run, "--csv"), expected, number)
            self.output_of("compact", run)
            self.assertEqual(self.names(), [run.name], number)
        self.output_of("check", run)
        self.assertGreater(leavings, 10)

    def test_compaction_waits_for_another_one(self):
        run = self.record(SCRIPT)
        with subprocess.Popen(["flock", run, "cat"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                              text=True) as other:
            other.stdin.write("locked\n")
            other.stdin.flush()
            self.assertEqual(other.stdout.readline(), "locked\n")
            with subprocess.Popen([COMMAND, "compact", run], stdout=subprocess.DEVNULL) as waiting:
                with self.assertRaises(subprocess.TimeoutExpired):
                    waiting.wait(0.5)
                other.stdin.close()
                self.assertEqual(waiting.wait(), 0)
        self.assertEqual(self.names(), [run.name])

    def test_what_a_killed_compaction_left_is_removed(self):
        run = self.record(SCRIPT)
        (self.directory / f".{run.name}.compact.abcdef").mkdir()
        self.output_of("compact", run)
        self.assertEqual(self.names(), [run.name])
