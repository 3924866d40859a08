"""Prints the first ten samples of a signal of a recording, without the library.

Usage: python3 read_recording.py RECORDING SIGNAL

Needs NumPy, and for packed chunks the module lz4. Cannot read an index with a log but without
index.sqlite-shm.
"""
import fcntl
import os
import sqlite3
import sys
from contextlib import closing
from urllib.parse import quote

import numpy


def rounded_up(number, step):
    return -(-number // step) * step


def node_size(width):
    return 8 * (1 + 3 * width)


def segment_counts(widths, step_count):
    """How many segments each column of a packed chunk has."""
    return [rounded_up(step_count, 8192) // 8192 * width for width in widths]


def segment_sizes(samples, offset, widths, step_count):
    """For each column of a packed chunk, the sizes of its segments, which are 0 if it is not packed."""
    counts = segment_counts(widths, step_count)
    start = offset + 128 + sum(node_size(width) for width in widths)
    table = numpy.frombuffer(os.pread(samples.fileno(), 4 * sum(counts), start), "<u4")
    return numpy.split(table.astype(int), numpy.cumsum(counts)[:-1])


def column_offset(widths, step_count, column, sizes=None):
    """Where the values of a column are, from the start of the chunk's record on."""
    table = 0 if sizes is None else 4 * sum(segment_counts(widths, step_count))
    offset = 128 + rounded_up(sum(node_size(width) for width in widths) + table, 64)
    for k, width in enumerate(widths[:column]):
        packed = 0 if sizes is None else int(sizes[k].sum())
        offset += rounded_up(packed, 8) if packed else 8 * step_count * width
        node_count = rounded_up(step_count, 256) // 256
        while node_count > 1:
            offset += node_count * node_size(width)
            node_count = rounded_up(node_count, 32) // 32
        offset = rounded_up(offset, 64)
    return offset


def unpacked(segment, step_count):
    """The values of a segment."""
    from lz4.block import decompress
    content = decompress(segment[1:], uncompressed_size=8 * step_count)
    planes = numpy.frombuffer(content, "u1").reshape(8, step_count)
    numbers = numpy.ascontiguousarray(planes.T).view("<u8")[:, 0]
    for _ in range(segment[0]):
        numbers = numpy.cumsum(numbers, dtype="u8")
    return numbers.view("<f8")


def read_column(samples, offset, widths, step_count, column):
    """The values of a column of the chunk at the offset, as an array of step_count rows."""
    width = widths[column]
    is_packed = os.pread(samples.fileno(), 4, offset + 12)[0] == 4
    sizes = segment_sizes(samples, offset, widths, step_count) if is_packed else None
    start = offset + column_offset(widths, step_count, column, sizes)
    if not is_packed or not sizes[column].any():
        content = os.pread(samples.fileno(), 8 * step_count * width, start)
        return numpy.frombuffer(content, "<f8").reshape(step_count, width)
    values = numpy.empty((step_count, width))
    for number, size in enumerate(sizes[column].tolist()):
        rows = values[number // width * 8192:][:8192]
        rows[:, number % width] = unpacked(os.pread(samples.fileno(), size, start), len(rows))
        start += size
    return values


def is_locked(file):
    try:
        fcntl.flock(file, fcntl.LOCK_SH | fcntl.LOCK_NB)
        fcntl.flock(file, fcntl.LOCK_UN)
        return False
    except BlockingIOError:
        return True


def open_index(name):
    has_log = os.path.exists(name + "-wal") and os.path.getsize(name + "-wal") > 32
    how = "readonly_shm=1" if has_log else "immutable=1"
    return sqlite3.connect(f"file:{quote(os.path.abspath(name))}?mode=ro&{how}", uri=True)


def find_signal(index, path, locked):
    """Its group and column, the widths of the group's columns, the number of steps, the chunks."""
    group, channel = index.execute(
        "SELECT signal_group, channel FROM path WHERE text = ?", [path]).fetchone()
    widths = [1] + [width for (width,) in index.execute(
        "SELECT width FROM channel WHERE signal_group = ? ORDER BY position", [group])]
    (state,) = index.execute("SELECT value FROM run WHERE key = 'state'").fetchone()
    counted = "shown_steps" if locked and state == "running" else "steps"
    (step_count,) = index.execute(
        f"SELECT {counted} FROM signal_group WHERE position = ?", [group]).fetchone()
    chunks = index.execute("SELECT offset, stored_steps, steps FROM chunk"
                           " WHERE signal_group = ? ORDER BY first_step", [group]).fetchall()
    return channel + 1, widths, step_count, chunks


def read_signal(directory, path):
    """The S times of a signal, and its values as an array of S rows."""
    with open(os.path.join(directory, "samples.bin"), "rb") as samples:
        locked = is_locked(samples)
        with closing(open_index(os.path.join(directory, "index.sqlite"))) as index:
            index.execute("BEGIN")
            column, widths, step_count, chunks = find_signal(index, path, locked)
        parts = {k: [numpy.empty((0, widths[k]))] for k in (0, column)}
        for offset, stored_count, count in chunks:
            for k, found in parts.items():
                found.append(read_column(samples, offset, widths, stored_count, k)[:count])
    times, values = (numpy.concatenate(found)[:step_count] for found in parts.values())
    return times[:, 0], values


if __name__ == "__main__":
    for time, value in zip(*(part[:10] for part in read_signal(*sys.argv[1:]))):
        print(time, *value)
