import json
import os
import pty
import shutil
import signal
import subprocess
import time
import unittest
from array import array
from pathlib import Path

from commands import COMMAND, SIMULATE, CommandTest

STEM = "0123abcd-0123-4123-8123-0123456789ab"
OTHER = "fedcba98-0123-4123-8123-0123456789ab"
SETUP = {"groups": [{"id": 0, "channels": [
    {"id": 0, "width": 1, "paths": ["x"]},
    {"id": 1, "width": 2, "paths": ["pair", "alias"]}]}]}


class LeftOverTest(CommandTest):
    """What the tests of the left-overs have in common."""

    def setUp(self):
        super().setUp()
        os.environ["TMPDIR"] = str(self.directory)
        self.addCleanup(os.environ.pop, "TMPDIR")
        self.output_of("native", "list", "--json")  # makes the writer's directory
        (self.place,) = self.directory.iterdir()

    def make(self, name, values):
        """A file of doubles in the writer's directory."""
        with open(self.place / name, "wb") as file:
            array("d", values).tofile(file)

    def make_run(self, stem=STEM, times=(0, 0.5, 1), x=(1, 4, 7), pair=(2, 3, 5, 6, 8, 9)):
        """The files of the example in docs/using/files.md."""
        self.make(f"{stem}_times_0", times)
        self.make(f"{stem}_values_0_0", x)
        self.make(f"{stem}_values_0_1", pair)

    def make_old(self, stem, days):
        for file in self.place.glob(f"{stem}_*"):
            os.utime(file, (time.time() - 86400 * days,) * 2)

    def write_setup(self, setup):
        (self.directory / "setup.json").write_text(json.dumps(setup), encoding="utf-8")

    def left_overs(self, *arguments):
        return self.json_of("native", "list", *arguments)["leftOvers"]

    def stems(self, *arguments):
        return [each["name"] for each in self.left_overs(*arguments)]

    def hidden_entries(self):
        return [entry.name for entry in self.directory.iterdir() if entry.name.startswith(".")]


class NativeListTest(LeftOverTest):
    """native list."""

    def test_left_overs_are_shown_with_their_sizes(self):
        self.make_run()
        self.make(f"{STEM}_times_12", [1, 2])
        self.make_old(STEM, 3)
        (shown,) = self.left_overs()
        self.assertEqual(shown["location"], f"{self.place}/{STEM}")
        self.assertEqual(shown["bytes"], 24 + 24 + 48 + 16)
        self.assertEqual(shown["processes"], [])
        self.assertAlmostEqual(shown["age"], 3 * 86400, delta=600)
        self.assertEqual(shown["groups"], [
            {"id": 0, "steps": 3, "incompleteSteps": 0, "widthsAreCertain": True,
             "channels": [{"id": 0, "width": 1}, {"id": 1, "width": 2}]},
            {"id": 12, "steps": 2, "incompleteSteps": 0, "widthsAreCertain": True,
             "channels": []}])
        lines = self.output_of("native", "list").splitlines()
        self.assertEqual(lines[0].split(), ["NAME", "USER", "AGE", "GROUPS", "STEPS", "SIZE",
                                            "OPEN", "IN", "DIRECTORY"])
        self.assertRegex(lines[1], r"\A0123abcd +\S+ +3 d 00 h +2  3; 2 +112 B ")

    def test_incomplete_steps_are_counted(self):
        self.make_run(x=(1, 4))
        (group,) = self.left_overs()[0]["groups"]
        self.assertEqual((group["steps"], group["incompleteSteps"]), (2, 1))
        self.assertIn("2 + 1 incomplete", self.output_of("native", "list"))

    def test_nothing_left_over_is_said(self):
        result = self.run_command("native", "list")
        self.assertEqual((result.stdout, result.stderr, result.returncode),
                         ("", "There are no left-overs.\n", 0))
        self.assertEqual(self.json_of("native", "list"),
                         {"schema": 1, "leftOvers": [], "unreadable": [], "isCut": False})

    def test_directories_of_all_users_are_examined(self):
        self.make_run()
        other = self.directory / "trakontmp.a\x1b[31mb"
        other.mkdir()
        shutil.copy(self.place / f"{STEM}_times_0", other / f"{OTHER}_times_0")
        elsewhere = self.directory / "elsewhere"
        shutil.copytree(self.place, elsewhere)
        self.assertEqual(sorted(self.stems(self.directory)), [STEM, OTHER])
        self.assertEqual(self.stems(elsewhere), [STEM])
        self.assertIn(r"trakontmp.a\x1B[31mb", self.output_of("native", "list", self.directory))

    def test_open_files_are_reported(self):
        self.make_run()
        with open(self.place / f"{STEM}_values_0_1", "ab"):
            self.assertEqual(self.left_overs()[0]["processes"], [os.getpid()])
            self.assertIn(f"  {os.getpid()}  ", self.output_of("native", "list"))

    def test_what_is_no_file_of_a_writer_is_ignored(self):
        target = self.directory / "target"
        target.mkdir()
        self.make_run()
        for file in self.place.iterdir():
            file.rename(target / file.name)
        os.mkfifo(self.place / f"{STEM}_times_0")
        (self.place / f"{STEM}_times_1").symlink_to(target / f"{STEM}_times_0")
        (self.place / f"{STEM}_times_2").mkdir()
        for name in f"{STEM.upper()}_times_0", f"{STEM}_times_00", f"{STEM}_values_0", STEM:
            self.make(name, [1])
        (self.directory / "trakontmp.link").symlink_to(target)
        (self.directory / "trakontmp.file").write_text("text")
        os.mkfifo(self.directory / "trakontmp.fifo")
        self.assertEqual(self.stems(), [])
        self.assertEqual(self.json_of("native", "list", self.directory)["leftOvers"], [])
        self.assertEqual(self.json_of("native", "list", self.directory)["unreadable"], [])

    def test_linked_and_missing_directories_are_refused(self):
        (self.directory / "link").symlink_to(self.place)
        self.assert_refused("link", "native", "list", self.directory / "link")
        self.assert_refused("missing", "native", "list", "missing")

    def test_huge_sparse_files_are_listed_at_once(self):
        self.make_run()
        os.truncate(self.place / f"{STEM}_times_0", 2 ** 43)
        os.truncate(self.place / f"{STEM}_values_0_1", 2 ** 43)
        (shown,) = self.left_overs()
        self.assertEqual(shown["bytes"], 2 ** 44 + 24)
        self.assertEqual(shown["groups"][0]["incompleteSteps"], 2 ** 40 - 3)


class NativeRescueTest(LeftOverTest):
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
        SETUP["groups"][0]["channels"].append({"id": 2, "width": 0, "paths": ["nothing"]})
        self.addCleanup(SETUP["groups"][0]["channels"].pop)
        self.write_setup(SETUP)
        self.rescue("--setup", "setup.json")
        self.assertEqual(self.values(), "time,x,pair[0],pair[1],alias[0],alias[1]\n"
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
        SETUP["groups"][0]["channels"][1]["width"] = 1
        self.addCleanup(SETUP["groups"][0]["channels"][1].update, {"width": 2})
        self.write_setup(SETUP)
        command = "native", "rescue", STEM, "-o", "new", "--setup"
        self.assert_refused("does not fit", *command, "setup.json")
        self.write_setup({"groups": []})
        self.assert_refused("group 0", *command, "setup.json")
        self.assert_refused("missing.json", *command, "missing.json")
        self.assertFalse((self.directory / "new").exists())
        self.assertEqual(self.hidden_entries(), [])

    def test_nothing_is_overwritten(self):
        self.make_run()
        (self.directory / "link").symlink_to("nowhere")
        for name in self.place, "link":
            self.assert_refused("exists already", "native", "rescue", STEM, "-o", name)
        self.assert_refused("missing", "native", "rescue", STEM, "-o", "missing/new")

    def test_names_must_be_of_one_left_over(self):
        self.make_run()
        self.make_run(STEM[:8] + OTHER[8:])
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

    def test_file_that_shrinks_meanwhile_is_an_error(self):
        process = self.start_long_rescue()
        os.truncate(self.place / f"{STEM}_values_0_1", 8)
        self.assertEqual(process.wait(60), 2)
        self.assertIn("was changed while it was read", process.stderr.read())
        self.assertEqual(list(self.directory.iterdir()), [self.place])


class NativeCleanTest(LeftOverTest):
    """native clean."""

    def clean(self, *arguments):
        result = self.json_of("native", "clean", "--yes", *arguments)
        self.assertEqual(result["schema"], 1)
        return [each["name"] for each in result["removed"]]

    def answer(self, text, *arguments):
        """What the command asks on its terminal, what it prints, and its exit status."""
        master, slave = pty.openpty()
        with subprocess.Popen([COMMAND, "native", "clean", *arguments], stdin=slave, stderr=slave,
                              stdout=subprocess.PIPE, text=True) as process:
            asked = ""
            while "[y/N] " not in asked:
                asked += os.read(master, 65536).decode()
            os.write(master, text.encode())
            shown = process.communicate(timeout=60)[0]
        os.close(slave)
        os.close(master)
        return asked, shown, process.returncode

    def test_named_left_overs_are_removed(self):
        self.make_run()
        self.make_run(OTHER)
        self.make("note_times_0", [1])
        text = self.output_of("native", "clean", OTHER[:8], "--yes")
        self.assertRegex(text, rf"\Aremoved: {self.place}/{OTHER}: 3 files, 96 B, last changed ")
        self.assertEqual(self.stems(), [STEM])
        self.assertEqual(self.clean(self.place, STEM), [STEM])
        self.assertEqual([entry.name for entry in self.place.iterdir()], ["note_times_0"])

    def test_old_left_overs_are_removed(self):
        self.make_run()
        self.make_run(OTHER)
        self.make_old(STEM, 8)
        self.make_old(OTHER, 6)
        self.assertEqual(self.clean("--older-than", "9d"), [])
        self.assertEqual(self.clean("--older-than", "1w", OTHER), [])
        self.assertEqual(self.clean("--older-than", "7d"), [STEM])
        self.assertEqual(self.clean("--older-than", "100h", self.directory), [OTHER])

    def test_user_is_asked_for_permission(self):
        self.make_run()
        for answer in "n\n", "\n", "\x04":
            asked, shown, status = self.answer(answer, STEM)
            self.assertIn(f"{self.place}/{STEM}: 3 files", asked)
            self.assertIn("Remove it? [y/N] ", asked)
            self.assertEqual((shown, status), ("Nothing was removed.\n", 0))
            self.assertEqual(self.stems(), [STEM])
        _, shown, status = self.answer("y\n", STEM)
        self.assertEqual((shown[:8], status), ("removed:", 0))
        self.assertEqual(self.stems(), [])

    def test_without_a_terminal_permission_is_missing(self):
        self.make_run()
        self.assert_refused("--yes", "native", "clean", STEM)
        self.assertEqual(self.stems(), [STEM])

    def test_wrong_usage_removes_nothing(self):
        self.make_run()
        self.assert_refused("older-than", "native", "clean", "--yes")
        self.assert_refused("older-than", "native", "clean", "--yes", self.place)
        self.assert_refused("no duration", "native", "clean", "--yes", "--older-than", "7")
        self.assert_refused("no left-over", "native", "clean", "--yes", STEM, OTHER)
        self.assert_refused("no name", "native", "clean", "--yes", STEM, "x")
        self.assertEqual(self.stems(), [STEM])

    def test_files_that_are_open_are_kept(self):
        self.make_run()
        with open(self.place / f"{STEM}_times_0", "ab"):
            result = self.json_of("native", "clean", "--yes", STEM)
        self.assertEqual(result["removed"], [])
        self.assertEqual(result["kept"][0]["reason"], "a process has it open")
        self.assertEqual(self.stems(), [STEM])

    def test_links_and_other_entries_stay(self):
        self.make_run()
        target = self.directory / "target"
        target.write_text("text")
        names = [f"{STEM}_times_1", f"{STEM}_times_2", f"{STEM}_times_3", f"{STEM}_values_00_1"]
        (self.place / names[0]).symlink_to(target)
        (self.place / names[1]).mkdir()
        os.mkfifo(self.place / names[2])
        self.make(names[3], [1])
        self.assertEqual(self.clean(STEM), [STEM])
        self.assertEqual(sorted(entry.name for entry in self.place.iterdir()), names)
        self.assertEqual(target.read_text(), "text")

    def test_files_that_cannot_be_removed_are_reported(self):
        if os.geteuid() == 0:
            self.skipTest("root may remove everything")
        self.make_run()
        self.place.chmod(0o500)
        self.addCleanup(self.place.chmod, 0o700)
        result = self.run_command("native", "clean", "--yes", STEM)
        self.assertEqual(result.returncode, 2)
        self.assertIn("kept: ", result.stdout)


@unittest.skipUnless(os.geteuid() == 0 and shutil.which("setpriv"), "needs root and setpriv")
class OtherUserTest(LeftOverTest):
    """The command as another user than the one of the files."""

    def setUp(self):
        super().setUp()
        self.directory.chmod(0o755)
        if self.as_nobody("--version").returncode != 0:
            self.skipTest("other users cannot run the command")

    def as_nobody(self, *arguments):
        return subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                               COMMAND, *map(str, arguments)], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120, check=False)

    def test_directories_of_others_are_unreadable(self):
        self.make_run()
        result = self.as_nobody("native", "list", self.directory, "--json")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(json.loads(result.stdout)["unreadable"], [str(self.place)])
        text = self.as_nobody("native", "list", self.directory)
        self.assertEqual(text.stdout, f"{self.place}: unreadable\n")

    def test_files_of_others_are_not_removed(self):
        self.make_run()
        self.make_old(STEM, 8)
        self.place.chmod(0o777)
        result = self.as_nobody("native", "clean", self.place, STEM, "--yes")
        self.assertEqual(result.returncode, 2)
        self.assertIn("you have no left-over", result.stderr)
        result = self.as_nobody("native", "clean", self.place, "--older-than", "1d", "--yes")
        self.assertEqual((result.returncode, result.stdout), (0, "Nothing was removed.\n"))
        self.assertEqual(len(list(self.place.iterdir())), 3)

    def test_files_of_others_do_not_mix_with_own_ones(self):
        self.make_run()
        self.make(f"{STEM}_values_0_2", [9])
        os.chown(self.place / f"{STEM}_values_0_2", 65534, 65534)
        self.assertEqual([len(each["groups"][0]["channels"]) for each in self.left_overs()], [2, 1])
        result = self.json_of("native", "rescue", STEM, "-o", "new")
        self.assertEqual(result["state"], "complete")
        self.output_of("native", "clean", STEM, "--yes")
        self.assertEqual([each.name for each in self.place.iterdir()], [f"{STEM}_values_0_2"])


class KilledHostTest(LeftOverTest):
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
        subprocess.run([SIMULATE, "lorenz", "--stop-time", "20", "--tolerance", "1e-5",
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
        lines = self.output_of("print", "new", "--csv", "--to", 20).splitlines()
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
