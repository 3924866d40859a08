import math
import os
import re
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import uuid
from contextlib import closing
from datetime import datetime, timezone
from pathlib import Path
from types import SimpleNamespace

import numpy

try:
    from xxhash import xxh3_64_intdigest
except ImportError:
    xxh3_64_intdigest = None

PAGE = Path("docs/recording-format.md").read_text(encoding="utf-8")
PROGRAM = Path("docs/read_recording.py").read_text(encoding="utf-8")
EXAMPLE = SimpleNamespace()
exec(PROGRAM, EXAMPLE.__dict__)  # pylint: disable=exec-used


def rows_of_table(first_column: str) -> list[list[str]]:
    """The cells of the page's table whose head begins with this."""
    table = re.search(rf"\n\| {first_column} \|.*?\n((?:\|.*\n)+)", PAGE).group(1)
    return [[cell.strip() for cell in line.strip("|").split("|")]
            for line in table.splitlines()[1:]]


def header_type() -> numpy.dtype:
    """The header as the page describes it, which must have no gaps."""
    fields = []
    end = 0
    for offset, size, name, _ in rows_of_table("offset"):
        assert int(offset) == end, name
        fields.append((name, {"4": "<u4", "8": "<u8"}.get(size, f"V{size}")))
        end += int(size)
    assert end == 128
    return numpy.dtype(fields)


HEADER = header_type()
DESCRIPTION, CHUNK, ROLLBACK, PACKED_CHUNK = 1, 2, 3, 4


def made(mode: str, directory: str) -> tuple[subprocess.Popen, str]:
    """A program that makes a recording, and where that is."""
    program = subprocess.Popen([os.environ["LOGGING2_MAKE_RECORDING"], directory, mode],
                               stdout=subprocess.PIPE, text=True)
    return program, program.stdout.readline().strip()


def height_of(numbers: numpy.ndarray, offset: float) -> numpy.ndarray:
    return numpy.where(numbers % 1000 == 0, numpy.nan, numbers + offset)


def noise_of(numbers: numpy.ndarray) -> numpy.ndarray:
    numbers = numbers.astype("u8") * numpy.uint64(0x9e3779b97f4a7c15)
    numbers = (numbers ^ numbers >> numpy.uint64(29)) * numpy.uint64(0xbf58476d1ce4e5b9)
    return (numbers >> numpy.uint64(11)) * 2.0 ** -53


def signed_hash(content: bytes) -> int:
    return struct.unpack("<q", struct.pack("<Q", hash_of(content)))[0]


def hash_of(content: bytes) -> int:
    return xxh3_64_intdigest(content)


def records_in(content: bytes):
    """The records of a data file: where each begins, its header and its payload."""
    offset = 0
    while offset < len(content):
        header = numpy.frombuffer(content, HEADER, 1, offset)[0]
        end = offset + 128 + int(header["payload_byte_count"])
        yield offset, header, content[offset + 128:end]
        offset = end


def unescaped(word: str) -> str:
    return "" if word == "%" else re.sub("%([0-9a-f]{2})", lambda m: chr(int(m[1], 16)), word)


class FinishedTest(unittest.TestCase):
    MODE = "finished"
    CHUNK_KIND = CHUNK

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        program, cls.location = made(cls.MODE, cls.directory.name)
        assert program.wait() == 0
        program.stdout.close()
        cls.content = Path(cls.location, "samples.bin").read_bytes()
        cls.records = list(records_in(cls.content))
        cls.index = EXAMPLE.open_index(cls.location + "/index.sqlite")

    @classmethod
    def tearDownClass(cls):
        cls.index.close()
        cls.directory.cleanup()

    def rows(self, query: str, *parameters) -> list:
        return self.index.execute(query, parameters).fetchall()

    def widths(self, group: int) -> list[int]:
        return [1] + [width for (width,) in self.rows(
            "SELECT width FROM channel WHERE signal_group = ? ORDER BY position", group)]

    def test_the_program_of_the_page_reads_every_signal(self):
        numbers = numpy.arange(25000.0)
        height = numpy.where(numbers < 20000, height_of(numbers, 0), height_of(numbers, 1e6))
        position = numpy.stack([numbers, -numbers, 0.25 * numbers], axis=1)
        motor = numpy.arange(100.0)
        for path, times, values in [
                ("ball.height", 0.5 * numbers, height[:, None]),
                ("ball.h", 0.5 * numbers, height[:, None]),
                ("ball.position", 0.5 * numbers, position),
                ("ball.noise", 0.5 * numbers, noise_of(numbers)[:, None]),
                ("motor.speed", motor // 8 * 8, -motor[:, None]),
                ("motor.nothing", motor // 8 * 8, numpy.empty((100, 0))),
                ("idle.value", numpy.empty(0), numpy.empty((0, 2)))]:
            found_times, found_values = EXAMPLE.read_signal(self.location, path)
            numpy.testing.assert_array_equal(found_times, times, path)
            numpy.testing.assert_array_equal(found_values, values, path)

    def test_the_program_of_the_page_runs(self):
        output = subprocess.run([sys.executable, "-c", PROGRAM, self.location, "ball.position"],
                                check=True, stdout=subprocess.PIPE, text=True).stdout
        self.assertEqual(output.splitlines()[:3], ["0.0 0.0 -0.0 0.0", "0.5 1.0 -1.0 0.25",
                                                   "1.0 2.0 -2.0 0.5"])

    def test_the_directory_has_the_name_and_the_two_files(self):
        self.assertRegex(os.path.basename(self.location),
                         r"^format_test-\d{8}T\d{6}Z-[0-9a-f]{6}\.recording$")
        self.assertEqual(sorted(os.listdir(self.location)), ["index.sqlite", "samples.bin"])

    def test_records_follow_each_other_at_multiples_of_64(self):
        run = uuid.UUID(dict(self.rows("SELECT key, value FROM run"))["id"]).bytes
        for sequence, (offset, header, payload) in enumerate(self.records):
            self.assertEqual(offset % 64, 0)
            self.assertEqual(len(payload) % 64, 0)
            self.assertEqual(header["magic"].tobytes(), b"L2RECORD")
            self.assertEqual(header["version"], 1)
            self.assertEqual(header["run"].tobytes(), run)
            self.assertEqual(header["sequence"], sequence)
            self.assertEqual(header["reserved"], 0)
        kinds = [header["kind"] for _, header, _ in self.records]
        self.assertEqual(kinds[0], DESCRIPTION)
        self.assertEqual(kinds.count(DESCRIPTION), 1)
        self.assertEqual(kinds.count(ROLLBACK), 1)
        self.assertGreaterEqual(kinds.count(self.CHUNK_KIND), 5)
        self.assertEqual(set(kinds), {DESCRIPTION, ROLLBACK, self.CHUNK_KIND})

    def test_a_rollback_has_no_payload_and_increases_the_revision(self):
        revision = 0
        before = (0, 0, 0)
        for _, header, payload in self.records:
            self.assertEqual(tuple(header[name] for name in (
                "rollback_count", "rollback_group", "rollback_first_step")), before)
            if header["kind"] == ROLLBACK:
                before = (before[0] + 1, header["group"], header["first_step"])
                revision += 1
                self.assertEqual((header["first_step"], payload), (20000, b""))
                self.assertEqual((header["step_count"], header["payload_hash"]), (0, 0))
            self.assertEqual(header["revision"], revision)
        self.assertEqual(dict(self.rows("SELECT key, value FROM run"))["revision"], str(revision))

    @unittest.skipUnless(xxh3_64_intdigest, "needs python3-xxhash")
    def test_hashes_are_as_the_page_says(self):
        for offset, header, payload in self.records:
            self.assertEqual(header["header_hash"], hash_of(self.content[offset:offset + 120]))
            if header["kind"] == DESCRIPTION:
                self.assertEqual(header["payload_hash"], hash_of(payload))
            elif header["kind"] == self.CHUNK_KIND:
                size = self.directory_size(header)
                directory = payload[:EXAMPLE.rounded_up(size, 64)]
                self.assertEqual(header["payload_hash"], hash_of(directory))
                self.assertEqual(directory[size:], bytes(len(directory) - size))

    def directory_size(self, header) -> int:
        return sum(EXAMPLE.node_size(w) for w in self.widths(int(header["group"])))

    def test_the_description_says_what_the_index_says(self):
        text = self.records[0][2].rstrip(b"\0").decode()
        run = dict(self.rows("SELECT key, value FROM run"))
        lines = [[unescaped(word) for word in line.split(" ")] for line in text.splitlines()]
        expected = [["logging2", "recording", "1"]]
        for name in ["id", "name", "start", "host", "process"]:
            expected.append([name, run[name]])
        expected.append(["version", run["library_version"]])
        expected += [["property", *row] for row in self.rows("SELECT * FROM property ORDER BY key")]
        for position, ident in self.rows("SELECT position, id FROM signal_group ORDER BY position"):
            expected.append(["group", str(ident)])
            expected += [["channel", str(number), str(width)] for number, width in self.rows(
                "SELECT number, width FROM channel WHERE signal_group = ? ORDER BY position",
                position)]
            expected += [["path", str(channel), text] for channel, text in self.rows(
                "SELECT channel, text FROM path WHERE signal_group = ? ORDER BY channel, text",
                position)]
        self.assertEqual(lines, expected)
        self.assertIn("property model bouncing%20ball,%20100%20%25\nproperty note %\n", text)

    @unittest.skipUnless(xxh3_64_intdigest, "needs python3-xxhash")
    def test_rows_of_the_index_have_their_hash(self):
        for key, value, found in self.rows("SELECT key, value, hash FROM run"):
            self.assertEqual(signed_hash(f"{key}\0{value}".encode()), found, key)
        for *numbers, found in self.rows("SELECT position, steps, shown_steps, chunk_hash_sum, hash"
                                         " FROM signal_group"):
            self.assertEqual(signed_hash(struct.pack("<3Qq", *numbers)), found)
            hashes = self.rows("SELECT hash FROM chunk WHERE signal_group = ?", numbers[0])
            self.assertEqual((sum(number for (number,) in hashes) - numbers[3]) % 2 ** 64, 0)
        for row in self.rows("SELECT sequence, signal_group, first_step, steps, stored_steps, offset,"
                             " byte_count, first_time, last_time, least_time, greatest_time, nan_times,"
                             " ascends, greatest_so_far, hash FROM chunk"):
            doubles = [math.nan if time is None else time + 0.0 for time in row[7:11] + row[13:14]]
            content = struct.pack("<7Q4d2Qd", *row[:7], *doubles[:4], *row[11:13], doubles[4])
            self.assertEqual(signed_hash(content), row[14])

    def test_the_index_has_the_tables_and_columns(self):
        for table, columns in rows_of_table("table"):
            found = self.rows("SELECT name FROM pragma_table_info(?)", table.strip("`"))
            self.assertEqual(", ".join(f"`{name}`" for (name,) in found), columns, table)
        tables = [f"`{name}`" for (name,) in self.rows("SELECT name FROM sqlite_schema")]
        self.assertEqual(sorted(tables), sorted(row[0] for row in rows_of_table("table")))
        self.assertEqual(self.rows("PRAGMA application_id"), [(1278366277,)])
        self.assertEqual((1278366277).to_bytes(4, "big"), b"L2RE")
        self.assertEqual(self.rows("PRAGMA user_version"), [(1,)])
        self.assertEqual(self.rows("PRAGMA journal_mode"), [("delete",)])

    def test_the_run_has_the_keys(self):
        run = dict(self.rows("SELECT key, value FROM run"))
        listed = re.search(r"`run` has the keys(.*?)\. Times", PAGE, re.S).group(1)
        self.assertEqual(sorted(run), sorted(set(re.findall("`([a-z_]+)`", listed)) - {"little"}))
        self.assertEqual((run["state"], run["byte_order"]), ("finished", "little"))
        for key in ["start", "end"]:
            then = datetime.strptime(run[key], "%Y-%m-%dT%H:%M:%S.%fZ")
            self.assertLess(abs(datetime.now(timezone.utc).replace(tzinfo=None) - then).days, 1)

    def test_chunks_follow_each_other_and_name_their_records(self):
        headers = {offset: header for offset, header, _ in self.records}
        for group, steps, shown in self.rows("SELECT position, steps, shown_steps"
                                             " FROM signal_group"):
            self.assertEqual(steps, shown)
            step = 0
            for row in self.rows("SELECT first_step, steps, stored_steps, sequence, offset,"
                                 " byte_count FROM chunk WHERE signal_group = ?"
                                 " ORDER BY first_step", group):
                first, count, stored, sequence, offset, size = row
                header = headers[offset]
                self.assertEqual((header["group"], header["first_step"], header["step_count"],
                                  header["sequence"], header["payload_byte_count"] + 128),
                                 (group, first, stored, sequence, size))
                self.assertEqual(first, step)
                self.assertLessEqual(count, stored)
                step += count
            self.assertEqual(step, steps)

    def test_chunks_describe_their_times(self):
        greatest_so_far = {}
        for row in self.rows("SELECT * FROM chunk ORDER BY signal_group, first_step"):
            chunk = dict(zip(rows_of_table("table")[-1][1].replace("`", "").split(", "), row))
            times = numpy.frombuffer(self.column(chunk["offset"], chunk["signal_group"],
                                                 chunk["stored_steps"], 0), "<f8")
            times = times[:chunk["steps"]]
            group = chunk["signal_group"]
            greatest_so_far[group] = max(greatest_so_far.get(group, -numpy.inf), times.max())
            self.assertEqual(
                (chunk["first_time"], chunk["last_time"], chunk["least_time"],
                 chunk["greatest_time"], chunk["nan_times"], chunk["ascends"],
                 chunk["greatest_so_far"]),
                (times[0], times[-1], times.min(), times.max(), 0, 1, greatest_so_far[group]))

    def column(self, offset: int, group: int, steps: int, column: int) -> bytes:
        with open(self.location + "/samples.bin", "rb") as samples:
            return EXAMPLE.read_column(samples, offset, self.widths(group), steps, column).tobytes()

    def place(self, offset: int, group: int, steps: int, column: int) -> tuple[int, int]:
        """Where a column's values begin, and how many bytes they need there."""
        widths = self.widths(group)
        start = offset + EXAMPLE.column_offset(widths, steps, column)
        return start, 8 * steps * widths[column]

    def test_the_index_follows_from_the_data_file(self):
        chunks = {}
        for offset, header, _ in self.records[1:]:
            group, first = int(header["group"]), int(header["first_step"])
            kept = [(start, min(count, first - start), at)
                    for start, count, at in chunks.get(group, []) if start < first]
            if header["kind"] == self.CHUNK_KIND:
                kept.append((first, int(header["step_count"]), offset))
            chunks[group] = kept
        for group, found in chunks.items():
            self.assertEqual(found, self.rows("SELECT first_step, steps, offset FROM chunk"
                                              " WHERE signal_group = ? ORDER BY first_step", group))

    def test_trees_describe_their_columns(self):
        depths = set()
        for offset, header, _ in self.records:
            if header["kind"] == self.CHUNK_KIND:
                for column in range(len(self.widths(int(header["group"])))):
                    depths.add(self.check_tree(offset, header, column))
        self.assertEqual(depths, {1, 2, 3})

    def check_tree(self, offset: int, header, column: int) -> int:
        """Compares every node with the page, and returns how many levels there are."""
        steps, widths = int(header["step_count"]), self.widths(int(header["group"]))
        width, size = widths[column], EXAMPLE.node_size(widths[column])
        content = self.column(offset, int(header["group"]), steps, column)
        values = numpy.frombuffer(content, "<f8").reshape(steps, width)
        parts = [(content[8 * width * i:8 * width * (i + 256)], values[i:i + 256])
                 for i in range(0, steps, 256)]
        values_start, values_size = self.place(offset, int(header["group"]), steps, column)
        self.assertEqual(values_start % 64, 0)
        end = values_start + values_size
        for depth in range(1, 9):
            is_root = len(parts) == 1
            start = offset + 128 + sum(map(EXAMPLE.node_size, widths[:column])) if is_root else end
            nodes = self.content[start:start + size * len(parts)]
            for i, (described, part) in enumerate(parts):
                self.check_node(nodes[size * i:size * (i + 1)], described, part)
            if is_root:
                return depth
            end += len(nodes)
            parts = [(nodes[size * i:size * (i + 32)],
                      numpy.concatenate([part for _, part in parts[i:i + 32]]))
                     for i in range(0, len(parts), 32)]
        raise AssertionError("too many levels")

    def check_node(self, node: bytes, described: bytes, values: numpy.ndarray):
        if xxh3_64_intdigest:
            self.assertEqual(int.from_bytes(node[:8], "little"), hash_of(described))
        ranges = numpy.frombuffer(node, "<f8", offset=8).reshape(-1, 3)
        for element, (least, greatest, nans) in enumerate(ranges):
            numbers = values[:, element][~numpy.isnan(values[:, element])]
            self.assertEqual((least, greatest, nans),
                             (numbers.min(initial=numpy.inf), numbers.max(initial=-numpy.inf),
                              len(values) - len(numbers)))


class PackedTest(FinishedTest):
    MODE = "packed"
    CHUNK_KIND = PACKED_CHUNK

    def sizes(self, offset: int, group: int, steps: int) -> list:
        with open(self.location + "/samples.bin", "rb") as samples:
            return EXAMPLE.segment_sizes(samples, offset, self.widths(group), steps)

    def directory_size(self, header) -> int:
        counts = EXAMPLE.segment_counts(self.widths(int(header["group"])), int(header["step_count"]))
        return super().directory_size(header) + 4 * sum(counts)

    def place(self, offset: int, group: int, steps: int, column: int) -> tuple[int, int]:
        sizes = self.sizes(offset, group, steps)
        start = offset + EXAMPLE.column_offset(self.widths(group), steps, column, sizes)
        packed = EXAMPLE.rounded_up(int(sizes[column].sum()), 8)
        return start, packed or 8 * steps * self.widths(group)[column]

    def test_all_columns_but_the_noise_are_packed(self):
        for offset, header, _ in self.records:
            group, steps = int(header["group"]), int(header["step_count"])
            if header["kind"] == PACKED_CHUNK:
                packed = [bool(sizes.all() and len(sizes)) for sizes in self.sizes(offset, group, steps)]
                unpacked = [bool(not sizes.any()) for sizes in self.sizes(offset, group, steps)]
                self.assertEqual(packed, [True, True, True, False] if group == 0 else [True, False, True])
                self.assertEqual(unpacked, [not is_packed for is_packed in packed])

    def test_packed_columns_need_at_most_85_percent(self):
        for offset, header, payload in self.records:
            group, steps = int(header["group"]), int(header["step_count"])
            if header["kind"] == PACKED_CHUNK:
                for sizes, width in zip(self.sizes(offset, group, steps), self.widths(group)):
                    if sizes.any():
                        needed = int(sizes.sum()) + 4 * len(sizes)
                        self.assertLessEqual(100 * needed, 85 * 8 * steps * width)
                end = EXAMPLE.column_offset(self.widths(group), steps, len(self.widths(group)))
                self.assertLess(128 + len(payload), end)


class RunningTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.program, self.location = made("running", self.directory.name)
        self.addCleanup(self.directory.cleanup)
        self.addCleanup(self.program.stdout.close)
        self.addCleanup(self.kill)
        end = time.monotonic() + 30
        while self.step_counts() != (100, 84) and time.monotonic() < end:
            time.sleep(0.01)

    def kill(self):
        self.program.kill()
        self.program.wait()

    def step_counts(self):
        with closing(EXAMPLE.open_index(self.location + "/index.sqlite")) as index:
            return index.execute("SELECT steps, shown_steps FROM signal_group"
                                 " WHERE position = 0").fetchone()

    def expect_steps(self, count: int):
        times, values = EXAMPLE.read_signal(self.location, "ball.height")
        numpy.testing.assert_array_equal(times, 0.5 * numpy.arange(count))
        numpy.testing.assert_array_equal(values[:, 0], height_of(numpy.arange(float(count)), 0))

    def test_steps_that_may_be_undone_are_visible_after_the_end(self):
        self.assertEqual(self.step_counts(), (100, 84))
        self.expect_steps(84)
        self.kill()
        self.expect_steps(100)

    def test_the_log_and_its_shared_memory_lie_beside_the_index(self):
        listed = sorted(row[0].strip("`") for row in rows_of_table("file"))
        self.assertEqual(sorted(os.listdir(self.location)), listed)
        self.kill()
        self.assertEqual(sorted(os.listdir(self.location)), listed)
        with closing(sqlite3.connect(self.location + "/index.sqlite")) as index:
            self.assertEqual(index.execute("PRAGMA journal_mode").fetchone(), ("wal",))


if __name__ == "__main__":
    unittest.main()
