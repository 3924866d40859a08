"""Builds the module for pip with CMake: `pip install ./python`."""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

TREE = Path(__file__).resolve().parent.parent
VERSION = re.search(r"project\(logging2 VERSION ([0-9.]+)", (TREE / "CMakeLists.txt").read_text())[1]


class BuildWithCMake(build_ext):
    """Builds the module and the libraries that it needs, and puts them side by side."""

    def build_extension(self, ext):
        build = Path(self.build_temp).resolve()
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        subprocess.run(
            ["cmake", "-S", TREE, "-B", build, "-DCMAKE_BUILD_TYPE=Release",
             f"-DLOGGING2_PYTHON={sys.executable}", "-DLOGGING2_BUILD_PYTHON=ON",
             "-DLOGGING2_BUILD_TESTS=OFF", "-DLOGGING2_BUILD_EXAMPLES=OFF",
             "-DLOGGING2_BUILD_TOOLS=OFF",
             "-DCMAKE_BUILD_RPATH_USE_ORIGIN=ON", "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON"],
            check=True)
        subprocess.run(["cmake", "--build", build, "--target", "logging2_python",
                        "--parallel", str(os.cpu_count())], check=True)
        package.mkdir(parents=True, exist_ok=True)
        for library in [*build.glob("python/logging2/_core*.so"),
                        *build.glob("logging2/**/liblogging2*.so.?.?")]:
            shutil.copy(library, package)


setup(version=VERSION, ext_modules=[Extension("logging2._core", [])],
      cmdclass={"build_ext": BuildWithCMake})
