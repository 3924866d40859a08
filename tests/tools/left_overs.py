"""What the tests of `logging2 native` have in common."""
import os
import time
import unittest.mock
from array import array

from commands import CommandTest

STEM = "0123abcd-0123-4123-8123-0123456789ab"
OTHER = "fedcba98-0123-4123-8123-0123456789ab"


class LeftOverTest(CommandTest):
    """Makes left-overs, and lists them."""

    def setUp(self):
        super().setUp()
        environment = unittest.mock.patch.dict(os.environ, TMPDIR=str(self.directory))
        environment.start()
        self.addCleanup(environment.stop)
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

    def left_overs(self, *arguments):
        return self.json_of("native", "list", *arguments)["leftOvers"]

    def stems(self, *arguments):
        return [each["name"] for each in self.left_overs(*arguments)]
