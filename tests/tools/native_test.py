import json
import os
import pty
import shutil
import subprocess
import unittest

from commands import COMMAND
from left_overs import OTHER, STEM, LeftOverTest


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


class NativeCleanTest(LeftOverTest):
    """native clean."""

    def clean(self, *arguments):
        result = self.json_of("native", "clean", "--yes", *arguments)
        self.assertEqual(result["schema"], 1)
        return [each["name"] for each in result["removed"]]

    def answer(self, text, *arguments, meanwhile=lambda: None):
        """What the command asks on its terminal, what it prints, and its exit status."""
        master, slave = pty.openpty()
        with subprocess.Popen([COMMAND, "native", "clean", *arguments], stdin=slave, stderr=slave,
                              stdout=subprocess.PIPE, text=True) as process:
            asked = ""
            while "[y/N] " not in asked:
                asked += os.read(master, 65536).decode()
            meanwhile()
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

    def test_files_that_change_before_the_answer_are_kept(self):
        self.make_run()
        _, shown, status = self.answer("yes\n", STEM,
                                       meanwhile=lambda: self.make(f"{STEM}_times_0", [1, 2]))
        self.assertEqual((shown, status),
                         (f"kept: {self.place}/{STEM}: it was changed meanwhile\n", 0))
        self.assertEqual(len(list(self.place.iterdir())), 3)

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
