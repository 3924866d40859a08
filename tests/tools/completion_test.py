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

    def id_of(self, run):
        return self.json_of("info", run)["id"]

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
        self.assertEqual(self.offers("print", run, "--csv", "ball.v"), ["ball.velocity"])
        self.assertEqual(self.offers("print", run, "--exclude", "ball.v"), ["ball.velocity"])
        self.assertEqual(self.offers("info", run, "ball.v"), [])
        self.assertEqual(self.offers("export", run, "-o", "ball.v"), [])

    def test_signals_of_the_chosen_run_are_offered(self):
        self.simulate("dc-motor")
        ball = self.id_of(self.simulate())
        self.assertEqual(self.offers("print", "runs", "--run", "latest", "ball.v"), ["ball.velocity"])
        self.assertEqual(self.offers("plot", "runs", "--run", ball[:8], "ball.v"), ["ball.velocity"])
        self.assertEqual(self.offers("print", "--run", ball, "runs", "ball.v"), ["ball.velocity"])
        self.assertEqual(self.offers("print", "runs", "ball.v"), [])

    def test_names_of_signals_are_no_commands(self):
        run = self.record("group 0 a$(touch${IFS}planted):1\nbegin\nend\n")
        self.assertEqual(self.offers("print", run, "a"), ["a$(touch${IFS}planted)"])
        self.assertFalse((self.directory / "planted").exists())

    def test_runs_are_offered(self):
        ball, motor = self.id_of(self.simulate()), self.id_of(self.simulate("dc-motor"))
        self.assertEqual(self.offers("info", "runs", "--run", "l"), ["latest"])
        self.assertEqual(set(self.offers("info", "runs", "--run", "")), {ball, motor, "latest"})
        self.assertEqual(self.offers("info", "runs", "--run", ball[:9]), [ball])
        self.assertEqual(self.offers("info", "--run", "l"), ["latest"])

    def test_runs_of_both_directories_are_offered(self):
        ball = self.id_of(self.simulate())
        (self.directory / "runs").rename(self.directory / "my runs")
        motor = self.id_of(self.simulate("dc-motor"))
        words = "diff", "my\\ runs", "runs", "--run-a"
        self.assertEqual(set(self.offers(*words, "")), {ball, "latest"})
        self.assertEqual(set(self.offers(*words, "latest", "--run-b", "")), {motor, "latest"})

    def test_formats_are_offered(self):
        self.assertEqual(self.offers("export", "x", "--to", ""), ["csv", "hdf5", "npz", "recording"])
        self.assertEqual(self.offers("export", "x", "--to", "c"), ["csv"])
        self.assertEqual(self.offers("print", "x", "--to", "c"), [])
