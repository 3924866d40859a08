#!/usr/bin/env python3
"""Measures the command and the Python module against their goals.

Usage: measure.py BUILD

BUILD is the directory of a build of the preset release with tests, such as build/release. The files
take 2 GB below TMPDIR and are removed at the end. Times are those of the processor, the least of
five runs. The exit status is 1 if a goal is missed.
"""
import os
import resource
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import numpy

REPETITIONS = 5
SAMPLES = 10**7
READS = 10**5


def least(measure):
    return min(measure() for _ in range(REPETITIONS))


class Measurement:
    def __init__(self, build, directory):
        self.command = build / "tools/logging2"
        self.writer = build / "tests/tools/tools_write_recording"
        self.directory = directory
        self.is_held = True

    def record(self, count, start):
        script = f"group 0 x:1\nbegin\nramp 0 1 {count} {start}\nend\n"
        result = subprocess.run([self.writer, self.directory], input=script, check=True,
                                capture_output=True, text=True)
        return result.stdout.splitlines()[0]

    def seconds_of(self, *arguments):
        def run():
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            subprocess.run([self.command, *arguments], check=True, stdout=subprocess.DEVNULL)
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

        return least(run)

    def judge(self, what, value, greatest, unit):
        holds = value <= greatest
        self.is_held = self.is_held and holds
        print(f"| {what} | {greatest:g} {unit} | {value:.2f} | {'held' if holds else '**missed**'} |")


def processor_seconds(work):
    def run():
        start = time.process_time()
        work()
        return time.process_time() - start

    return least(run)


def measure_command(measurement, run):
    shifted = measurement.record(SAMPLES, 0.4)
    measurement.judge("`diff`, 10⁷ samples per side",
                      measurement.seconds_of("diff", run, run), 2, "s")
    measurement.judge("`diff`, 10⁷ samples per side at other times, with a time tolerance",
                      measurement.seconds_of("diff", run, shifted, "--time-tolerance", "0.5"), 2, "s")
    measurement.judge("`plot`, 10⁷ samples", measurement.seconds_of("plot", run), 1, "s")
    large = measurement.record(10 * SAMPLES, 0)
    measurement.judge("`plot`, 10⁸ samples", measurement.seconds_of("plot", large), 1, "s")
    measurement.judge("`signals`, 10⁸ samples", measurement.seconds_of("signals", large), 0.1, "s")


def measure_module(measurement, run, plain):
    import logging2

    def read():
        with logging2.open(run) as opened:
            opened["x"].read()

    with logging2.open(run) as opened:
        signal = opened["x"]
        numpy.stack(signal.read()[:2]).tofile(plain)

        def read_little():
            for step in range(READS):
                signal[step:step + 10]

        file_seconds = processor_seconds(lambda: numpy.fromfile(plain))
        measurement.judge("Python, reading 10⁷ samples into memory",
                          processor_seconds(read) / file_seconds, 1.2, "× numpy.fromfile")
        measurement.judge("Python, reading ten samples",
                          processor_seconds(read_little) / READS * 1e6, 10, "µs")


def main():
    build = Path(sys.argv[1]).resolve()
    sys.path.insert(0, str(build / "python"))
    with tempfile.TemporaryDirectory(prefix="logging2-bench-") as directory:
        measurement = Measurement(build, Path(directory))
        run = measurement.record(SAMPLES, 0)
        print("| measured | at most | reached | result |\n|---|---|---|---|")
        measure_command(measurement, run)
        measure_module(measurement, run, os.path.join(directory, "plain"))
    return 0 if measurement.is_held else 1


if __name__ == "__main__":
    sys.exit(main())
