import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]

PROGRAM = """
import sys, logging2, xarray
assert logging2.__file__.startswith(sys.argv[1]), logging2.__file__
with logging2.Writer("recording", groups=[{"x": 1}], directory=sys.argv[2]) as writer:
    for step in range(3):
        writer.write(0, 0.5 * step, [10.0 * step])
with logging2.open(writer.location) as run:
    assert run["x"].values.tolist() == [0, 10, 20]
data = xarray.open_dataset(writer.location, engine="logging2")
assert data["x"].values.tolist() == [0, 10, 20]
"""


class PipInstallTest(unittest.TestCase):
    """`pip install ./python`, without a network."""

    def test_installed_package_logs_and_reads(self):
        with tempfile.TemporaryDirectory(prefix="logging2-pip-") as name:
            directory = Path(name)
            tree, packages = directory / "tree", directory / "packages"
            shutil.copytree(TREE, tree, ignore=shutil.ignore_patterns("build", ".git"))
            subprocess.run([sys.executable, "-m", "pip", "install", "--no-index", "--no-deps",
                            "--no-build-isolation", "--root-user-action=ignore",
                            "--target", packages, tree / "python"], check=True)
            subprocess.run([sys.executable, "-c", PROGRAM, packages, directory / "runs"],
                           check=True, cwd=directory, env={**os.environ, "PYTHONPATH": packages})
