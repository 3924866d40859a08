import subprocess
from pathlib import Path

from commands import COMMAND, CommandTest

SCRIPT = Path(__file__).parents[2] / "tools/completion/logging2.bash"


class CompletionTest(CommandTest):
    """What bash offers for the last word of a command line."""

    def offers(self, *words):
        program = (f'source "{SCRIPT}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _logging2; '
                   'printf "%s\\n" "${COMPREPLY[@]}"')
        result = subprocess.run(["bash", "-c", program, "bash", COMMAND, *map(str, words)],
                                capture_output=True, text=True, check=True, cwd=self.directory)
        return result.stdout.split()

    def test_commands_are_offered(self):
        self.assertIn("rescue", self.offers(""))
        self.assertEqual(self.offers("si"), ["signals"])

    def test_options_of_the_command_are_offered(self):
        self.assertEqual(self.offers("print", "x", "--e"), ["--exclude", "--every"])
        self.assertEqual(self.offers("plot", "x", "--o"), ["--output", "--overlay"])

    def test_commands_and_options_of_native_are_offered(self):
        self.assertEqual(sorted(self.offers("native", "")), ["--help", "clean", "list", "rescue"])
        self.assertEqual(self.offers("native", "re"), ["rescue"])
        self.assertEqual(self.offers("native", "--"), ["--help"])
        self.assertEqual(self.offers("native", "clean", "--o"), ["--older-than"])
        self.assertEqual(self.offers("native", "rescue", "x", "--s"), ["--setup"])

    def test_directories_are_offered(self):
        run = self.simulate()
        self.assertEqual(self.offers("info", "runs/b"), [f"runs/{run.name}"])

    def test_signals_of_the_run_are_offered(self):
        run = self.simulate()
        self.assertEqual(self.offers("print", run, "ball.v"), ["ball.velocity"])

    def test_latest_run_is_offered(self):
        self.assertEqual(self.offers("info", "runs", "--run", "l"), ["latest"])
