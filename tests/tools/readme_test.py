import os
import re
import subprocess
import sys
from pathlib import Path

from commands import COMMAND, CommandTest

README = Path(__file__).parents[2] / "README.md"

# What differs from run to run.
CHANGING = [
    (r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", "<start>"),
    (r"\d{8}T\d{6}Z-[0-9a-f]{6}", "<start>"),
    (r"\b[0-9a-f]{8}\b", "<id>"),
    (r"\b[\d.]+ (ms|s)\b", "<duration>"),
    (r"\b[\d.]+ [KM]iB\b", "<size>"),
    (r" +", " "),
]


def without_changes(text):
    for pattern, word in CHANGING:
        text = re.sub(pattern, word, text)
    return text


class ReadmeTest(CommandTest):
    """The lines in README that show the recordings of the demo."""

    def test_commands_print_what_readme_shows(self):
        for model in "lorenz", "dc-motor", "bouncing-ball":
            self.simulate(model)
        (self.directory / "runs").rename(self.directory / "demo-recordings")
        (self.directory / "demo").mkdir()
        (self.directory / "demo-recordings").rename(self.directory / "demo/recordings")
        block = re.search(r"```text\n(\$ build.*?)```", README.read_text(encoding="utf-8"), re.S)[1]
        shown = re.split(r"^\$ (.*)\n", block, flags=re.M)[1:]
        self.assertEqual(len(shown), 6)
        for command, output in zip(shown[::2], shown[1::2]):
            command = command.replace("build/release/tools/logging2", COMMAND)
            command = command.replace("PYTHONPATH=build/release/python /usr/bin/python3", sys.executable)
            result = subprocess.run(command, shell=True, capture_output=True, text=True,
                                    check=False, cwd=self.directory, env=dict(os.environ))
            self.assertEqual((result.stderr, result.returncode), ("", 0))
            self.assertEqual(without_changes(result.stdout), without_changes(output))

    def test_demo_ends_with_the_commands_of_readme(self):
        demo = (README.parent / "scripts/demo").read_text(encoding="utf-8")
        self.assertTrue(demo.endswith("  show_recording_commands\nfi\n"))
        shown = subprocess.run(["bash", "-c", "source scripts/lib.sh; show_recording_commands"],
                               capture_output=True, text=True, check=True, cwd=README.parent).stdout
        commands = re.findall(r"^\$ (.* ?demo/recordings.*)", README.read_text(encoding="utf-8"), re.M)
        self.assertEqual(len(commands), 3)
        view = "build/release/tools/logging2 view demo/recordings"
        self.assertEqual(shown.splitlines(), [f"  {command}" for command in [*commands, view]])
