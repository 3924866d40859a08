import json
import shutil
import socket

from commands import CommandTest

TWO_GROUPS = """name demo
property model spring
group 0 x:1 v.x:1
group 3 pair:2 empty:0
begin
write 0 0 1 -1
write 0 0.5 2.5 nan
write 3 0.25 10 20
write 3 0.5 30 inf
"""


class ShowTest(CommandTest):
    """list, info, signals and print."""

    def test_list_shows_the_newest_run_first(self):
        first = self.simulate("bouncing-ball")
        second = self.simulate("dc-motor")
        runs = self.json_of("list", "runs")
        self.assertEqual(runs["schema"], 1)
        self.assertEqual([run["name"] for run in runs["runs"]], ["dc-motor", "bouncing-ball"])
        self.assertEqual([run["location"] for run in runs["runs"]],
                         [f"runs/{second.name}", f"runs/{first.name}"])
        self.assertEqual(runs["runs"][1]["state"], "finished")
        self.assertEqual(runs["runs"][0]["groups"], 2)
        lines = self.output_of("list", "runs").splitlines()
        self.assertEqual(lines[0].split(), ["NAME", "ID", "STATE", "START", "DURATION", "GROUPS",
                                            "SIGNALS", "STEPS", "SIZE", "DIRECTORY"])
        self.assertTrue(lines[1].startswith("dc-motor       "))
        self.assertIn(runs["runs"][0]["id"][:8], lines[1])

    def test_list_marks_damaged_recordings(self):
        good = self.record(TWO_GROUPS + "end\n")
        bad = self.record(TWO_GROUPS + "end\n")
        (bad / "samples.bin").write_bytes(b"")
        runs = self.json_of("list", ".")["runs"]
        self.assertEqual([(run["location"], run["state"]) for run in runs],
                         [(f"./{good.name}", "finished"), (f"./{bad.name}", "damaged")])
        self.assertIn("samples.bin", runs[1]["fault"])
        result = self.run_command("list", ".")
        self.assertEqual(result.returncode, 0)
        self.assertIn("samples.bin", result.stderr)

    def test_list_of_an_empty_directory_says_so(self):
        result = self.run_command("list", ".")
        self.assertEqual((result.stdout, result.stderr, result.returncode),
                         ("", ".: there are no recordings\n", 0))
        self.assertEqual(self.json_of("list", "."), {"schema": 1, "runs": []})

    def test_info_shows_all_that_is_known(self):
        run = self.record(TWO_GROUPS + "end\n")
        info = self.json_of("info", run)
        self.assertEqual(info["schema"], 1)
        self.assertEqual(info["name"], "demo")
        self.assertEqual(info["state"], "finished")
        self.assertEqual(info["revision"], 0)
        self.assertEqual(info["properties"], {"model": "spring"})
        version = self.output_of("--version").split()[1]
        self.assertEqual((info["host"], info["libraryVersion"]), (socket.gethostname(), version))
        self.assertRegex(info["process"], r"\A\d+\Z")
        self.assertEqual(info["groups"], [
            {"id": 0, "steps": 2, "firstTime": 0.0, "lastTime": 0.5},
            {"id": 3, "steps": 2, "firstTime": 0.25, "lastTime": 0.5}])
        self.assertEqual(info["signals"][1], {
            "path": "v.x", "group": 0, "channel": 1, "width": 1, "steps": 2,
            "leastTime": 0.0, "greatestTime": 0.5, "least": [-1.0], "greatest": [-1.0],
            "nan": [1], "bytes": 16})
        text = self.output_of("info", run)
        self.assertIn("state:      finished\n", text)
        self.assertIn(f"host:       {info['host']}\nprocess:    {info['process']}\n"
                      f"library:    logging2 {version}\n", text)
        self.assertIn("property model = spring\n", text)

    def test_info_of_a_running_run_says_so(self):
        _, run = self.recorder(TWO_GROUPS)
        info = self.json_of("info", run)
        self.assertEqual((info["state"], info["end"]), ("running", None))

    def test_info_of_a_killed_run_says_that_its_end_is_unknown(self):
        text = self.output_of("info", self.record(TWO_GROUPS))
        self.assertIn("state:      interrupted\n", text)
        self.assertIn("end:        unknown\n", text)

    def test_signals_shows_ranges_and_signals_without_samples(self):
        run = self.record("group 0 x:1\ngroup 1 never:2\nbegin\nwrite 0 1 2\nwrite 0 3 -4\nend\n")
        self.assertEqual(self.output_of("signals", run), (
            "SIGNAL  GROUP  WIDTH  STEPS  FROM  TO  LEAST  GREATEST\n"
            "x           0      1      2     1   3     -4         2\n"
            "never       1      2      0\n"))

    def test_patterns_choose_and_exclude_signals(self):
        run = self.record(TWO_GROUPS + "end\n")

        def paths(*arguments):
            return [signal["path"] for signal in self.json_of("signals", run, *arguments)["signals"]]

        self.assertEqual(paths("x", "pair"), ["x", "pair"])
        self.assertEqual(paths("*x"), ["x", "v.x"])
        self.assertEqual(paths("*x", "--exclude", "v*"), ["x"])
        self.assertEqual(paths("--exclude", "?", "--exclude", "[p]*"), ["v.x", "empty"])
        for command in "signals", "print", "plot", "export", "watch":
            to = ["--to", "csv"] if command == "export" else []
            self.assert_refused(f'{run.name}: no signal matches "y"', command, run, "x", "y", *to)
            self.assert_refused(f"{run.name}: no signal is left", command, run, "x", "--exclude", "*", *to)
        for option in "--hold", "--ignore":
            self.assert_refused('A and B: no signal matches "y"', "diff", run, run, option, "y")

    def test_run_without_signals_is_named(self):
        run = self.record("group 0\nbegin\nend\n")
        self.assert_refused(f"{run.name}: the run has no signals", "print", run)

    def test_print_shows_one_group_after_the_other(self):
        run = self.record(TWO_GROUPS + "end\n")
        self.assertEqual(self.output_of("print", run, "--csv"), (
            "time,x,v.x\n0,1,-1\n0.5,2.5,nan\n"
            "\ntime,pair[0],pair[1]\n0.25,10,20\n0.5,30,inf\n"))
        self.assertEqual(self.output_of("print", run, "x"), (
            "                time                     x\n"
            "                   0                     1\n"
            "                 0.5                   2.5\n"))

    def test_print_merges_groups_by_time(self):
        run = self.record(TWO_GROUPS + "end\n")
        self.assertEqual(self.output_of("print", run, "--csv", "--merge", "x", "pair"), (
            "time,x,pair[0],pair[1]\n0,1,,\n0.25,,10,20\n0.5,2.5,30,inf\n"))

    def test_print_merges_repeated_and_unordered_times_in_order(self):
        run = self.record("group 0 a:1\ngroup 1 b:1\nbegin\n"
                          "write 0 1 1\nwrite 0 1 2\nwrite 0 0.5 3\n"
                          "write 1 1 10\nwrite 1 nan 20\nwrite 1 2 30\nend\n")
        self.assertEqual(self.output_of("print", run, "--csv", "--merge"), (
            "time,a,b\n1,1,10\nnan,,20\n1,2,\n0.5,3,\n2,,30\n"))

    def test_print_restores_every_double(self):
        values = [0.1, 1 / 3, 5e-324, -1.7976931348623157e308, -0.0]
        run = self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {value!r}\n" for time, value in enumerate(values)) + "end\n")
        lines = self.output_of("print", run, "--csv").splitlines()[1:]
        self.assertEqual([repr(float(line.split(",")[1])) for line in lines],
                         [repr(value) for value in values])

    def test_print_selects_times_and_every_nth_row(self):
        run = self.record("group 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {10 * time}\n" for time in range(100)) + "end\n")

        def times(*arguments):
            return [row[0] for row in self.json_of("print", run, *arguments)["tables"][0]["rows"]]

        self.assertEqual(times("--from", "3", "--to", "5"), [3, 4, 5])
        self.assertEqual(times("--every", "40"), [0, 40, 80])
        self.assertEqual(times("--from", "97.5"), [98, 99])
        self.assertEqual(times("--from", "200"), [])
        self.assert_refused(f"{run.name}: the range from 2 to 1 contains no time",
                            "print", run, "--from", "2", "--to", "1")
        self.assert_refused("--every", "print", run, "--every", "0")

    def test_json_has_texts_for_numbers_that_are_not_finite(self):
        run = self.record(TWO_GROUPS + "end\n")
        tables = self.json_of("print", run)["tables"]
        self.assertEqual(tables[0], {"columns": ["time", "x", "v.x"],
                                     "rows": [[0, 1, -1], [0.5, 2.5, "NaN"]]})
        self.assertEqual(tables[1]["rows"][1], [0.5, 30, "Infinity"])

    def test_json_of_a_damaged_run_is_whole(self):
        run = self.record("chunk 4096\ngroup 0 x:1\nbegin\nramp 0 1 300000 0\nend\n")
        with open(run / "samples.bin", "r+b") as data:
            data.seek(3000000)
            data.write(b"?" * 100)
        result = self.run_command("print", run, "--json")
        self.assertEqual(result.returncode, 2)
        self.assertIn("samples.bin", result.stderr)
        rows = json.loads(result.stdout)["tables"][0]["rows"]
        self.assertGreater(len(rows), 1000)
        self.assertEqual(rows[1000], [1000, 1000])

    def test_json_of_every_command_has_a_schema(self):
        run = self.record(TWO_GROUPS + "end\n")
        for words in (["list", "."], ["info", run], ["signals", run], ["print", run], ["plot", run],
                      ["watch", run], ["diff", run, run], ["diff", "--exact", run, run],
                      ["check", run], ["export", run, "-o", "new.npz"], ["copy", run, "-o", "copy"],
                      ["rescue", run, "-o", "rescued"], ["compact", run]):
            with self.subTest(words[0]):
                self.assertEqual(self.json_of(*words)["schema"], 1)

    def test_names_cannot_control_the_terminal(self):
        run = self.record("group 0 a\x1b[31mb:1\nbegin\nwrite 0 0 1\nend\n")
        for arguments in ("signals", run), ("print", run), ("info", run):
            self.assertIn(r"a\x1B[31mb", self.output_of(*arguments))

    def test_run_is_chosen_in_a_directory(self):
        first = self.simulate("bouncing-ball")
        self.simulate("dc-motor")
        name = self.json_of("info", first)["id"]
        self.assertEqual(self.json_of("info", "runs", "--run", "latest")["name"], "dc-motor")
        self.assertEqual(self.json_of("info", "runs", "--run", name[:7])["id"], name)
        self.assert_refused("2 recordings; choose one", "info", "runs")
        self.assert_refused("no run has an id", "info", "runs", "--run", "xyz")

    def test_latest_run_is_the_newest_one_also_if_it_is_damaged(self):
        for name, is_found in ("samples.bin", True), ("index.sqlite", True), ("both", False):
            first = self.record(TWO_GROUPS + "end\n")
            self.record(TWO_GROUPS + "end\n")
            newest = self.record(TWO_GROUPS + "end\n")
            run_id = self.json_of("info", newest)["id"]
            for file in newest.iterdir():
                if name in (file.name, "both"):
                    file.write_bytes(b"?" * 4096)
            for command in "info", "print", "watch":
                self.assert_refused(newest.name, command, ".", "--run", "latest")
            choices = ["latest", newest.name, newest.name[:-len(".recording")]]
            for choice in choices + ([run_id] if is_found else []):
                self.assertIn(f"{newest.name}: damaged",
                              self.output_of("check", ".", "--run", choice, status=1))
            if not is_found:
                self.assert_refused("no run has an id", "check", ".", "--run", run_id)
            for entry in self.json_of("list", ".")["runs"]:
                if newest.name in entry["location"]:
                    self.assertEqual(entry["id"], run_id if is_found else "")
            self.assertEqual(self.json_of("info", first)["name"], "demo")
            shutil.rmtree(newest)

    def test_damaged_run_is_rescued_by_its_id(self):
        run = self.record(TWO_GROUPS + "end\n")
        run_id = self.json_of("info", run)["id"]
        expected = self.output_of("print", run)
        (run / "index.sqlite").write_bytes(b"?")
        self.output_of("rescue", ".", "--run", run_id, "-o", "new")
        self.assertEqual(self.output_of("print", "new"), expected)

    def test_two_runs_with_the_same_id_are_refused(self):
        run = self.record(TWO_GROUPS + "end\n")
        shutil.copytree(run, self.directory / "copy.recording")
        self.assert_refused("more than one run has an id", "info", ".", "--run",
                            self.json_of("info", run)["id"])

    def test_unreadable_input_is_one_line_that_names_it(self):
        empty = self.directory / "empty.recording"
        empty.mkdir()
        self.assert_refused("missing", "info", "missing")
        self.assert_refused("empty.recording", "info", empty)
        self.assert_refused("missing", "list", "missing")

    def test_wrong_usage_is_one_line(self):
        self.assert_refused("subcommand is required")
        self.assert_refused("RUN is required", "info")
        self.assert_refused("--colour", "info", ".", "--colour")

    def test_unknown_command_is_named(self):
        self.assert_refused("there is no command shwo", "shwo", ".")
        self.assert_refused("there is no command lits", "native", "lits")

    def test_version_and_help_succeed(self):
        self.assertRegex(self.output_of("--version"), r"\Alogging2 \d+\.\d+\.\d+\n\Z")
        for command in "list", "info", "signals", "print", "check", "rescue", "copy", "compact":
            self.assertIn(command, self.output_of("--help"))
            self.assertIn("--json", self.output_of(command, "--help"))

    def test_full_disk_at_the_output_is_an_error(self):
        run = self.record(TWO_GROUPS + "end\n")
        with open("/dev/full", "w", encoding="utf-8") as full:
            result = self.run_command("print", run, stdout=full)
        self.assertEqual(result.returncode, 2)
        self.assertIn("output cannot be written", result.stderr)
