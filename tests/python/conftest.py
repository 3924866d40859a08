import gc
import os

import logging2
import pytest


@pytest.fixture
def resident_byte_count():
    """Tells how much memory the process takes."""

    def measure():
        gc.collect()
        with open("/proc/self/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    return measure


@pytest.fixture
def record(tmp_path):
    """Makes a recording: groups are mappings from paths to widths, rows are (group, time, values)."""

    def make(groups, rows, **options):
        with logging2.Writer("recording", groups=groups, directory=tmp_path, **options) as writer:
            for group, time, values in rows:
                writer.write(group, time, values)
        return writer.location

    return make


@pytest.fixture
def demo(record):
    """A recording with a scalar "x", a pair "p" and a signal without samples, "never"."""
    rows = [(0, float(step), [10.0 * step, step, -step]) for step in range(100)]
    return record([{"x": 1, "p": 2}, {"never": 3}], rows, name="demo", properties={"model": "m"})
