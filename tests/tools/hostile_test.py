import os
import random
import shutil
import signal
import subprocess
import time
from pathlib import Path

from commands import COMMAND, CommandTest

SETUP = "name demo\ngroup 0 x:1 y:1\nbegin\n"
SMALL = SETUP + "write 0 0 1 2\nwrite 0 1 3 4\nend\n"
LARGE = SETUP.replace("group", "chunk 65536\ngroup", 1) + "".join(
    f"write 0 {step} {step} 1\n" for step in range(100000)) + "end\n"

# Commands that write something new.
WRITING = ("export {run} -o {new}.csv", "export {run} -o {new}.h5", "export {run} -o {new}.npz",
           "export {run} -o {new}.recording", "copy {run} -o {new}", "rescue {run} -o {new}")


def contents_of(directory):
    return {file.name: file.read_bytes() for file in directory.iterdir()}


class HostileTest(CommandTest):
    """Input, surroundings and moments that do not fit the command."""

    def command_line(self, text, run, new):
        return [word.format(run=run, new=new) for word in text.split()]

    def test_nothing_is_written_into_a_recording(self):
        run = self.record(SMALL)
        (self.directory / "link").symlink_to(run)
        before = contents_of(run)
        for place in run, self.directory / "link":
            for command in WRITING + ("plot {run} -o {new}.svg",):
                self.assert_refused("is in a recording",
                                    *self.command_line(command, run, place / "new"))
        self.assert_refused("is in a recording", "export", run, "--to", "csv", "--force", "-o",
                            run / "samples.bin")
        self.assertEqual(contents_of(run), before)

    def test_places_that_are_no_recordings_are_refused(self):
        (self.directory / "file").touch()
        (self.directory / "loop").symlink_to("loop")
        os.mkfifo(self.directory / "pipe")
        for place in "file", "loop", "pipe", "/dev/zero", "x" * 5000:
            for command in "info", "check", "list":
                self.assert_refused(place, command, place)

    def test_empty_argument_is_refused(self):
        run = self.record(SMALL)
        for arguments in (("info", ""), ("export", run, "--to", "csv", "-o", ""),
                          ("print", run, "--from", ""), ("print", run, "")):
            self.assert_refused("an argument is empty", *arguments)

    def test_numbers_out_of_range_are_refused(self):
        run = self.record(SMALL)
        for text in "0", "-1", "1.5", "nan", "x":
            self.assert_refused(f"--every: {text} is not a whole number of at least 1",
                                "print", run, "--every", text)
        for text in "0", "nan", "inf", "-1", "1e9", "x":
            self.assert_refused(f"--interval: {text} is not a number from 0.01 to 3600",
                                "watch", run, "--json", "--interval", text)
        for text in "-1", "nan", "inf", "1e999", "x":
            self.assert_refused(f"--absolute: {text} is not a number of at least 0",
                                "diff", run, run, "--absolute", text)

    def test_every_may_be_huge(self):
        run = self.record(SMALL)
        self.assertEqual(self.output_of("print", run, "--csv", "--every", "9" * 30),
                         "time,x,y\n0,1,2\n")

    def test_endless_files_are_refused(self):
        run = self.record(SMALL)
        self.assert_refused("longer than 16 MiB", "diff", run, run, "--tolerances", "/dev/zero")

    def test_names_cannot_break_messages(self):
        for name, shown in (("new\nline", r"new\x0Aline"), ("bell\x07", r"bell\x07"),
                            ("right\u202eleft", r"right\xE2\x80\xAEleft"),
                            (b"raw\x9b31m".decode(errors="surrogateescape"), r"raw\x9B31m")):
            self.assert_refused(shown + ": it is not a directory", "info", name)

    def test_text_is_valid_whatever_the_names(self):
        names = b"a\xffb c\xc2\x9bd e\xe2\x80\xaef \xe6\x97\xa5 g\xed\xa0\x80h i\xf5\x80\x80\x80j"
        script = b"group 0 " + b" ".join(name + b":1" for name in names.split())
        run = self.record(f"{script.decode(errors='surrogateescape')}\nbegin\n"
                          "write 0 0 1 2 3 4 5 6\nend\n")
        text = self.output_of("signals", run)
        self.assertEqual([line.split()[0] for line in text.splitlines()[1:]],
                         [r"a\xFFb", r"c\xC2\x9Bd", r"e\xE2\x80\xAEf", "日", r"g\xED\xA0\x80h",
                          r"i\xF5\x80\x80\x80j"])

    def test_closed_output_is_an_error_and_spoils_no_file(self):
        run = self.record(LARGE)
        for command in "copy {run} -o new", "export {run} -o new.npz":
            words = self.command_line(command, run, "")
            shell = subprocess.run(["bash", "-c", '"$@" >&-', "bash", COMMAND, *words],
                                   cwd=self.directory, capture_output=True, text=True, check=False)
            self.assertEqual((shell.returncode, shell.stderr),
                             (2, "logging2: the output cannot be written\n"))
        self.output_of("check", "new")

    def test_closed_pipe_ends_the_command_silently(self):
        run = self.record(LARGE)
        for command in "print {run}", "export {run} --to csv", "signals {run}":
            words = self.command_line(command, run, "")
            with subprocess.Popen([COMMAND, *words], stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True) as process:
                process.stdout.close()
                self.assertEqual(process.stderr.read(), "")
            self.assertEqual(process.returncode, -signal.SIGPIPE)

    def test_full_disk_leaves_nothing(self):
        disk = self.small_disk()
        run = self.record(LARGE)
        for command in WRITING:
            self.assert_refused("No space left on device",
                                *self.command_line(command, run, disk / "new"))
            self.assertEqual(list(disk.iterdir()), [], command)

    def test_full_disk_leaves_the_run_that_is_compacted(self):
        disk = self.small_disk()
        run = shutil.copytree(self.record(SMALL), disk / "run.recording")
        (disk / "fill").write_bytes(bytes(2**20 - 65536))
        before = contents_of(run)
        self.assert_refused("", "compact", run)
        self.assertEqual(contents_of(run), before)
        self.assertEqual({entry.name for entry in disk.iterdir()}, {"run.recording", "fill"})

    def small_disk(self):
        disk = self.directory / "disk"
        disk.mkdir()
        mounted = os.geteuid() == 0 and subprocess.run(
            ["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", disk], capture_output=True,
            check=False).returncode == 0
        if not mounted:
            self.skipTest("a small disk cannot be mounted here")
        self.addCleanup(subprocess.run, ["umount", disk], check=True)
        return disk

    def test_interrupted_command_leaves_nothing_partial(self):
        run = self.record(LARGE)
        chance = random.Random(1)
        news = self.directory / "news"
        for command in WRITING:
            for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
                news.mkdir()
                with subprocess.Popen([COMMAND, *self.command_line(command, run, news / "new")],
                                      stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                      text=True) as process:
                    time.sleep(chance.uniform(0.01, 0.1))
                    process.send_signal(number)
                    message = process.stderr.read()
                self.assertIn(process.returncode, (0, 128 + number, -number))
                if process.returncode == 128 + number:
                    self.assertEqual(message, "logging2: interrupted\n")
                # A signal behind the last step, when the result is complete, ends the process.
                counts = (0, 1) if process.returncode == -number else (process.returncode == 0,)
                self.assertIn(len(list(news.iterdir())), counts, command)
                shutil.rmtree(news)

    def test_command_that_ignores_signals_goes_on(self):
        run = self.record(LARGE)
        with subprocess.Popen(["nohup", COMMAND, "copy", run, "-o", self.directory / "new"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
            while "logging2" not in Path(f"/proc/{process.pid}/comm").read_text(encoding="utf-8"):
                self.assertIsNone(process.poll())
            while process.poll() is None:
                process.send_signal(signal.SIGHUP)
                time.sleep(0.005)
        self.assertEqual(process.returncode, 0)
        self.output_of("check", "new")

    def test_readers_and_compactions_do_not_disturb_each_other(self):
        run = self.record(LARGE)
        expected = self.output_of("print", run, "--csv", "--every", "1000")
        processes = [subprocess.Popen(["bash", "-c", 'for i in {1..8}; do "$@" || exit; done',
                                       "bash", COMMAND, "compact", run],
                                      stdout=subprocess.DEVNULL) for _ in range(2)]
        while any(process.poll() is None for process in processes):
            self.assertEqual(self.output_of("print", run, "--csv", "--every", "1000"), expected)
        self.assertEqual([process.returncode for process in processes], [0, 0])
        self.output_of("check", run)
        self.assertEqual([entry.name for entry in self.directory.iterdir()], [run.name])
