import os
import subprocess
import unittest

from commands import COMMAND, CommandTest

STEP_COUNT = 6500000  # 104 MB of times and values
GREATEST_RESIDENT = 64 << 20
GREATEST_READ = 1 << 20


@unittest.skipIf("LOGGING2_SANITIZED" in os.environ, "a sanitizer takes memory of its own")
class CostTest(CommandTest):
    """What the commands cost for a run of 100 MB."""

    @classmethod
    def setUpClass(cls):
        maker = cls("run")
        maker.setUp()
        cls.addClassCleanup(maker.doCleanups)
        cls.run_of_100_mb = maker.record(f"group 0 x:1\nbegin\nramp 0 1 {STEP_COUNT} 0\nend\n")

    def cost_of(self, command):
        """The greatest number of resident bytes, and the number of bytes that were read."""
        words = [str(self.run_of_100_mb) if word == "RUN" else word for word in command.split()]
        with subprocess.Popen([COMMAND, *words], stdout=subprocess.DEVNULL, cwd=self.directory) as process:
            os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
            with open(f"/proc/{process.pid}/io", encoding="ascii") as file:
                read = int(file.readline().removeprefix("rchar:"))
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0, command)
        return usage.ru_maxrss * 1024, read

    def test_memory_does_not_grow_with_the_run(self):
        for command in ("check RUN", "diff RUN RUN", "diff RUN RUN --exact",
                        "diff RUN RUN --hold * --time-tolerance 2", "print RUN --every 1000",
                        "print RUN --merge --every 1000", "export RUN --to csv", "export RUN -o new.npz",
                        "export RUN -o new.h5", "export RUN -o new.recording", "plot RUN -o new.svg",
                        "rescue RUN -o rescued", "copy RUN -o copied"):
            with self.subTest(command):
                self.assertLess(self.cost_of(command)[0], GREATEST_RESIDENT)

    def test_overviews_read_little(self):
        for command in "signals RUN", "info RUN", "signals RUN --json", "info RUN --json":
            with self.subTest(command):
                self.assertLess(self.cost_of(command)[1], GREATEST_READ)
