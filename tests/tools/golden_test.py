import getpass
import os
import re
import shutil
from pathlib import Path

from left_overs import STEM, LeftOverTest

GOLDEN = Path(__file__).parent / "golden"
# With this variable, the files become what the command prints; look at the difference with git.
RENEWS = "LOGGING2_RENEW_GOLDEN" in os.environ

A = """name demo
property model ball
property solver.tolerance 1e-6
chunk 4096
group 0 ball.height:1 ball.velocity:1 h=ball.height
group 7 body.position:3 never:1
begin
write 0 0 10 0
write 0 0.5 8.774 -4.905
write 0 1 5.095 -9.81
write 0 1 5.095 9.81
write 7 0 1 2 3 0
write 7 2 1 nan inf 1e-300
end
"""
B = A.replace("8.774", "8.784").replace("never", "always").replace("write 7 2 1", "write 7 2 1.5")

VARIABLE = (
    (r"\b[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}\b", "UUID"),
    (r"\b\d{8}T\d{6}Z-[0-9a-f]{6}\b", "TIME-ID"),
    (r"\b\d{4}-\d\d-\d\d[ T]\d\d:\d\d:\d\d(\.\d+Z)?", "DATE"),
    (r"\b[0-9a-f]{8}(?=  )", "ID"),
    (r"\b[\d.]+ ms\b|\b\d+\.\d s\b", "DURATION"),
    (r"\b[\d.]+ [KM]iB\b", "SIZE"),
    (r"(?m)^(host|process|library): .+$", r"\1: ORIGIN"),
    (r"(byte|bytes) \d+", r"\1 NUMBER"),
)


def normalized(text):
    """The text with fixed words for what varies, and then without the blanks that align it."""
    result = re.sub(rf"\b{getpass.getuser()}\b", "USER", text)
    for pattern, replacement in VARIABLE:
        result = re.sub(pattern, replacement, result)
    return text if result == text else re.sub("  +", "  ", result)


class GoldenTest(LeftOverTest):
    """The text of each table, apart from what changes with every run."""

    def setUp(self):
        super().setUp()
        self.runs = self.directory / "runs"
        self.runs.mkdir()
        self.a = self.record(A).rename(self.runs / "a.recording")
        self.b = self.record(B)

    def assert_golden(self, name, *arguments, status=0):
        text = normalized(self.output_of(*arguments, status=status)
                          .replace(str(self.directory), "DIR"))
        file = GOLDEN / f"{name}.txt"
        if RENEWS:
            file.write_text(text, encoding="utf-8")
        self.assertEqual(text, file.read_text(encoding="utf-8"))

    def test_tables_of_runs_and_signals(self):
        self.assert_golden("list", "list", self.runs)
        self.assert_golden("info", "info", self.a)
        self.assert_golden("signals", "signals", self.a)
        self.assert_golden("signals-json", "signals", self.a, "--json")

    def test_rows(self):
        self.assert_golden("print", "print", self.a)
        self.assert_golden("print-merged", "print", self.a, "--merge", "ball.*", "never")
        self.assert_golden("print-csv", "print", self.a, "--csv")
        self.assert_golden("print-json", "print", self.a, "--json", "body.position")

    def test_differences(self):
        self.assert_golden("diff", "diff", self.a, self.b, status=1)
        self.assert_golden("diff-exact", "diff", self.a, self.b, "--exact", status=1)
        self.assert_golden("diff-same", "diff", self.a, self.a)

    def test_checks_and_copies(self):
        self.assert_golden("check", "check", self.a)
        self.assert_golden("export", "export", self.a, "-o", "a.csv")
        self.assert_golden("copy", "copy", self.a, "-o", "copy")
        self.assert_golden("compact", "compact", "copy")
        shutil.copy(self.a / "samples.bin", self.directory / "copy/samples.bin")
        (self.directory / "copy/index.sqlite").unlink()
        self.assert_golden("check-damaged", "check", "copy", status=1)
        self.assert_golden("rescue", "rescue", "copy", "-o", "rescued")

    def test_left_overs(self):
        self.make_run()
        self.assert_golden("native-list", "native", "list")
        self.assert_golden("native-rescue", "native", "rescue", STEM[:8], "-o", "rescued")
        self.assert_golden("native-clean", "native", "clean", STEM[:8], "--yes")
