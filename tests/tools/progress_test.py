import os
import pty
import re
import select
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

from commands import COMMAND, CommandTest
from left_overs import STEM

STEP_COUNT = 2000000
SLOW_SECONDS = 4
BAR = re.compile(r"\r\[#*\.*\] \d+ %")
ERASURE = "\r\x1b[K"

# Commands whose work grows with the run, and where their output goes to.
COMMANDS = ("check RUN", "copy RUN -o NEW", "rescue RUN -o NEW", "compact RUN", "diff RUN RUN",
            "diff --exact RUN RUN", "export RUN -o NEW.csv", "export RUN -o NEW.h5",
            "export RUN -o NEW.npz", "export RUN -o NEW.recording", "print RUN",
            "print RUN --merge", "export RUN --to csv")
# These have nothing to remove, so an interrupt ends them at once.
UNGUARDED = "print RUN", "print RUN --merge", "export RUN --to csv"


class ProgressTest(CommandTest):
    """The progress bar, on a pseudo terminal."""

    def setUp(self):
        super().setUp()
        self.master, slave = pty.openpty()
        self.slave = slave
        self.addCleanup(os.close, self.master)
        self.addCleanup(os.close, slave)

    def words_of(self, command, run):
        new = Path(tempfile.mkdtemp(dir=self.directory)) / "new"
        return [str(run) if word == "RUN" else word.replace("NEW", str(new))
                for word in command.split()]

    def shown(self, patience=0.0):
        """What the command has written to the terminal since the last look.

        The system passes on what was written a moment later.
        """
        text = ""
        while select.select([self.master], [], [], patience)[0]:
            text += os.read(self.master, 65536).decode()
        return text

    def shown_by(self, words, output, is_slow=False):
        """What the command shows.

        One that is slow is stopped most of the time, and is interrupted when it shows a bar.
        """
        text = ""
        end = time.monotonic() + (SLOW_SECONDS if is_slow else 0)
        is_interrupted = False  # a second interrupt may cut off the message
        with subprocess.Popen([COMMAND, *words], stdout=output, stderr=self.slave) as process:
            while process.poll() is None:
                if BAR.search(text):
                    if not is_interrupted:
                        process.send_signal(signal.SIGINT)
                    is_interrupted = True
                elif time.monotonic() < end:
                    process.send_signal(signal.SIGSTOP)
                    time.sleep(0.1)
                    process.send_signal(signal.SIGCONT)
                time.sleep(0.001)
                text += self.shown()
        self.assertIn(process.returncode, (0, 130, -signal.SIGINT), text)
        return text + self.shown(patience=0.2)

    def shown_with_bar(self, command, run, output):
        """The same for a command that is slow enough to show a bar; that may take some attempts."""
        for _ in range(10):
            text = self.shown_by(self.words_of(command, run), output, is_slow=True)
            if BAR.search(text):
                return text
        return self.fail(f"{command} shows no bar")

    def test_long_work_shows_a_bar_and_removes_it(self):
        run = self.record(f"group 0 x:1\nbegin\nramp 0 1 {STEP_COUNT} 0\nend\n")
        for command in COMMANDS:
            with self.subTest(command), open(self.directory / "output", "wb") as output:
                text = self.shown_with_bar(command, run, output)
                if command not in UNGUARDED:
                    self.assertIn(BAR.sub("", text),
                                  (ERASURE, f"{ERASURE}logging2: interrupted\r\n"))

    def test_long_rescue_of_native_files_shows_a_bar_and_removes_it(self):
        for name in "times_0", "values_0_0":
            with open(self.directory / f"{STEM}_{name}", "wb") as file:
                file.truncate(2 ** 31)
        with open(self.directory / "output", "wb") as output:
            text = self.shown_with_bar("native rescue RUN -o NEW", self.directory / STEM, output)
        self.assertEqual(BAR.sub("", text), f"{ERASURE}logging2: interrupted\r\n")

    def test_plot_and_list_of_many_things_show_a_bar(self):
        small = self.record("group 0 x:1\nbegin\nwrite 0 1 1\nend\n")
        for number in range(500):
            shutil.copytree(small, self.directory / f"{number}.recording")
        names = " ".join(f"s{number}:100" for number in range(20))
        run = self.record(f"group 0 {names}\nbegin\nramp 0 2000 5000 0\nend\n")
        for words in ["list", self.directory], ["plot", run, "--overlay"]:
            with self.subTest(words[0]), open(self.directory / "output", "wb") as output:
                self.assertRegex(self.shown_by(words, output, is_slow=True), BAR)

    def test_short_work_shows_no_bar(self):
        run = self.record("group 0 x:1\nbegin\nwrite 0 1 1\nend\n")
        for command in COMMANDS:
            with open(self.directory / "output", "wb") as output:
                self.assertEqual(self.shown_by(self.words_of(command, run), output), "")

    def test_rows_that_somebody_reads_are_not_mixed_with_a_bar(self):
        run = self.record(f"group 0 x:1\nbegin\nramp 0 1 {STEP_COUNT} 0\nend\n")
        reader = subprocess.Popen(["cat"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL)
        with reader:
            for command in "print RUN", "export RUN --to csv":
                words = self.words_of(command, run)
                self.assertEqual(self.shown_by(words, reader.stdin, is_slow=True), "")

    def test_bar_needs_a_terminal(self):
        run = self.record(f"group 0 x:1\nbegin\nramp 0 1 {STEP_COUNT} 0\nend\n")
        with subprocess.Popen([COMMAND, "export", run, "-o", self.directory / "new.csv"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
            time.sleep(0.01)
            process.send_signal(signal.SIGSTOP)
            time.sleep(1.1)
            process.send_signal(signal.SIGCONT)
            self.assertEqual(process.stderr.read(), b"")
