import json
import re
import shutil
import signal
import subprocess
import time

from browser import BrowserTest
from commands import SIMULATE
from selenium.webdriver.common.keys import Keys

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
        self.assertRegex(self.text("#live"), r"Following, last written \d+\.\d s ago")
        self.wait(lambda: "late" not in self.one("#live").get_attribute("class"))
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

    def set_hidden(self, is_hidden):
        self.browser.execute_script("""
            Object.defineProperty(document, "hidden", {value: arguments[0], configurable: true});
            document.dispatchEvent(new Event("visibilitychange"));""", is_hidden)

    def test_new_runs_appear_when_the_page_is_visible_again(self):
        self.record("group 0 x:1\nbegin\nwrite 0 0 1\nend\n")
        self.open(self.directory)
        # While somebody else looks, the server does not repeat what has changed.
        self.browser.execute_script("globalThis.other = new EventSource('api/events')")
        self.set_hidden(True)
        self.record("group 0 x:1\nbegin\nwrite 0 0 1\nend\n")
        time.sleep(1.5)
        self.assertEqual(len(self.all(".run")), 1)
        self.set_hidden(False)
        self.wait(lambda: len(self.all(".run")) == 2)

    def test_step_that_goes_back_in_time_is_drawn(self):
        writer, run = self.recorder("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step} 1\n" for step in range(11)) + "show\n")
        self.open(run, "x")
        self.show(2, 4)
        self.wait(lambda: "from=2" in self.browser.current_url)
        # The page then knows nothing of later steps.
        self.browser.refresh()
        self.wait(lambda: self.inked() and self.interval() == [2, 4])
        before = self.ink()
        writer.stdin.write("write 0 3.1 77\nshow\n")
        self.wait(lambda: self.ink() != before and max(
            rows[1] - rows[0] for rows in self.ink() if rows is not None) > 100)
        writer.stdin.write("end\n")

    def test_keys_reach_every_step_of_a_shifted_run(self):
        times = [0.1 * step for step in range(1, 21)]
        shift = 0.26626288733422543
        self.assertNotEqual([step + shift - shift for step in times], times)
        self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {step!r} {number}\n" for number, step in enumerate(times)) + "end\n")
        self.open(self.directory, "x")
        address = self.wait(lambda: "plot=x" in self.browser.current_url and self.browser.current_url)
        self.browser.get(re.sub(r"run=[^&@]*", rf"\g<0>@{shift}", address) + "&a=0")
        self.wait(lambda: len(self.legend().get("x", [])) == 1)
        numbers = list(range(len(times)))
        for key, expected in ((".", numbers), (",", numbers[-2::-1])):
            for number in expected:
                self.press(key)
                self.wait_for([str(number)], lambda: self.legend()["x"])

    def test_runs_beyond_those_that_are_watched_end(self):
        writers = [self.recorder(START)[0] for _ in range(18)]
        self.open(self.directory)
        self.all(".run-open")[0].click()
        self.plot("x")
        for place in range(1, len(writers)):
            self.browser.execute_script("document.querySelectorAll('.run input[type=checkbox]')[arguments[0]].click()",
                                        place)
        self.wait(lambda: len(self.all(".alignment")) == len(writers) - 1)
        for writer in writers:
            writer.stdin.write("write 0 200 5\nend\n")
        self.wait_for([0, 200], self.interval)
        self.wait_for("Not running", lambda: self.text("#live"))

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

    def test_cursor_reads_runs_that_are_left(self):
        self.expected_errors = ("status of 404", "status of 410")
        self.overlay([(step, 7) for step in range(101)])
        first = next(run for run in json.loads(self.run_command("list", self.directory, "--json").stdout)["runs"]
                     if run["name"] == "first")
        shutil.rmtree(first["location"])
        self.wait(lambda: self.all(".note.error"))
        self.press("a")
        for time_ in 51, 52:
            self.press(".")
            self.wait_for(f"A {time_}", lambda: self.text("#cursor-times").split(" ·")[0])
        self.wait(lambda: "7" in self.value_texts())

    def value_texts(self):
        return self.browser.execute_script(
            "return [...document.querySelectorAll('.legend .value')].map((cell) => cell.title)")

    def test_page_tells_how_far_it_is_behind(self):
        writer, run = self.recorder(START)
        self.open(run, "x")
        self.wait(lambda: "last written" in self.text("#live"))
        self.wait(lambda: "behind" not in self.text("#live"))
        self.servers[0].send_signal(signal.SIGSTOP)
        self.addCleanup(self.servers[0].send_signal, signal.SIGCONT)
        self.wait(lambda: re.search(r"s ago, [4-9] s behind", self.text("#live")))
        self.assertIn("late", self.one("#live").get_attribute("class"))
        self.servers[0].send_signal(signal.SIGCONT)
        self.wait(lambda: "behind" not in self.text("#live"))
        writer.stdin.write("end\n")

    def test_page_tells_that_answers_are_late(self):
        writer, run = self.recorder(START)
        self.open(run, "x")
        self.browser.execute_script("""
            const own = fetch;
            globalThis.fetch = async (address, options) => {
                if (String(address).includes("/trace?")) await new Promise((go) => setTimeout(go, 3500));
                return own(address, options);
            };""")
        self.wait(lambda: "behind" not in self.text("#live"))
        writer.stdin.write("write 0 200 5\nshow\n")
        self.wait(lambda: re.search(r"s ago, [23] s behind", self.text("#live")))
        self.wait(lambda: "behind" not in self.text("#live"))
        self.assertEqual(self.interval(), [0, 200])
        writer.stdin.write("end\n")

    def test_going_back_pauses_what_is_followed(self):
        writer, run = self.recorder(START)
        self.open(run, "x")
        self.type("#last-length", "40")
        self.wait_for([60, 100], self.interval)
        self.wait(lambda: self.text("#live").startswith("Following"))
        self.press(Keys.ARROW_LEFT)
        self.wait(lambda: self.text("#live").startswith("Paused"))
        first, last = self.interval()
        self.assertLess(last, 100)
        writer.stdin.write("write 0 200 5\nshow\n")
        self.wait(lambda: "102 steps" in self.text(".run"))
        self.wait_until_drawn()
        self.assertEqual(self.interval(), [first, last])
        self.press(" ")
        self.wait_for([160, 200], self.interval)
        writer.stdin.write("end\n")

    def test_address_with_the_newest_part_shows_what_came_meanwhile(self):
        writer, run = self.recorder(START)
        self.open(run, "x")
        self.type("#last-length", "60")
        self.wait_for([40, 100], self.interval)
        self.wait(lambda: "last=60" in self.browser.current_url)
        address = self.browser.current_url
        self.browser.get("about:blank")
        writer.stdin.write("write 0 300 5\nend\n")
        self.browser.get(address)
        self.wait_for([240, 300], self.interval)

    def test_runs_are_aligned_at_the_cursors(self):
        self.overlay([(step + 40, step) for step in range(101)])
        self.wait(lambda: self.browser.current_url.count("run=") == 2)
        address = self.browser.current_url
        self.browser.get("about:blank")
        self.browser.get(address + "&a=10&b=70")
        self.wait(lambda: self.one(".alignment button:last-child").is_enabled())
        self.one(".alignment button:last-child").click()
        self.wait_for("-60", lambda: self.one(".alignment input").get_attribute("value"))
        self.wait_for([-20, 100], self.interval)
        # At cursor A, the second run shows what it has shown at cursor B.
        self.wait_for(["at 10", "10", "30"], lambda: self.value_texts()[::3])

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
