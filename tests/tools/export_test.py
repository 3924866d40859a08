import contextlib
import csv
import math
import os
import re
import resource
import shlex
import signal
import subprocess
from pathlib import Path

import h5py
import numpy

from commands import COMMAND, CommandTest

PAGE = (Path(__file__).parents[2] / "docs/using/exporting.md").read_text(encoding="utf-8")

HARD_VALUES = """name demo
property model spring, mass
group 0 x:1 pair:2 y=x a/b:1 a_b:1 time:1
group 3 :1 .:1 größe:1 empty:0 group-0/time:1
group 4 never:1
begin
write 0 2 1.5 -0.0 nan 1 2 3
write 0 1 inf -inf 5e-324 4 5 6
write 0 nan nan(0x123) -nan(0x7654321) 0.1 7 8 9
write 3 0.25 1 2 3 4
write 3 0.5 5 6 7 8
end
"""
PATHS = {0: ["x", "y", "pair", "a/b", "a_b", "time"],
         3: ["", ".", "größe", "empty", "group-0/time"], 4: ["never"]}
FORMATS = "csv", "hdf5", "npz", "recording"


def bits(values):
    """The doubles as integers, so that NaN and zero are compared exactly."""
    return numpy.ascontiguousarray(values).view("<u8").tolist()


def number(text):
    return numpy.frombuffer(numpy.float64(text).tobytes())[0]


def many_steps(count, signals=3, chunk=65536):
    names = " ".join(f"s{i}:1" for i in range(signals))
    return f"chunk {chunk}\ngroup 0 {names}\nbegin\n" + "".join(
        f"write 0 {step} {f'{step}.5 ' * signals}\n" for step in range(count)) + "end\n"


# A sanitizer keeps memory that was freed.
MEASURES_MEMORY = "LOGGING2_SANITIZED" not in os.environ


class ExportTest(CommandTest):
    """export to CSV, HDF5 and NumPy, and excerpts as recordings."""

    def export(self, run, *arguments, output):
        """Where the exported file is."""
        self.output_of("export", run, *arguments, "-o", output)
        return self.directory / output

    def times_and_values(self, run):
        """The bits of all times and values by signal, as HDF5 has them."""
        with h5py.File(self.export(run, "--to", "hdf5", "--force", output="read.h5")) as file:
            return {dataset.attrs["path"]: (bits(group["time"]), bits(dataset))
                    for group in file.values() for name, dataset in group.items()
                    if "path" in dataset.attrs}

    def assert_nothing_is_left(self, *others):
        self.assertEqual({entry.name for entry in self.directory.iterdir()},
                         {entry.name for entry in others})

    def test_csv_goes_to_the_output_or_to_a_file(self):
        run = self.record(HARD_VALUES)
        text = self.output_of("export", run, "--to", "csv", "x", "pair")
        self.assertEqual(text, "time,x,pair[0],pair[1]\n2,1.5,-0,nan\n1,inf,-inf,5e-324\n"
                               "nan,nan,-nan,0.1\n")
        for arguments in (), ("--to", "csv"):
            file = self.export(run, "x", "pair", "--force", *arguments, output="x.csv")
            self.assertEqual(file.read_text(), text)
        self.assertEqual(self.output_of("export", run, "--to", "csv"),
                         self.output_of("print", run, "--csv"))

    def test_csv_has_a_file_per_group_or_one_by_time(self):
        run = self.record("group 0 x:1\ngroup 3 y,z:1\nbegin\n"
                          "write 0 0 1\nwrite 0 2 2\nwrite 3 1 3\nwrite 3 2 4\nend\n")
        written = self.json_of("export", run, "-o", "out.csv")
        self.assertEqual(written, {
            "schema": 1, "format": "csv", "files": [
                {"location": "out-0.csv", "steps": 2, "bytes": 15},
                {"location": "out-3.csv", "steps": 2, "bytes": 19}], "steps": 4, "bytes": 34})
        with open(self.directory / "out-3.csv", encoding="utf-8", newline="") as file:
            self.assertEqual(list(csv.reader(file)), [["time", "y,z"], ["1", "3"], ["2", "4"]])
        merged = self.export(run, "--merge", output="merged.csv")
        self.assertEqual(merged.read_text(), 'time,x,"y,z"\n0,1,\n1,,3\n2,2,4\n')

    def test_hdf5_has_every_value_bit_for_bit(self):
        run = self.record(HARD_VALUES)
        for arguments in (), ("--compress",):
            file = self.export(run, "--force", *arguments, output="out.h5")
            with h5py.File(file) as read:
                first, second, third = (read[f"group-{group}"] for group in (0, 3, 4))
                self.assertEqual(bits(first["time"]), bits([2, 1, number("nan")]))
                self.assertEqual(bits(first["x"])[:2], bits([1.5, numpy.inf]))
                self.assertEqual(bits(first["x"])[2], 0x7FF8000000000123)
                self.assertEqual(bits(first["pair"]), [
                    [0x8000000000000000, bits([number("nan")])[0]],
                    bits([-numpy.inf, 5e-324]), [0xFFF8000007654321, bits([0.1])[0]]])
                self.assertEqual(first["x"].dtype, numpy.dtype("<f8"))
                self.assertEqual(second["empty"].shape, (2, 0))
                self.assertEqual((third["never"].shape, third["time"].shape), ((0,), (0,)))

    def test_hdf5_names_signals_safely_and_keeps_their_paths(self):
        with h5py.File(self.export(self.record(HARD_VALUES), output="out.hdf5")) as file:
            names = {group: {name: dataset.attrs.get("path") for name, dataset in
                             file[f"group-{group}"].items()} for group in PATHS}
            self.assertEqual(names[0], {"time": None, "x": "x", "y": "x", "pair": "pair",
                                        "a_b": "a/b", "a_b_2": "a_b", "time_2": "time"})
            self.assertEqual(names[3], {"time": None, "_": "", "__2": ".", "größe": "größe",
                                        "empty": "empty", "group-0_time": "group-0/time"})
            self.assertEqual(names[4], {"time": None, "never": "never"})
            self.assertEqual(file["group-0/time_2"][:].tolist(), [3, 6, 9])

    def test_hdf5_has_aliases_as_links(self):
        with h5py.File(self.export(self.record(HARD_VALUES), output="out.h5")) as file:
            self.assertEqual(file["group-0/x"], file["group-0/y"])
            self.assertEqual(file["group-0/x"].attrs["aliases"].tolist(), ["y"])
            self.assertNotIn("aliases", file["group-0/pair"].attrs)

    def test_hdf5_describes_the_run(self):
        run = self.record(HARD_VALUES)
        info = self.json_of("info", run)
        with h5py.File(self.export(run, output="out.h5")) as file:
            for name in "id", "name", "state", "start", "end", "revision":
                self.assertEqual(file.attrs[name], info[name])
            self.assertEqual(dict(file["properties"].attrs), info["properties"])
            self.assertEqual(file["group-3"].attrs["group"], 3)

    def test_npz_has_every_value_bit_for_bit(self):
        run = self.record(HARD_VALUES)
        expected = self.times_and_values(run)
        for arguments in (), ("--compress",):
            with numpy.load(self.export(run, "--force", *arguments, output="out.npz")) as arrays:
                times = {group: bits(arrays[f"group-{group}/time"]) for group in PATHS}
                self.assertEqual(times[0], bits([2, 1, number("nan")]))
                for group, paths in PATHS.items():
                    for path in paths:
                        name = "group-0/time_2" if path == "group-0/time" else path
                        of_same_channel = "x" if path == "y" else path
                        self.assertEqual((times[group], bits(arrays[name])),
                                         expected[of_same_channel], path)
                self.assertEqual(arrays["pair"].shape, (3, 2))
                self.assertEqual(arrays["empty"].shape, (2, 0))
                self.assertEqual(len(arrays.files), 15)

    def test_recording_has_the_same_signals_and_tells_where_it_is_from(self):
        run = self.record(HARD_VALUES)
        original = self.json_of("info", run)
        for arguments in (), ("--compress",):
            new = self.export(run, *arguments, output=f"new{len(arguments)}.recording")
            self.output_of("check", new)
            info = self.json_of("info", new)
            self.assertEqual((info["name"], info["state"]), ("demo", "finished"))
            self.assertNotEqual(info["id"], original["id"])
            self.assertEqual(info["properties"], {
                "model": "spring, mass", "excerpt.id": original["id"],
                "excerpt.location": str(run), "excerpt.start": original["start"],
                "excerpt.state": "finished"})
            for key in "path", "group", "channel", "width", "steps":
                self.assertEqual([signal[key] for signal in info["signals"]],
                                 [signal[key] for signal in original["signals"]])
            self.assertEqual(self.times_and_values(new), self.times_and_values(run))

    def test_recording_holds_only_what_was_chosen(self):
        run = self.record(HARD_VALUES)
        new = self.export(run, "pair", "y", "--from", "1.5", "--until", "9", output="new.recording")
        info = self.json_of("info", new)
        self.assertEqual([signal["path"] for signal in info["signals"]], ["y", "pair"])
        self.assertEqual(info["groups"], [{"id": 0, "steps": 1, "firstTime": 2, "lastTime": 2}])
        self.assertEqual((info["properties"]["excerpt.from"], info["properties"]["excerpt.until"]),
                         ("1.5", "9"))

    def test_range_leaves_out_unordered_times(self):
        run = self.record("group 0 x:1 v:2 none:0\nbegin\n" + "".join(
            f"write 0 {time} {step} {step} {step}\n"
            for step, time in enumerate([1, 5, 2, "nan", 3, 9, 2])) + "end\n")
        chosen = "--from", "2", "--until", "4"
        with h5py.File(self.export(run, *chosen, output="out.h5")) as file:
            self.assertEqual(file["group-0/time"][:].tolist(), [2, 3, 2])
            self.assertEqual(file["group-0/v"][:].tolist(), [[2, 2], [4, 4], [6, 6]])
            self.assertEqual(file["group-0/none"].shape, (3, 0))
        with numpy.load(self.export(run, *chosen, output="out.npz")) as arrays:
            self.assertEqual(arrays["group-0/time"].tolist(), [2, 3, 2])
            self.assertEqual(arrays["x"].tolist(), [2, 4, 6])
        self.assertEqual(self.output_of("export", run, "x", "--to", "csv", *chosen),
                         "time,x\n2,2\n3,4\n2,6\n")

    def test_many_steps_are_complete_in_every_format(self):
        run = self.record(many_steps(100000))
        expected = numpy.arange(100000) + 0.5
        for compression in (), ("--compress",):
            with h5py.File(self.export(run, "--force", *compression, output="out.h5")) as file:
                self.assertTrue(numpy.array_equal(file["group-0/s2"], expected))
            with numpy.load(self.export(run, "--force", *compression, output="out.npz")) as arrays:
                self.assertTrue(numpy.array_equal(arrays["s1"], expected))
                self.assertTrue(numpy.array_equal(arrays["group-0/time"], expected - 0.5))
        rows = numpy.loadtxt(self.export(run, output="out.csv"), delimiter=",", skiprows=1)
        self.assertTrue(numpy.array_equal(rows[:, 3], expected))
        self.assertEqual(self.times_and_values(self.export(run, output="new.recording")),
                         self.times_and_values(run))

    def test_running_run_is_exported_as_it_is_shown(self):
        process, run = self.recorder("group 0 x:1\nbegin\nwrite 0 1 2\nwrite 0 2 3\nshow\n")
        for format_ in FORMATS:
            written = self.json_of("export", run, "--to", format_, "-o", f"out-{format_}")
            self.assertEqual((written["format"], written["steps"]), (format_, 2))
        with h5py.File(self.directory / "out-hdf5") as file:
            self.assertEqual(file.attrs["state"], "running")
            self.assertNotIn("end", file.attrs)
        info = self.json_of("info", "out-recording")
        self.assertEqual(info["properties"]["excerpt.state"], "running")
        process.stdin.write("end\n")

    def test_existing_files_are_kept_without_force(self):
        run = self.record("group 0 x:1\ngroup 1 y:1\nbegin\nwrite 0 1 2\nend\n")
        for name in "out.csv", "out-1.csv", "out.npz", "out.h5":
            (self.directory / name).write_text("mine")
        for arguments in ("x", "-o", "out.csv"), ("-o", "out.csv"), ("-o", "out.npz"), (
                "-o", "out.h5"):
            self.assert_refused("it exists; --force replaces it", "export", run, *arguments)
        self.assertEqual((self.directory / "out-1.csv").read_text(), "mine")
        self.assertFalse((self.directory / "out-0.csv").exists())
        self.export(run, "--force", output="out.npz")
        self.assertNotEqual((self.directory / "out.npz").read_bytes(), b"mine")
        before = self.output_of("print", run)
        self.assert_refused("not a file", "export", run, "--force", "-o", run)
        self.assert_refused("not a file", "export", run, "--to", "npz", "--force", "-o", "/dev/null")
        self.assertEqual(self.output_of("print", run), before)

    def test_page_about_exporting_holds(self):
        run = self.record("group 0 ball.height:1 ball.speed:1\nbegin\n" + "".join(
            f"write 0 {time} {10 * time} 1\n" for time in range(8)) + "end\n")
        shell, *programs = re.findall(r"\n```(?:sh|python)\n(.*?)```\n", PAGE, re.S)
        for line in shell.splitlines():
            words = shlex.split(line, comments=True)
            self.assertEqual(words[:3], ["logging2", "export", "RUN"])
            self.output_of("export", run, *words[3:])
        results = []
        for program in programs:
            scope = {}
            with contextlib.chdir(self.directory):
                exec(program, scope)  # pylint: disable=exec-used
            results.append((scope["times"].tolist(), scope["heights"].tolist()))
        whole = [*range(8)], [*range(0, 80, 10)]
        self.assertEqual(results, [whole, ([*range(2, 8)], [*range(20, 80, 10)])])
        self.assertEqual(self.json_of("info", "part.recording")["groups"][0]["steps"], 4)

    def test_wrong_usage_is_one_line_and_changes_nothing(self):
        run = self.record("group 0 x:1\nbegin\nwrite 0 1 2\nend\n")
        self.assert_refused("--until sets the end", "export", run, "--to", "7")
        self.assert_refused("--to csv, hdf5, npz or recording is needed", "export", run)
        self.assert_refused("suffix", "export", run, "-o", "out.txt")
        self.assert_refused("--to hdf5 needs a file", "export", run, "--to", "hdf5")
        self.assert_refused("--json needs a file", "export", run, "--to", "csv", "--json")
        self.assert_refused("--merge works only", "export", run, "-o", "out.npz", "--merge")
        self.assert_refused("--compress does not", "export", run, "-o", "out.csv", "--compress")
        self.assert_refused("no signal matches", "export", run, "-o", "out.csv", "y")
        self.assert_refused("contains no time", "export", run, "-o", "out.csv", "--from", "2",
                            "--until", "1")
        self.assert_refused("none/out.csv", "export", run, "-o", "none/out.csv")
        self.assert_nothing_is_left(run)

    def test_damaged_run_leaves_nothing(self):
        run = self.record(many_steps(20000))
        # Everywhere: the times of commits decide where a step stands.
        with open(run / "samples.bin", "r+b") as data:
            for offset in range(8192, (run / "samples.bin").stat().st_size - 1000, 8192):
                data.seek(offset)
                data.write(b"damage" * 100)
        for format_ in FORMATS:
            for chosen in (), ("--from", "17900"):
                self.assert_refused("samples.bin", "export", run, "--to", format_, "-o", "out",
                                    *chosen)
                self.assert_nothing_is_left(run)

    def test_full_disk_is_one_line_that_names_the_file(self):
        # Values that cannot be packed well.
        run = self.record("chunk 65536\ngroup 0 x:1 y:1\nbegin\n" + "".join(
            f"write 0 {step} {math.sin(step)} {math.cos(step)}\n" for step in range(60000)) + "end\n")
        for arguments in (*((each,) for each in FORMATS), ("hdf5", "--compress"),
                          ("npz", "--compress")):
            result = subprocess.run(
                [COMMAND, "export", run, "-o", self.directory / "out", "--to", *arguments],
                capture_output=True, text=True, check=False,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (300000, 300000)))
            self.assertEqual((result.stdout, result.returncode), ("", 2), arguments)
            self.assertRegex(result.stderr, rf"\Alogging2: {self.directory}/out[^\n]*\n\Z")
            self.assertIn("File too large", result.stderr)
            self.assert_nothing_is_left(run)

    def test_full_output_is_an_error(self):
        run = self.record(many_steps(20000))
        with open("/dev/full", "w", encoding="utf-8") as full:
            result = self.run_command("export", run, "--to", "csv", stdout=full)
        self.assertEqual((result.stderr, result.returncode),
                         ("logging2: the output cannot be written\n", 2))

    def test_interrupted_export_leaves_nothing(self):
        run = self.record(many_steps(300000, signals=2))
        for format_ in FORMATS:
            with subprocess.Popen([COMMAND, "export", run, "--to", format_, "-o",
                                   self.directory / "out"],
                                  stderr=subprocess.PIPE, text=True) as process:
                while len(list(self.directory.iterdir())) == 1 and process.poll() is None:
                    pass
                process.send_signal(signal.SIGINT)
                _, message = process.communicate()
            self.assertEqual((process.returncode, message), (130, "logging2: interrupted\n"))
            self.assert_nothing_is_left(run)

    def test_what_may_only_be_read_is_exported(self):
        run = self.record(many_steps(100))
        for path in run.iterdir():
            path.chmod(0o444)
        own = self.directory / "own"
        own.mkdir()
        user = {}
        if os.geteuid() == 0:  # nothing holds root back, so another user exports
            user = {"user": 65534, "group": 65534, "extra_groups": []}
            os.chown(own, 65534, 65534)
        for path in self.directory, run:
            self.addCleanup(path.chmod, 0o755)
            path.chmod(0o555)
        for format_ in FORMATS:
            for target, status in (own / f"out-{format_}", 0), (self.directory / "out", 2):
                result = subprocess.run([COMMAND, "export", run, "--to", format_, "-o", target],
                                        capture_output=True, text=True, check=False, **user)
                self.assertEqual(result.returncode, status, result.stderr)
            self.assertEqual(result.stderr, f"logging2: {self.directory}/out: cannot be made: "
                                            "Permission denied\n")
        self.assert_nothing_is_left(run, own)

    def costs_of(self, *arguments):
        """How many bytes the command reads, and the greatest size of its memory in KiB."""
        with subprocess.Popen([COMMAND, *map(str, arguments)], stdout=subprocess.DEVNULL) as process:
            os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)
            with open(f"/proc/{process.pid}/io", encoding="ascii") as counts:
                read = int(counts.readline().split()[1])
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0)
        return read, usage.ru_maxrss

    def test_range_costs_what_it_keeps(self):
        run = self.record(many_steps(200000))
        for format_ in FORMATS:
            def export(name, *chosen):
                return self.costs_of("export", run, "--to", format_, "-o",
                                     self.directory / f"{format_}-{name}", *chosen)
            start, small_memory = export("none", "--from", "-2", "--until", "-1")
            part, _ = export("part", "--from", "150000", "--until", "151999")
            whole, large_memory = export("whole")
            self.assertGreater(whole - start, 6400000)
            self.assertLess(part - start, (whole - start) / 20)
            if MEASURES_MEMORY:
                self.assertLess(large_memory - small_memory, 8000)
