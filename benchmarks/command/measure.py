#!/usr/bin/env python3
"""Measures the command and the Python module against their goals.

Usage: measure.py BUILD

BUILD is the directory of a build of the preset release with tests, such as build/release. The files
take 2 GB below TMPDIR and are removed at the end. Times are the least of five runs. They are those
of the processor, but for the comparison with numpy.fromfile, which is by the clock, because the
module reads with two threads: let nothing else run. The exit status is 1 if a goal is missed.
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
        return self.record_steps(f"ramp 0 1 {count} {start}")

    def record_steps(self, steps):
        script = f"group 0 x:1\nbegin\n{steps}\nend\n"
        result = subprocess.run([self.writer, self.directory], input=script, check=True,
                                capture_output=True, text=True)
        return result.stdout.splitlines()[0]

    def seconds_of(self, *arguments):
        def run():
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            result = subprocess.run([self.command, *arguments], check=False,
                                    stdout=subprocess.DEVNULL)
            if result.returncode not in (0, 1):
                raise RuntimeError(f"{arguments[0]} ended with {result.returncode}")
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

        return least(run)

    def judge(self, what, value, greatest, unit):
        holds = value <= greatest
        self.is_held = self.is_held and holds
        print(f"| {what} | {greatest:g} {unit} | {value:.2f} | {'held' if holds else '**missed**'} |")


def seconds_of(work, clock):
    start = clock()
    work()
    return clock() - start


def ratio_of(work, peer, clock):
    """The times of both, which take turns, in proportion."""
    pairs = [(seconds_of(work, clock), seconds_of(peer, clock)) for _ in range(REPETITIONS)]
    return min(own for own, _ in pairs) / min(other for _, other in pairs)


def measure_command(measurement, run):
    shifted = measurement.record(SAMPLES, 0.4)
    measurement.judge("`diff`, 10⁷ samples per side",
                      measurement.seconds_of("diff", run, run), 2, "s")
    measurement.judge("`diff`, 10⁷ samples per side at other times, with a time tolerance",
                      measurement.seconds_of("diff", run, shifted, "--time-tolerance", "0.5"), 2, "s")
    measurement.judge("`plot`, 10⁷ samples", measurement.seconds_of("plot", run), 1, "s")
    measure_kinds_of_diff(measurement, run, shifted)
    large = measurement.record(10 * SAMPLES, 0)
    measurement.judge("`plot`, 10⁸ samples", measurement.seconds_of("plot", large), 1, "s")
    measurement.judge("`signals`, 10⁸ samples", measurement.seconds_of("signals", large), 0.1, "s")


def measure_kinds_of_diff(measurement, run, shifted):
    zigzag, higher, gaps = (measurement.record_steps(f"zigzag 0 {SAMPLES} {rest}")
                            for rest in ("0 0", "0.3 0", "0 5"))
    tolerance = "--time-tolerance", "0.5"
    for what, *arguments in (
            ("values that hold", run, run, "--hold", "*"),
            ("values that hold, at other times, with a time tolerance",
             run, shifted, "--hold", "*", *tolerance),
            ("every fifth value is NaN", gaps, gaps, *tolerance),
            ("every value differs", zigzag, higher),
            ("every value differs, with a time tolerance", zigzag, higher, *tolerance),
            ("every fifth value is NaN on one side", gaps, zigzag)):
        measurement.judge(f"`diff`, 10⁷ samples per side, {what}",
                          measurement.seconds_of("diff", *arguments), 2, "s")


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

        def read_plain():
            numpy.fromfile(plain)

        measurement.judge("Python, reading 10⁷ samples into memory",
                          ratio_of(read, read_plain, time.perf_counter), 1.2, "× numpy.fromfile")
        print(f"| the same, of processor time | | {ratio_of(read, read_plain, time.process_time):.2f} | |")
        little = least(lambda: seconds_of(read_little, time.process_time))
        measurement.judge("Python, reading ten samples", little / READS * 1e6, 10, "µs")


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
