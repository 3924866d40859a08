import fcntl
import os
import pty
import re
import struct
import subprocess
import termios
import unicodedata

from commands import COMMAND
from left_overs import STEM, LeftOverTest

WIDTHS = 40, 60, 80, 120
NUMBER = re.compile(r"(?<![\w.,\-:+])[+-]?\d[\d,]*(?:\.\d+)?(?:e[+-]?\d+)?(?![\w.,:\-])")
ESCAPE = re.compile(r"\x1b\[[0-9;]*m")

# Large counts, numbers of many digits, and long names.
SCRIPT = ("name a_simulation_with_quite_a_long_name_that_fits_nowhere\n"
          "property the.description this text is longer than the width of most terminals, and "
          "has 1234567 characters and 31.4159265358979 digits and many more words of this kind\n"
          "group 0 body.position.of.the.left.wheel:1 body.velocity.of.the.left.wheel:3 t:1\n"
          "group 1234567 another.signal.with.a.long.name:1\nbegin\n" +
          "".join(f"write 0 {step / 3} {step / 7} 123456789.5 {-step / 9} 1e-300 {step % 2}\n"
                  for step in range(13579)) +
          "write 1234567 0.1 -1.7976931348623157e308\n")
OTHER = SCRIPT.replace("write 0 0.0 0.0", "write 0 0.0 98765.4321").replace(
    " 1e-300", " 2.5e10").replace("t:1", "u:1")


class WidthTest(LeftOverTest):
    """Text on terminals of different widths."""

    def setUp(self):
        super().setUp()
        self.runs = self.directory / "runs"
        self.runs.mkdir()
        self.a = self.record(SCRIPT + "end\n").rename(self.runs / "first_of_the_long_names.recording")
        self.b = self.record(OTHER + "end\n")

    def shown(self, width, *arguments):
        """What the command prints on a terminal of this width."""
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, width, 0, 0))
        with subprocess.Popen([COMMAND, *map(str, arguments)], stdin=subprocess.DEVNULL,
                              stdout=slave, stderr=subprocess.PIPE, cwd=self.directory) as process:
            os.close(slave)
            data = b""
            try:
                while part := os.read(master, 65536):
                    data += part
            except OSError:
                pass  # all have closed the terminal
            os.close(master)
            error = process.stderr.read().decode()
        self.assertEqual(error, "", arguments)
        return ESCAPE.sub("", data.decode()).replace("\r\n", "\n")

    def assert_fits(self, *arguments, known=""):
        """No line is longer than the terminal, and each number is one of the complete output."""
        numbers = set(NUMBER.findall(self.run_command(*arguments).stdout + known))
        for width in WIDTHS:
            with self.subTest(f"{arguments[0]} in {width} columns"):
                text = self.shown(width, *arguments)
                self.assertNotEqual(text, "")
                for line in text.splitlines():
                    self.assertLessEqual(len(unicodedata.normalize("NFC", line)), width, line)
                self.assertLessEqual(set(NUMBER.findall(text)), numbers)

    def test_tables_fit_and_their_numbers_are_whole(self):
        for words in (["list", self.runs], ["info", self.a], ["signals", self.a], ["print", self.a],
                      ["print", self.a, "--merge"], ["diff", self.a, self.b],
                      ["diff", "--exact", self.a, self.b], ["check", self.a]):
            self.assert_fits(*words)

    def test_reports_fit_and_their_numbers_are_whole(self):
        for number, command in enumerate(("copy", "rescue", "export")):
            suffix = ".npz" if command == "export" else ""
            for width in WIDTHS:
                text = self.shown(width, command, self.a, "-o", f"new-{number}-{width}{suffix}")
                self.assertLessEqual(max(map(len, text.splitlines())), width, text)
        self.assert_fits("compact", self.b)
        damaged = self.a / "samples.bin"
        content = bytearray(damaged.read_bytes())
        content[5000] ^= 1
        damaged.write_bytes(content)
        self.assert_fits("check", self.a)

    def test_plots_fit(self):
        for width in WIDTHS:
            text = self.shown(width, "plot", self.a, "body*")
            self.assertLessEqual(max(map(len, text.splitlines())), width, text)

    def test_left_overs_fit_and_their_numbers_are_whole(self):
        self.make_run()
        for width in WIDTHS:
            text = self.shown(width, "native", "list")
            self.assertLessEqual(max(map(len, text.splitlines())), width, text)
            self.assertIn(STEM[:8], text)
            text = self.shown(width, "native", "rescue", STEM[:8], "-o", f"rescued{width}")
            self.assertLessEqual(max(map(len, text.splitlines())), width, text)

    def test_header_tells_that_columns_are_left_out(self):
        header = self.shown(80, "list", self.runs).splitlines()[0]
        self.assertRegex(header, r"\ANAME .* STEPS .*…\Z")
        self.assertNotIn("DIRECTORY", header)
        self.assertTrue(self.shown(60, "print", self.a).splitlines()[0].endswith(" …"))
        self.assertNotIn("…", self.shown(300, "print", self.a).splitlines()[0])

    def test_rows_that_become_wider_stay_whole(self):
        run = self.record("group 0 x:1 y:1\nbegin\n" +
                          "".join(f"write 0 {step} 1 2\n" for step in range(1500)) +
                          "write 0 1500 -1.7976931348623157e308 -1.7976931348623157e308\nend\n")
        lines = self.shown(40, "print", run).splitlines()
        self.assertEqual(len(lines), 1502)
        self.assertEqual(lines[-2].split(), ["1499", "1", "2"])
        self.assertEqual(lines[-1].split(), ["1500", "-1.7976931348623157e+308", "…"])
