import copy
import json
import os
import signal
import subprocess
import time
from array import array
from pathlib import Path

from commands import COMMAND, SIMULATE
from left_overs import OTHER, STEM, LeftOverTest

SETUP = {"groups": [{"id": 0, "channels": [
    {"id": 0, "width": 1, "paths": ["x"]},
    {"id": 1, "width": 2, "paths": ["pair", "twin"]}]}]}


class RescueTest(LeftOverTest):
    """What the tests of a rescue have in common."""

    def write_setup(self, setup):
        (self.directory / "setup.json").write_text(json.dumps(setup), encoding="utf-8")

    def hidden_entries(self):
        return [entry.name for entry in self.directory.iterdir() if entry.name.startswith(".")]


class NativeRescueTest(RescueTest):
    """native rescue."""

    def rescue(self, *arguments, status=0):
        return self.json_of("native", "rescue", STEM[:8], "-o", "new", *arguments, status=status)

    def values(self):
        return self.output_of("print", "new", "--csv")

    def test_files_become_a_recording_with_numbered_names(self):
        self.make_run()
        before = {file.name: file.read_bytes() for file in self.place.iterdir()}
        self.assertEqual(self.rescue(), {
            "schema": 1, "location": "new", "state": "complete",
            "groups": [{"id": 0, "steps": 3, "lostSteps": 0, "widthsAreCertain": True}]})
        self.assertEqual(self.values(), (
            "time,group-0.channel-0,group-0.channel-1[0],group-0.channel-1[1]\n"
            "0,1,2,3\n0.5,4,5,6\n1,7,8,9\n"))
        self.output_of("check", "new")
        info = self.json_of("info", "new")
        self.assertEqual((info["name"], info["state"]), ("new", "interrupted"))
        self.assertEqual(info["properties"]["rescued from"], f"{self.place}/{STEM}")
        self.assertEqual({file.name: file.read_bytes() for file in self.place.iterdir()}, before)
        self.assertEqual(self.hidden_entries(), [])

    def test_left_over_is_named_by_its_path(self):
        elsewhere = self.directory / "elsewhere"
        self.make_run()
        self.place.rename(elsewhere)
        text = self.output_of("native", "rescue", f"elsewhere/{STEM}", "-o", "new/")
        self.assertEqual(text, "new/: 3 steps, also those that the host rejected; nothing in the "
                               "files is lost\n")
        self.assertIn("0.5,4,5,6\n", self.values())

    def test_setup_gives_the_names(self):
        self.make_run()
        self.make(f"{STEM}_values_0_2", [])
        setup = copy.deepcopy(SETUP)
        setup["groups"][0]["channels"].append({"id": 2, "width": 0, "paths": ["nothing"]})
        self.write_setup(setup)
        self.rescue("--setup", "setup.json")
        self.assertEqual(self.values(), "time,x,pair[0],pair[1],twin[0],twin[1]\n"
                                        "0,1,2,3,2,3\n0.5,4,5,6,5,6\n1,7,8,9,8,9\n")

    def test_incomplete_steps_are_left_out(self):
        self.make_run()
        os.truncate(self.place / f"{STEM}_values_0_1", 44)
        self.write_setup(SETUP)
        result = self.rescue("--setup", "setup.json", status=1)
        self.assertEqual(result["state"], "incomplete")
        self.assertEqual(result["groups"], [
            {"id": 0, "steps": 2, "lostSteps": 1, "widthsAreCertain": True}])
        self.assertTrue(self.values().endswith("\n0,1,2,3,2,3\n0.5,4,5,6,5,6\n"))
        text = self.output_of("native", "rescue", STEM, "-o", "second", status=1)
        self.assertEqual(text, (
            "lost: 1 steps of group 0, from step 2 on, which are not in all files\n"
            "guessed: the widths of the channels of group 0, because its files are not of the "
            "same steps; --setup tells them\n"
            "second: 2 steps, also those that the host rejected\n"))

    def test_missing_files_lose_the_steps_of_their_group(self):
        self.make_run()
        self.make(f"{STEM}_times_3", [0, 1])
        self.make(f"{STEM}_values_3_5", [2, 3])
        (self.place / f"{STEM}_times_0").unlink()
        result = self.rescue(status=1)
        self.assertEqual([group["steps"] for group in result["groups"]], [0, 2])
        self.assertEqual(result["groups"][0]["lostSteps"], 6)
        self.assertIn("0,2\n1,3\n", self.values())

    def test_setup_must_fit(self):
        self.make_run()
        setup = copy.deepcopy(SETUP)
        setup["groups"][0]["channels"][1]["width"] = 1
        self.write_setup(setup)
        command = "native", "rescue", STEM, "-o", "new", "--setup"
        self.assert_refused("does not fit", *command, "setup.json")
        self.write_setup({"groups": []})
        self.assert_refused("group 0", *command, "setup.json")
        self.assert_refused("missing.json", *command, "missing.json")
        self.assertFalse((self.directory / "new").exists())
        self.assertEqual(self.hidden_entries(), [])

    def test_what_is_wrong_with_the_setup_is_said_with_its_name(self):
        self.make_run()
        cases = ((b"", "the setup is not JSON: it ends too early"),
                 (b'{"groups": [\n  {"id": 0,}]}\n', "the setup is not JSON: line 2 is wrong"),
                 (b'{"groups": [\n\n', "the setup is not JSON: it ends too early"),
                 (b"\xff\x00\x1b[31m", "the setup is not JSON: line 1 is wrong"),
                 (b'{"groups": 1e999}', "the setup has a number that is too large"),
                 (b'{"groups": []}', "group 0 has files, but is not in the setup"))
        for text, message in cases:
            with self.subTest(text):
                (self.directory / "setup.json").write_bytes(text)
                result = self.run_command("native", "rescue", STEM, "-o", "new",
                                          "--setup", "setup.json")
                self.assertEqual((result.stderr, result.returncode),
                                 (f"logging2: setup.json: {message}\n", 2))

    def test_nothing_is_overwritten(self):
        self.make_run()
        (self.directory / "link").symlink_to("nowhere")
        for name in self.place, "link":
            self.assert_refused("exists already", "native", "rescue", STEM, "-o", name)
        self.assert_refused("missing", "native", "rescue", STEM, "-o", "missing/new")

    def test_names_must_be_of_one_left_over(self):
        self.make_run()
        self.make_run(STEM[:9] + "ffff" + STEM[13:])
        self.assert_refused("more than one", "native", "rescue", STEM[:8], "-o", "new")
        self.assert_refused("no left-over", "native", "rescue", OTHER, "-o", "new")
        self.assert_refused("no name", "native", "rescue", STEM[:7], "-o", "new")
        self.assert_refused("no name", "native", "rescue", f"{STEM}_times_0", "-o", "new")

    def test_rows_that_no_recording_holds_are_refused(self):
        self.make_run(times=[0])
        os.truncate(self.place / f"{STEM}_values_0_1", 2 ** 42)
        self.assert_refused("64 MiB", "native", "rescue", STEM, "-o", "new")
        self.assertEqual(self.hidden_entries(), [])

    def start_long_rescue(self):
        """A rescue of a sparse left-over, when it has begun to write."""
        self.make_run()
        for file in self.place.iterdir():
            os.truncate(file, 2 ** 31)
        process = subprocess.Popen([COMMAND, "native", "rescue", STEM, "-o", "new"],
                                   cwd=self.directory, stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.wait)
        self.addCleanup(process.stderr.close)
        while not self.hidden_entries():
            self.assertIsNone(process.poll())
            time.sleep(0.001)
        return process

    def test_interrupted_rescue_leaves_nothing(self):
        for number in signal.SIGINT, signal.SIGTERM:
            process = self.start_long_rescue()
            process.send_signal(number)
            self.assertEqual(process.wait(60), 128 + number)
            self.assertEqual(process.stderr.read(), "logging2: interrupted\n")
            self.assertEqual(list(self.directory.iterdir()), [self.place])

    def test_file_that_changes_meanwhile_is_an_error(self):
        values = self.place / f"{STEM}_values_0_1"
        substitute = self.place / "substitute"

        def replace():
            substitute.touch()
            os.truncate(substitute, 2 ** 31)
            os.replace(substitute, values)

        for change in (lambda: os.truncate(values, 8)), replace, values.unlink:
            process = self.start_long_rescue()
            change()
            self.assertEqual(process.wait(60), 2)
            self.assertIn(values.name, process.stderr.read())
            self.assertEqual(list(self.directory.iterdir()), [self.place])


class KilledHostTest(RescueTest):
    """The left-overs of a host that was really killed."""

    def kill_simulation(self):
        """Kills the example host when it has begun to write its values."""
        host = subprocess.Popen([SIMULATE, "lorenz", "--backend", "native", "--stop-time", "1e6",
                                 "--tolerance", "1e-5", "--no-plots", "--out", self.directory / "out"],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(host.wait)
        end = time.monotonic() + 250
        while not any(file.stat().st_size for file in self.place.glob("*_values_0_0")):
            self.assertIsNone(host.poll())
            self.assertLess(time.monotonic(), end)
            time.sleep(0.001)
        host.kill()
        host.wait()

    def lorenz_from_memory(self):
        """The first rows of the same model, from a run that ended. Its last step is shorter."""
        subprocess.run([SIMULATE, "lorenz", "--stop-time", "50", "--tolerance", "1e-5",
                        "--no-plots", "--out", self.directory / "memory"],
                       check=True, capture_output=True)
        lines = Path(self.directory / "memory/lorenz_state.csv").read_text().splitlines()
        return [[float(cell) for cell in line.split(",")] for line in lines[1:-1]]

    def doubles(self, name):
        (file,) = self.place.glob(name)
        result = array("d")
        result.frombytes(file.read_bytes()[:file.stat().st_size // 8 * 8])
        return result

    def test_rescued_samples_are_those_of_the_model(self):
        self.kill_simulation()
        times, values = self.doubles("*_times_0"), self.doubles("*_values_0_0")
        (found,) = self.left_overs()
        self.write_setup({"groups": [{"id": 0, "channels": [
            {"id": 0, "width": 3, "paths": ["lorenz.state"]}]}]})
        lost = len(times) > len(values) // 3
        result = self.json_of("native", "rescue", found["name"], "-o", "new",
                              "--setup", "setup.json", status=1 if lost else 0)
        (group,) = result["groups"]
        self.assertEqual((group["steps"], group["lostSteps"]),
                         (len(values) // 3, len(times) - len(values) // 3))
        self.assertGreater(group["steps"], 5000)
        expected = self.lorenz_from_memory()
        self.assertGreater(len(expected), 1000)
        lines = self.output_of("print", "new", "--csv", "--to", 50).splitlines()
        self.assertEqual(lines[0], "time,lorenz.state[0],lorenz.state[1],lorenz.state[2]")
        rows = [[float(cell) for cell in line.split(",")] for line in lines[1:]]
        self.assertEqual(rows[:len(expected)], expected)
        lines = self.output_of("print", "new", "--csv", "--every", 10007).splitlines()[1:]
        self.assertEqual([[float(cell) for cell in line.split(",")] for line in lines],
                         [[times[step], *values[3 * step:3 * step + 3]]
                          for step in range(0, group["steps"], 10007)])
        self.output_of("check", "new")
        self.output_of("native", "clean", found["name"], "--yes")
        self.assertEqual(list(self.place.iterdir()), [])
