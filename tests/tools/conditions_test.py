import hashlib
import itertools
import os
import threading

from commands import CommandTest

SCRIPT = "name demo\nchunk 4096\ngroup 0 x:1 y:1\nbegin\n" + "".join(
    f"write 0 {time} {10 * time} {-time}\n" for time in range(1000))

# Every command that takes a run.
COMMANDS = {
    "list": "list PLACE",
    "info": "info RUN",
    "signals": "signals RUN",
    "print": "print RUN",
    "plot": "plot RUN",
    "plot to a file": "plot RUN -o NEW.svg",
    "diff": "diff RUN RUN",
    "diff --exact": "diff RUN RUN --exact",
    "export to the output": "export RUN --to csv",
    "export to csv": "export RUN -o NEW.csv",
    "export to hdf5": "export RUN -o NEW.h5",
    "export to npz": "export RUN -o NEW.npz",
    "export to a recording": "export RUN -o NEW.recording",
    "watch": "watch RUN --json",
    "check": "check RUN",
    "rescue": "rescue RUN -o NEW",
    "copy": "copy RUN -o NEW",
    "compact": "compact RUN",
}

# These print rows until they meet the damage.
STREAMING = "print", "export to the output"

UNPRIVILEGED = "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"


def hashes_of(run):
    return {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in run.iterdir()
            if file.is_file() and os.access(file, os.R_OK)}


class ConditionsTest(CommandTest):
    """What each command does with runs in different conditions."""

    def setUp(self):
        super().setUp()
        self.wrapper = ()
        self.place = self.directory / "runs"
        self.news = self.directory / "new"
        self.place.mkdir()
        self.news.mkdir()

    def recorded(self, script=SCRIPT + "end\n"):
        run = self.record(script)
        return run.rename(self.place / run.name)

    def result_of(self, command, run):
        new = str(self.news / command.replace(" ", "-"))
        return self.run_command(*[
            word.replace("NEW", new).replace("RUN", str(run)).replace("PLACE", str(run.parent))
            for word in COMMANDS[command].split()], wrapper=self.wrapper)

    def expect(self, run, refusal="", statuses=None, without=()):
        """Each command ends with its status, and changes the run only if it is `compact`.

        The statuses of commands that are not in the table are 2 if there is a refusal, otherwise 0.
        A refusal is one line that names the run and contains the text.
        """
        statuses = {**dict.fromkeys(COMMANDS, 2 if refusal else 0), **(statuses or {})}
        for command in [command for command in COMMANDS if command not in without]:
            before = hashes_of(run)
            result = self.result_of(command, run)
            with self.subTest(command):
                self.assertEqual(result.returncode, statuses[command], result.stderr)
                # `list` says of each run why it cannot be opened.
                if statuses["info" if command == "list" else command] == 2:
                    self.assertRegex(result.stderr,
                                     rf"\Alogging2: .*{run.name}.*{refusal}[^\n]*\n\Z")
                else:
                    self.assertEqual(result.stderr, "")
                if statuses[command] == 2 and command not in STREAMING:
                    self.assertEqual(result.stdout, "")
                if statuses[command] != 0 or command != "compact":
                    self.assertEqual(hashes_of(run), before)
        self.assertEqual([entry.name for entry in self.place.iterdir()], [run.name])
        self.assertFalse([entry for entry in self.news.iterdir() if entry.name.startswith(".")])

    def test_finished_run(self):
        self.expect(self.recorded())

    def test_run_of_a_killed_host(self):
        self.expect(self.recorded(SCRIPT + "show\n"))

    def test_run_that_is_being_written(self):
        process, run = self.recorder(SCRIPT + "show\n", self.place)
        self.expect(run, statuses={"rescue": 2, "compact": 2}, without=["watch"])
        process.stdin.write("end\n")

    def test_run_that_grows_meanwhile(self):
        process, run = self.recorder(SCRIPT + "show\n", self.place)
        has_enough = threading.Event()
        writer = threading.Thread(target=self.write_on, args=(process, has_enough))
        writer.start()
        # `diff` opens the run twice, and may see more at the second time.
        allowed = {"rescue": {2}, "compact": {2}, "diff": {0, 1}, "diff --exact": {0, 1}}
        results = {command: self.result_of(command, run)
                   for command in COMMANDS if command != "watch"}
        has_enough.set()
        writer.join()
        for command, result in results.items():
            with self.subTest(command):
                self.assertIn(result.returncode, allowed.get(command, {0}), result.stderr)

    def write_on(self, process, has_enough):
        """Writes and shows steps, and sometimes takes some of them back."""
        for number in itertools.count(1000):
            if has_enough.is_set():
                break
            process.stdin.write(f"write 0 {number} 1 2\nrollback 0 {number - number % 7}\nshow\n")
            process.stdout.readline()
        process.stdin.write("end\n")

    def test_flipped_bit_among_the_samples(self):
        run = self.recorded()
        with open(run / "samples.bin", "r+b") as data:
            data.seek(20000)
            byte = data.read(1)[0]
            data.seek(20000)
            data.write(bytes([byte ^ 1]))
        self.expect(run, "samples have another hash", {
            "list": 0, "info": 0, "signals": 0, "watch": 0, "check": 1, "rescue": 1})

    def test_flipped_bit_at_the_beginning(self):
        run = self.recorded()
        data = run / "samples.bin"
        data.write_bytes(b"?" + data.read_bytes()[1:])
        self.expect(run, "not a recording's data file", {"list": 0, "check": 1, "rescue": 0})

    def test_damaged_description_in_both_files(self):
        run = self.recorded()
        data = run / "samples.bin"
        data.write_bytes(b"?" * 512 + data.read_bytes()[512:])
        self.expect(run, "not a recording's data file", {"list": 0, "check": 1})

    def test_data_file_that_was_cut(self):
        run = self.recorded()
        data = run / "samples.bin"
        os.truncate(data, data.stat().st_size // 2)
        self.expect(run, "ends too early", {"list": 0, "check": 1, "rescue": 1})

    def test_missing_data_file(self):
        run = self.recorded()
        (run / "samples.bin").unlink()
        self.expect(run, "No such file", {"list": 0, "check": 1})

    def test_data_file_that_is_a_pipe(self):
        run = self.recorded()
        (run / "samples.bin").unlink()
        os.mkfifo(run / "samples.bin")
        self.expect(run, "not a regular file", {"list": 0, "check": 1})

    def test_missing_index(self):
        run = self.recorded()
        (run / "index.sqlite").unlink()
        self.expect(run, "does not exist", {"list": 0, "check": 1, "rescue": 0})

    def test_index_that_is_something_else(self):
        run = self.recorded()
        (run / "index.sqlite").write_bytes(b"?" * 8192)
        self.expect(run, "not a database", {"list": 0, "check": 1, "rescue": 0})

    def test_index_that_was_cut(self):
        run = self.recorded()
        os.truncate(run / "index.sqlite", (run / "index.sqlite").stat().st_size // 2)
        self.expect(run, "malformed", {"list": 0, "check": 1, "rescue": 0})

    def test_empty_directory(self):
        run = self.place / "empty.recording"
        run.mkdir()
        self.expect(run, "does not exist|No such file", {"list": 0, "check": 1})

    def test_user_who_may_only_read(self):
        run = self.recorded()
        self.become_reader(run)
        self.expect(run, statuses={"compact": 2})

    def test_reader_of_a_run_of_a_killed_host(self):
        run = self.recorded(SCRIPT + "show\n")
        self.become_reader(run)
        self.expect(run, statuses={"compact": 2})

    def test_reader_of_a_run_that_is_being_written(self):
        process, run = self.recorder(SCRIPT + "show\n", self.place)
        self.become_reader(run)
        self.expect(run, statuses={"rescue": 2, "compact": 2}, without=["watch"])
        self.place.chmod(0o755)
        run.chmod(0o755)
        process.stdin.write("end\n")

    def test_user_who_may_not_read(self):
        run = self.recorded()
        self.become_reader(run)
        for file in run.iterdir():
            file.chmod(0)
        self.expect(run, "Permission denied", {"list": 0})

    def become_reader(self, run):
        """Lets the command read the run, but write only to new files."""
        if os.geteuid() == 0:
            self.wrapper = UNPRIVILEGED
            if self.run_command("--version", wrapper=UNPRIVILEGED).returncode != 0:
                self.skipTest("another user cannot run the command")
        for directory in self.directory, self.place, run:
            directory.chmod(0o555)
        for file in run.iterdir():
            file.chmod(0o444)
        self.news.chmod(0o777)
        self.addCleanup(self.place.chmod, 0o755)
        self.addCleanup(self.directory.chmod, 0o755)
