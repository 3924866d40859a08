import json
import os
import pty
import select
import signal
import subprocess
import termios
import time

from commands import COMMAND, CommandTest

SCRIPT = ("name demo\ngroup 0 x:1 pair:2\ngroup 1 never:1\nbegin\n" +
          "".join(f"write 0 {step} {step} 1 2\n" for step in range(100)) + "show\n")


class WatchTest(CommandTest):
    """watch, on a pseudo terminal."""

    def setUp(self):
        super().setUp()
        self.master, self.slave = pty.openpty()
        self.addCleanup(os.close, self.master)
        self.addCleanup(os.close, self.slave)
        self.seen = ""

    def watch(self, run, *arguments):
        """The process of the command, which has the pseudo terminal for its own."""
        return subprocess.Popen([COMMAND, "watch", run, "--interval", "0.05", *arguments],
                                stdin=self.slave, stdout=self.slave, stderr=subprocess.PIPE,
                                text=True, start_new_session=True)

    def read_until(self, text):
        """Reads what is shown until the text comes."""
        end = time.monotonic() + 60
        while text not in self.seen and time.monotonic() < end:
            if select.select([self.master], [], [], 0.1)[0]:
                self.seen += os.read(self.master, 65536).decode()
        self.assertIn(text, self.seen)

    def test_watch_shows_values_while_the_run_grows(self):
        writer, run = self.recorder(SCRIPT)
        before = termios.tcgetattr(self.slave)
        with self.watch(run) as process:
            self.read_until("100 steps")
            self.read_until("running")
            self.assertIn("never", self.seen)
            self.assertIn("1, 2", self.seen)
            writer.stdin.write("write 0 1000 4321 1 2\nshow\n")
            self.read_until("4321")
            writer.stdin.write("rollback 0 50\nshow\n")
            self.read_until("revision 1")
            self.read_until("51 steps")
            writer.stdin.write("end\n")
            self.read_until("finished")
            os.write(self.master, b"q")
            self.assertEqual((process.wait(30), process.stderr.read()), (0, ""))
        self.read_until("\x1b[?1049l")
        self.assertEqual(termios.tcgetattr(self.slave), before)

    def test_interrupted_watch_restores_the_terminal(self):
        run = self.record(SCRIPT)
        before = termios.tcgetattr(self.slave)
        for number in signal.SIGINT, signal.SIGTERM:
            self.seen = ""
            with self.watch(run) as process:
                self.read_until("100 steps")
                process.send_signal(number)
                self.assertEqual(process.wait(30), 128 + number)
            self.read_until("\x1b[?1049l")
            self.assertEqual(termios.tcgetattr(self.slave), before)

    def test_page_fits_the_terminal(self):
        termios.tcsetwinsize(self.slave, (10, 40))
        names = " ".join(f"signal_with_a_long_name_{i}:3" for i in range(30))
        run = self.record(f"group 0 {names}\nbegin\nwrite 0 0 {'0.123456 ' * 90}\nend\n")
        with self.watch(run) as process:
            self.read_until("q quits")
            os.write(self.master, b"q")
            self.assertEqual(process.wait(30), 0)
        page = self.seen.split("\x1b[H")[1].split("\x1b[J")[0]
        lines = page.replace("\x1b[1m", "").replace("\x1b[0m", "").replace("\x1b[K", "").split("\r\n")
        self.assertLessEqual(len(lines), 10)
        self.assertLessEqual(max(map(len, lines)), 40)
        self.assertIn("more signals", lines[-1])

    def test_no_color_is_obeyed(self):
        run = self.record(SCRIPT)
        os.environ["NO_COLOR"] = "1"
        self.addCleanup(os.environ.pop, "NO_COLOR")
        with self.watch(run) as process:
            self.read_until("q quits")
            os.write(self.master, b"q")
            self.assertEqual(process.wait(30), 0)
        self.assertNotIn("\x1b[1m", self.seen)

    def test_json_prints_lines_until_the_run_ends(self):
        writer, run = self.recorder(SCRIPT)
        with subprocess.Popen([COMMAND, "watch", run, "--json", "--interval", "0.05"],
                              stdout=subprocess.PIPE, text=True) as process:
            first = json.loads(process.stdout.readline())
            writer.stdin.write("end\n")
            last = json.loads(process.communicate()[0].splitlines()[-1])
            self.assertEqual(process.returncode, 0)
        self.assertEqual((first["state"], first["steps"], last["state"]),
                         ("running", 100, "finished"))
        self.assertEqual(first["signals"][0],
                         {"path": "x", "steps": 100, "time": 99, "values": [99]})
        self.assertEqual(first["signals"][2],
                         {"path": "never", "steps": 0, "time": None, "values": []})

    def test_lag_is_that_of_the_last_commit(self):
        writer, run = self.recorder(SCRIPT)
        for file in run.iterdir():
            os.utime(file, (time.time() - 100,) * 2)
        with subprocess.Popen([COMMAND, "watch", run, "--json", "--interval", "0.05"],
                              stdout=subprocess.PIPE, text=True) as process:
            self.assertAlmostEqual(json.loads(process.stdout.readline())["lag"], 100, delta=30)
            writer.stdin.write("write 0 1000 1 1 2\nshow\n")
            while json.loads(process.stdout.readline())["lag"] > 50:
                pass
            writer.stdin.write("end\n")
            last = json.loads(process.communicate()[0].splitlines()[-1])
        self.assertEqual((last["state"], last["lag"]), ("finished", None))

    def test_run_that_has_ended_shows_no_lag(self):
        with self.watch(self.record(SCRIPT + "end\n")) as process:
            self.read_until("q quits")
            os.write(self.master, b"q")
            self.assertEqual(process.wait(30), 0)
        self.assertIn("100 steps\x1b[K\r\n", self.seen)
        self.assertNotIn("ago", self.seen)

    def test_watch_needs_a_terminal(self):
        self.assert_refused("needs a terminal", "watch", self.record(SCRIPT))
