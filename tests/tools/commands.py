"""What the tests of the command have in common."""
import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

COMMAND = os.environ["LOGGING2_COMMAND"]
SIMULATE = os.environ["LOGGING2_SIMULATE"]
WRITE_RECORDING = os.environ["LOGGING2_WRITE_RECORDING"]


class CommandTest(unittest.TestCase):
    """Runs the built command as users do, in a temporary directory."""

    maxDiff = None

    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="logging2-tools-")
        self.addCleanup(temporary.cleanup)
        self.directory = Path(temporary.name)

    def run_command(self, *arguments, stdout=subprocess.PIPE, wrapper=()):
        """The result of `WRAPPER... logging2 ARGUMENT...`, as text."""
        return subprocess.run([*wrapper, COMMAND, *map(str, arguments)], stdin=subprocess.DEVNULL,
                              stdout=stdout, stderr=subprocess.PIPE, text=True, timeout=120,
                              check=False, cwd=self.directory, env={**os.environ, "TZ": "UTC"})

    def output_of(self, *arguments, status=0):
        """What the command prints; it must end with this status, and print no message."""
        result = self.run_command(*arguments)
        self.assertEqual((result.stderr, result.returncode), ("", status))
        return result.stdout

    def json_of(self, *arguments, status=0):
        """What the command prints with --json."""
        return json.loads(self.output_of(*arguments, "--json", status=status))

    def assert_refused(self, message, *arguments):
        """The command ends with status 2 and one line that contains the message."""
        result = self.run_command(*arguments)
        self.assertEqual((result.stdout, result.returncode), ("", 2), result.stderr)
        self.assertRegex(result.stderr, r"\Alogging2: [^\n]+\n\Z")
        self.assertIn(message, result.stderr)

    def simulate(self, model="bouncing-ball", *options):
        """The directory of a recording that the example host makes of a model."""
        runs = self.directory / "runs"
        before = set(runs.glob("*.recording"))
        subprocess.run([SIMULATE, model, "--backend", "recording", "--directory", runs,
                        "--no-plots", "--out", self.directory / "out", *options],
                       check=True, capture_output=True)
        (location,) = set(runs.glob("*.recording")) - before
        return location

    def record(self, script):
        """The directory of a recording that write_recording.cpp makes of the lines."""
        result = subprocess.run([WRITE_RECORDING, self.directory], input=script, check=True,
                                capture_output=True, text=True, errors="surrogateescape")
        return Path(result.stdout.splitlines()[0])

    def recorder(self, script, place=None):
        """A process that has obeyed the lines and takes more of them, and its recording's directory.

        The recording runs until the process gets the line `end`, or is killed.
        """
        process = subprocess.Popen([WRITE_RECORDING, place or self.directory], text=True, bufsize=1,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(process.wait)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stdin.close)
        process.stdin.write(script)
        location = Path(process.stdout.readline().strip())
        for _ in range(script.count("show\n")):
            process.stdout.readline()
        return process, location
