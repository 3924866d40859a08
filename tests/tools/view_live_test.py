import json
import shutil
import signal
import subprocess

from browser import BrowserTest
from commands import SIMULATE

START = "name demo\ngroup 0 x:1\nbegin\n" + "".join(f"write 0 {step} 1\n" for step in range(101)) + "show\n"


class ViewLiveTest(BrowserTest):
    """The page of runs that grow, and of several runs."""

    def test_page_follows_a_simulation(self):
        simulation = subprocess.Popen(
            [SIMULATE, "lorenz", "--stop-time", "1000000", "--backend", "recording", "--directory", self.directory,
             "--no-plots", "--out", self.directory / "out"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(simulation.wait)
        self.addCleanup(simulation.kill)
        self.wait(self.has_steps)
        # It is stopped in between, because it would fill the disk and end.
        simulation.send_signal(signal.SIGSTOP)
        self.open(self.directory)
        self.wait(lambda: self.all(".tree-row[draggable=true]"))[0].click()
        self.type("#last-length", "20")
        last = self.interval()[1]
        simulation.send_signal(signal.SIGCONT)
        self.wait(lambda: self.interval()[1] > last)
        simulation.send_signal(signal.SIGSTOP)
        first, last = self.interval()
        self.assertAlmostEqual(last - first, 20, delta=0.5)
        self.assertRegex(self.text("#live"), r"Following, \d+\.\d s behind")
        self.wait(lambda: len(self.inked()) > 400)
        self.press(" ")
        self.wait(lambda: self.text("#live").startswith("Paused"))
        paused = self.interval()

        def lists():
            return self.text(".run-facts")

        before = lists()
        simulation.send_signal(signal.SIGCONT)
        self.wait(lambda: lists() != before)
        simulation.send_signal(signal.SIGSTOP)
        self.assertEqual(self.interval(), paused)
        self.press(" ")
        self.wait(lambda: self.interval()[0] > paused[0])

    def has_steps(self):
        result = self.run_command("list", self.directory, "--json")
        return result.returncode == 0 and any(run.get("steps") for run in json.loads(result.stdout)["runs"])

    def test_undone_steps_disappear(self):
        writer, run = self.recorder(START)
        self.open(run, "x")
        writer.stdin.write("".join(f"write 0 {step} 77\n" for step in range(101, 201)) + "show\n")
        self.wait_for([0, 200], self.interval)
        self.wait_for({"x": ["77"]}, self.legend)
        self.wait(lambda: max(rows[1] - rows[0] for rows in self.ink() if rows is not None) > 100)
        self.show(50, 150)
        writer.stdin.write("rollback 0 100\nshow\n")
        self.wait_for({"x": ["1"]}, self.legend)
        self.wait(lambda: max(self.inked()) < len(self.ink()) / 2 + self.at(101))
        self.assertEqual(self.interval(), [50, 150])
        writer.stdin.write("end\n")
        self.wait(lambda: "finished" in self.text(".run"))

    def test_new_runs_appear_in_the_list(self):
        self.browser.get(self.serve(self.directory))
        self.wait_for("There are no runs yet.", lambda: self.text("#runs"))
        for count in 1, 2:
            self.record("group 0 x:1\nbegin\nwrite 0 0 1\nend\n")
            self.wait(lambda: len(self.all(".run")) == count)

    def test_a_run_that_disappears_leaves_the_others_alone(self):
        self.expected_errors = ("status of 404", "status of 410")
        gone = self.record("name gone\ngroup 0 y:1\nbegin\nwrite 0 0 1\nend\n")
        writer, _ = self.recorder(START)
        self.open(self.directory)
        self.all(".run-open")[0].click()
        self.wait(lambda: self.all(".run input")[1].is_enabled())
        self.all(".run input")[1].click()
        self.plot("x")
        shutil.rmtree(gone)
        self.wait(lambda: self.all(".note.error"))
        writer.stdin.write("write 0 200 5\nshow\n")
        self.wait_for([0, 200], self.interval)

    def overlay(self, second, *options):
        """Opens two ramps, the second of which is written by the function, and plots both."""
        self.record("name first\ngroup 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} {step}\n" for step in range(101)) + "end\n")
        self.record("name second\ngroup 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {value}\n" for time, value in second) + "end\n")
        self.open(self.directory)
        names = [run.text.splitlines()[0] for run in self.all(".run")]
        self.all(".run-open")[names.index("first")].click()
        self.plot("x")
        self.all(".run input[type=checkbox]")[names.index("second")].click()
        self.wait(lambda: len(self.browser.execute_script(
            "return [...document.querySelectorAll('.legend tbody tr')]")) == 2)
        self.wait_until_drawn()

    def test_runs_are_overlaid_and_aligned(self):
        self.overlay([(step + 40, step) for step in range(101)])
        self.wait_for([0, 140], self.interval)
        inks = self.inked(line=0), self.inked(line=1)
        self.assertGreater(inks[1][0], inks[0][0] + 100)
        self.one(".alignment button").click()
        self.wait_for([0, 100], self.interval)
        self.assertEqual(self.one(".alignment input").get_attribute("value"), "-40")
        self.wait(lambda: "@-40" in self.browser.current_url)

    def test_differences_of_two_runs_are_marked(self):
        self.overlay([(step, step + (5 if 60 <= step < 70 else 0)) for step in range(101)])
        self.press("c")
        self.type("#absolute", "1")
        self.wait(lambda: "x: 1 difference, greatest 5" in self.text(".notes"))
        self.press("d")
        self.wait(lambda: "A " in self.text("#cursor-times"))
        self.assertAlmostEqual(float(self.text("#cursor-times").split()[1]), 59.2, delta=0.9)
        red, green = "red > green + 40", "green > red + 10"
        self.assertGreater(self.pixels(red, 65), 2 * self.pixels(red, 30) + 100)
        self.assertGreater(self.pixels(green, 30), 5)
        self.type("#absolute", "6")
        self.wait(lambda: "x: no difference here" in self.text(".notes"))

    def pixels(self, condition, time):
        """How many pixels of the plot at a time fulfil the condition."""
        return self.browser.execute_script("""
            let count = 0;
            for (const canvas of document.querySelectorAll(".plot canvas:not(.overlay)")) {
                const x = Math.round(canvas.width / 2 + arguments[0]);
                const {data} = canvas.getContext("2d").getImageData(x, 0, 1, canvas.height);
                for (let i = 0; i < data.length; i += 4) {
                    const [red, green, , alpha] = data.slice(i, i + 4);
                    if (alpha > 0 && CONDITION) count += 1;
                }
            }
            return count;""".replace("CONDITION", condition), self.at(time))
