import json
import math
import os
import signal
import subprocess
import time

from commands import COMMAND, CommandTest


def ramp(step_count):
    return ("group 0 x:1\ngroup 1 pair:2\nbegin\n" +
            "".join(f"write 0 {step} {10 * step}\n" for step in range(step_count)) +
            "write 1 0 1 nan\nwrite 1 2 3 inf\nend\n")


class PlotTest(CommandTest):
    """plot."""

    def points(self, run, *arguments):
        return {curve["title"]: [tuple(point) for point in curve["points"]]
                for curve in self.json_of("plot", run, *arguments)["curves"]}

    def test_few_samples_are_drawn_themselves(self):
        run = self.record(ramp(4))
        self.assertEqual(self.points(run), {
            "x": [(0, 0), (1, 10), (2, 20), (3, 30)],
            "pair[0]": [(0, 1), (2, 3)],
            "pair[1]": [(0, "NaN"), (2, "Infinity")]})
        self.assertEqual(self.points(run, "x", "--from", "1", "--to", "2"),
                         {"x": [(1, 10), (2, 20)]})

    def test_many_samples_become_ranges(self):
        run = self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} {math.sin(step) + (100 if step == 7777 else 0)}\n"
            for step in range(20000)) + "end\n")
        points = self.points(run)["x"]
        self.assertEqual(len(points), 2000)
        self.assertGreater(max(value for _, value in points), 99)
        self.assertLess(abs(points[777][0] - 7777), 40)

    def test_picture_is_complete(self):
        run = self.simulate()
        for name, start, end in (("plot.svg", b"<?xml", b"</svg>"), ("plot.png", b"\x89PNG", b"IEND")):
            self.assertEqual(self.output_of("plot", run, "-o", name), "")
            content = (self.directory / name).read_bytes()
            self.assertTrue(content.startswith(start))
            self.assertIn(end, content[-20:])
        self.assertIn(b"ball.height", (self.directory / "plot.svg").read_bytes())

    def test_plot_of_characters_is_as_wide_as_asked(self):
        lines = self.output_of("plot", self.simulate(), "ball.height").splitlines()
        self.assertIn("ball.height", lines[0])
        self.assertLessEqual(max(map(len, lines)), 80)
        self.assertGreater(sum(line.count("*") for line in lines), 40)

    def test_signals_without_samples_are_empty_panels(self):
        run = self.record("group 0 x:1\ngroup 1 y:1 none:0\nbegin\nwrite 0 1 5\nend\n")
        self.assertEqual(self.points(run), {"x": [(1, 5)], "y": []})
        self.output_of("plot", run)
        self.output_of("plot", run, "-o", "plot.png")
        self.assert_refused("nothing to plot", "plot", run, "none")

    def test_names_are_no_commands_of_gnuplot(self):
        run = self.record("group 0 a'b\"$`touch_x`:1\nbegin\nwrite 0 0 1\nwrite 0 1 2\nend\n")
        self.assertIn("a'b\"$`touch_x`", self.output_of("plot", run))

    def test_too_many_signals_need_a_choice(self):
        names = " ".join(f"s{i}:1" for i in range(21))
        run = self.record(f"group 0 {names}\nbegin\nwrite 0 0 {'1 ' * 21}\nend\n")
        self.assert_refused("at most 20", "plot", run)
        self.output_of("plot", run, "--overlay")

    def test_unwritable_picture_is_an_error(self):
        run = self.simulate()
        self.assert_refused("must end with .svg or .png", "plot", run, "-o", "plot.pdf")
        self.assert_refused("missing/plot.png", "plot", run, "-o", "missing/plot.png")

    def test_other_files_beside_the_picture_stay_as_they_are(self):
        run = self.simulate()
        part, linked = self.directory / "a.svg.part", self.directory / "linked"
        part.write_text("mine")
        linked.write_text("mine too")
        (self.directory / "b.svg.part").symlink_to(linked)
        for name in "a.svg", "b.svg":
            self.output_of("plot", run, "-o", name)
            self.output_of("plot", run, "-o", name)  # replaces the picture
            self.assertIn("</svg>", (self.directory / name).read_text())
        self.assertEqual((part.read_text(), linked.read_text()), ("mine", "mine too"))
        self.assertEqual(sorted(file.name for file in self.directory.glob("*svg*")),
                         ["a.svg", "a.svg.part", "b.svg", "b.svg.part"])

    def plot_with(self, gnuplot, *arguments):
        """The process of the command, which finds this script under the name of gnuplot."""
        programs = self.directory / "programs"
        programs.mkdir(exist_ok=True)
        (programs / "gnuplot").write_text(f"#!/bin/sh\n{gnuplot}\n")
        (programs / "gnuplot").chmod(0o755)
        return subprocess.Popen([COMMAND, "plot", *arguments], cwd=self.directory, text=True,
                                env={**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"},
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                start_new_session=True)

    def test_failure_of_gnuplot_is_explained(self):
        run = self.simulate()
        for script, reason in (("echo 'line 1: no' >&2; exit 1", "line 1: no"),
                               ("exit 3", "it ended with status 3"),
                               ("kill -KILL $$", "it was ended by signal 9")):
            with self.plot_with(script, run, "-o", "new.svg") as process:
                self.assertEqual(process.stderr.read(), f"logging2: gnuplot failed: {reason}\n")
                self.assertEqual(process.wait(), 2)
        self.assertEqual(list(self.directory.glob("*new*")), [])

    def test_interrupted_plot_leaves_nothing(self):
        run = self.simulate()
        (self.directory / "new.svg").write_text("old")
        with self.plot_with("echo > started; exec sleep 60", run, "-o", "new.svg") as process:
            while not (self.directory / "started").exists():
                time.sleep(0.01)
            os.killpg(process.pid, signal.SIGINT)
            self.assertEqual(process.stderr.read(), "logging2: interrupted\n")
            self.assertEqual(process.wait(), 130)
        self.assertEqual([file.read_text() for file in self.directory.glob("*new*")], ["old"])
        self.assertEqual(list(self.directory.glob(".new*")), [])

    def test_missing_gnuplot_is_named(self):
        run = self.simulate()
        result = subprocess.run([COMMAND, "plot", run], capture_output=True, text=True, check=False,
                                env={**os.environ, "PATH": "/nonexistent"})
        self.assertEqual((result.returncode, result.stderr), (
            2, "logging2: gnuplot cannot be started; install it to draw plots\n"))
        self.assertIsInstance(json.loads(self.output_of("plot", run, "--json")), dict)
