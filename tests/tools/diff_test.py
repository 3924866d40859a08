import stat
from commands import CommandTest

REFERENCE = """group 0 x:1 valve:1
group 3 pos:3
begin
write 0 0 0 0
write 0 1 10 0
write 0 1 10 1
write 0 2 0 1
write 3 0 1 2 3
write 3 2 1 2 5
end
"""


def reference_with(old, new):
    assert old in REFERENCE
    return REFERENCE.replace(old, new)


class DiffTest(CommandTest):
    """diff."""

    def setUp(self):
        super().setUp()
        self.a = self.record(REFERENCE)

    def diff(self, b, *arguments, status=1):
        """What --json says about the reference and another recording."""
        return self.json_of("diff", self.a, b, *arguments, status=status)

    def signal(self, path, b, *arguments, status=1):
        signals = self.diff(b, *arguments, status=status)["signals"]
        (result,) = [signal for signal in signals if signal["path"] == path]
        return result

    def test_run_does_not_differ_from_itself(self):
        script = ("group 0 x:2 v:1\ngroup 1 late:1\nbegin\n"
                  "write 0 0 nan inf 1\nwrite 0 1 2 -inf 0.1\nwrite 0 1 3 nan 1e308\n"
                  "write 1 2 1\nwrite 1 1 2\nwrite 1 nan 3\nend\n")
        run = self.record(script)
        zero = "--relative", "0"
        for arguments in [], zero, [*zero, "--time-tolerance", "0.5"], [*zero, "--hold", "*"]:
            self.assertIn("0 of 3 signals differ\n", self.output_of("diff", run, run, *arguments))
        self.assertEqual(self.output_of("diff", run, run, "--exact"),
                         "0 of 3 signals differ\ncompared: the bits of all times and values\n")

    def test_table_shows_only_what_differs(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 1 1"))
        self.assertEqual(self.output_of("diff", self.a, run, status=1), (
            "SIGNAL  FIRST  STEP  LARGEST  AT  ALLOWED  OUTSIDE  NOTE\n"
            "x           2     3        1   2     0.01   49.5 %\n"
            "\n"
            "1 of 3 signals differs\n"
            "allowed: absolute 0, relative 0.001 of the range in A, time 0\n"))

    def test_json_says_everything_about_each_signal(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 1 1"))
        result = self.diff(run, "--absolute", "0.5", "--time-tolerance", "0.125")
        self.assertEqual(result["schema"], 1)
        self.assertEqual((result["a"], result["b"]), (str(self.a), str(run)))
        self.assertEqual((result["method"], result["differs"]), ("tube", True))
        self.assertEqual((result["signalCount"], result["differenceCount"]), (3, 1))
        self.assertEqual((result["missing"], result["added"], result["widths"]), ([], [], []))
        self.assertEqual(result["tolerance"], {"absolute": 0.5, "relative": 0.001, "time": 0.125})
        x, valve, pos = result["signals"]
        self.assertEqual(x, {
            "path": "x", "differs": True, "method": "linear", "timesAscend": True, "element": 0,
            "first": {"time": 2.0, "stepA": 3, "stepB": 3}, "largest": 1.0, "largestAt": 2.0,
            "allowed": 0.5, "share": 0.025, "shareOf": "time", "timesDiffer": False,
            "nanDiffers": False,
            "a": {"steps": 4, "firstTime": 0.0, "lastTime": 2.0, "nan": 0},
            "b": {"steps": 4, "firstTime": 0.0, "lastTime": 2.0, "nan": 0},
            "tolerance": {"absolute": 0.5, "relative": 0.001, "time": 0.125}})
        self.assertEqual((valve["differs"], valve["first"], valve["largestAt"]),
                         (False, None, None))
        self.assertEqual(pos["allowed"], 0.5)

    def test_missing_and_added_signals_and_widths_differ(self):
        run = self.record(REFERENCE.replace("valve:1", "velo:1").replace("pos:3", "pos:2")
                          .replace("write 3 0 1 2 3", "write 3 0 1 2")
                          .replace("write 3 2 1 2 5", "write 3 2 1 2"))
        result = self.diff(run)
        self.assertEqual((result["missing"], result["added"]), (["valve"], ["velo"]))
        self.assertEqual(result["widths"], [{"path": "pos", "widthA": 3, "widthB": 2}])
        self.assertEqual(result["differenceCount"], 3)
        text = self.output_of("diff", self.a, run, status=1)
        self.assertRegex(text, r"valve +missing: only in A\n")
        self.assertRegex(text, r"velo +added: only in B\n")
        self.assertRegex(text, r"pos +A has 3 elements, B 2\n")
        self.assertIn("3 of 4 signals differ\n", text)

    def test_worst_element_is_named(self):
        run = self.record(reference_with("write 3 2 1 2 5", "write 3 2 1.25 2 8"))
        pos = self.signal("pos", run)
        self.assertEqual((pos["element"], pos["largest"]), (2, 3.0))
        self.assertIn("\npos[2] ", self.output_of("diff", self.a, run, status=1))

    def test_sparse_result_passes_and_missing_spike_fails(self):
        dense = "group 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {2 * time}\n" for time in range(9)) + "end\n"
        spike = self.record(dense.replace("write 0 4 8", "write 0 4 0"))
        dense = self.record(dense)
        sparse = self.record("group 0 x:1\nbegin\nwrite 0 0 0\nwrite 0 8 16\nend\n")
        for arguments in (dense, sparse), (sparse, dense):
            self.output_of("diff", *arguments)
        for arguments in (spike, sparse), (sparse, spike):
            self.output_of("diff", *arguments, status=1)

    def test_shifted_event_needs_the_time_tolerance(self):
        run = self.record(REFERENCE.replace("write 0 1 10", "write 0 1.25 10"))
        self.assertTrue(self.signal("valve", run)["differs"])
        self.output_of("diff", self.a, run, "--time-tolerance", "0.25")
        self.assertTrue(self.signal("valve", run, "--time-tolerance", "0.2")["differs"])

    def test_held_signals_keep_their_value_until_the_next_step(self):
        run = self.record(reference_with("write 0 1 10 0\n", ""))
        self.assertTrue(self.signal("valve", run)["differs"])
        valve = self.signal("valve", run, "--hold", "v*", "--hold", "x", status=0)
        self.assertEqual((valve["method"], valve["differs"]), ("hold", False))

    def test_exact_finds_one_bit(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 -0.0 1"))
        self.output_of("diff", self.a, run)
        x = self.signal("x", run, "--exact")
        self.assertEqual((x["method"], x["first"], x["share"], x["shareOf"]),
                         ("exact", {"time": 2.0, "stepA": 3, "stepB": 3}, 0.25, "steps"))
        self.assertIn("compared: the bits of all times and values\n",
                      self.output_of("diff", self.a, run, "--exact", status=1))

    def test_exact_finds_other_times_and_lengths(self):
        run = self.record(reference_with("write 0 2 0 1\n", "write 0 2.5 0 1\nwrite 0 3 0 1\n"))
        x = self.signal("x", run, "--exact")
        self.assertEqual((x["first"]["time"], x["timesDiffer"]), (2.0, True))
        self.assertRegex(self.output_of("diff", self.a, run, "--exact", status=1),
                         r"x .*times differ; A has 4 steps, B 5\n")

    def test_other_length_nan_and_infinity_are_shown(self):
        run = self.record(reference_with("write 0 2 0 1\n", "write 0 1.5 nan inf\n"))
        text = self.output_of("diff", self.a, run, status=1)
        self.assertRegex(text, r"x .* A has 0 to 2, B 0 to 1.5; A has 0 NaN, B 1\n")
        self.assertRegex(text, r"valve +1.5 +2 +inf +1.25 ")
        self.assertTrue(self.signal("x", run)["nanDiffers"])
        self.assertEqual(self.signal("valve", run)["largest"], "Infinity")

    def test_tolerance_is_relative_to_the_finite_range_of_the_reference(self):
        a = self.record("group 0 x:1\nbegin\nwrite 0 0 0\nwrite 0 1 inf\nwrite 0 2 4\nend\n")
        b = self.record("group 0 x:1\nbegin\nwrite 0 0 0\nwrite 0 1 inf\nwrite 0 2 8\nend\n")
        for first, second, allowed in (a, b, 4), (b, a, 8):
            (x,) = self.json_of("diff", first, second, "--relative", "1")["signals"]
            self.assertEqual((x["allowed"], x["largest"]), (allowed, 4))

    def test_times_that_do_not_ascend_are_compared_exactly(self):
        script = "group 0 x:1\nbegin\nwrite 0 2 1\nwrite 0 1 2\nwrite 0 nan 3\nend\n"
        a, b = self.record(script), self.record(script.replace("nan 3", "nan 3.0001"))
        said = "1 signal was compared bit by bit, because times do not ascend or are not finite\n"
        self.assertIn(said, self.output_of("diff", a, a))
        text = self.output_of("diff", a, b, "--absolute", "1", status=1)
        self.assertIn("times do not ascend, so bit by bit\n", text)
        (x,) = self.json_of("diff", a, b, status=1)["signals"]
        self.assertEqual((x["method"], x["timesAscend"], x["shareOf"]), ("exact", False, "steps"))

    def test_only_times_within_the_range_are_compared(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 0 5"))
        self.output_of("diff", self.a, run, "--to", "0.5")
        self.output_of("diff", self.a, run, "--from", "1.5", status=1)
        sparse = self.record("group 0 x:1\nbegin\nwrite 0 0 0\nwrite 0 1 10\nwrite 0 2 0\nend\n")
        arguments = "--ignore", "valve", "--ignore", "pos"
        self.output_of("diff", self.a, sparse, *arguments, "--from", "0.5", "--to", "1.75")
        self.output_of("diff", self.a, sparse, *arguments, "--from", "0.5", "--to", "1.75",
                       "--exact", status=1)

    def test_time_tolerance_reaches_beyond_the_range(self):
        script = "group 0 x:1\nbegin\nwrite 0 0 1\nwrite 0 1 1\nwrite 0 1 0\nwrite 0 2 0\nend\n"
        a, b = self.record(script), self.record(script.replace("write 0 1 ", "write 0 1.125 "))
        near = "--time-tolerance", "0.125"
        self.output_of("diff", a, b, "--from", "1.0625", *near)
        self.output_of("diff", a, b, "--to", "1.0625", *near)
        self.output_of("diff", a, b, "--from", "1.0625", status=1)

    def test_unordered_times_outside_the_range_are_compared_exactly(self):
        a = self.record("group 0 x:1\nbegin\nwrite 0 0 1\nwrite 0 5 1\nwrite 0 6 1\n"
                        "write 0 1 2\nwrite 0 nan 3\nend\n")
        (x,) = self.json_of("diff", a, a, "--from", "0.5", "--to", "2")["signals"]
        self.assertEqual((x["method"], x["timesAscend"], x["a"]["steps"]), ("exact", False, 1))

    def test_ignored_signals_do_not_count(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 1 1").replace("pos", "p"))
        result = self.diff(run, "--ignore", "p*", "--ignore", "x", status=0)
        self.assertEqual([signal["path"] for signal in result["signals"]], ["valve"])

    def test_file_gives_tolerances_for_each_pattern(self):
        run = self.record(reference_with("write 0 2 0 1", "write 0 2 2 1.5"))
        file = self.directory / "tolerances"
        file.write_text("# of this model\n* absolute=1\nx relative=0.3  # all of it\n")
        result = self.diff(run, "--tolerances", file, "--time-tolerance", "0.125", status=0)
        self.assertEqual([signal["tolerance"] for signal in result["signals"]], [
            {"absolute": 0, "relative": 0.3, "time": 0.125},
            {"absolute": 1, "relative": 0.001, "time": 0.125},
            {"absolute": 1, "relative": 0.001, "time": 0.125}])
        self.assertIn("time 0; others in tolerances\n", self.output_of(
            "diff", self.a, run, "--tolerances", "tolerances"))
        file.write_text("valve relative=0.002\n")
        self.assertRegex(
            self.output_of("diff", self.a, run, "--tolerances", "tolerances", status=1),
            r"valve .* allowed: absolute 0, relative 0.002 of the range in A, time 0\n")

    def test_wrong_line_of_a_file_is_named(self):
        for text, message in (
                ("x absolute=1\ny", "t:2: there is no tolerance after the pattern \"y\""),
                ("x time=soon", "t:1: \"soon\" is not a number of at least 0"),
                ("\n\nx rel=1", "t:3: \"rel=1\" is neither absolute=NUMBER"),
                ("x time=1 time=2", "t:1: time is given twice")):
            (self.directory / "t").write_text(text)
            self.assert_refused(message, "diff", self.a, self.a, "--tolerances", "t")
        self.assert_refused("none: cannot be opened", "diff", self.a, self.a,
                            "--tolerances", "none")
        self.assert_refused(".: cannot be read", "diff", self.a, self.a, "--tolerances", ".")

    def test_runs_are_chosen_in_directories(self):
        ids = [self.json_of("info", self.simulate())["id"] for _ in range(2)]
        self.output_of("diff", "runs", "runs", "--run-a", ids[0][:8], "--run-b", "latest")
        self.assert_refused("choose one with --run-b ID or --run-b latest",
                            "diff", "runs", "runs", "--run-a", "latest")
        self.assert_refused("no run has an id", "diff", "runs", "runs", "--run-a", "xyz")
        self.assert_refused("2 recordings; choose one with --run-a", "diff", "runs", self.a)

    def test_wrong_usage_is_one_line(self):
        self.assert_refused("B is required", "diff", self.a)
        self.assert_refused("missing", "diff", self.a, "missing")
        self.assert_refused("missing", "diff", "missing", self.a)
        for option in "--absolute", "--relative", "--time-tolerance":
            for number in "-1", "nan", "inf", "much":
                self.assert_refused("is not a number of at least 0", "diff", self.a, self.a,
                                    f"{option}={number}")
            self.assert_refused("--exact", "diff", self.a, self.a, option, "1", "--exact")
        self.assert_refused("--exact", "diff", self.a, self.a, "--tube", "--exact")
        self.assert_refused("--exact", "diff", self.a, self.a, "--hold", "x", "--exact")
        for option in "--hold", "--ignore":
            self.assert_refused('no signal matches "y"', "diff", self.a, self.a, option, "y")

    def test_help_lists_the_command_and_its_options(self):
        self.assertIn("diff", self.output_of("--help"))
        for option in "--run-a", "--exact", "--time-tolerance", "--tolerances", "--json":
            self.assertIn(option, self.output_of("diff", "--help"))

    def test_comparison_of_nothing_is_an_error(self):
        self.assert_refused("there is no signal to compare", "diff", self.a, self.a,
                            "--ignore", "*")
        self.assert_refused("no signal that both runs have has a step between --from and --to",
                            "diff", self.a, self.a, "--from", "3")
        self.assert_refused("contains no time", "diff", self.a, self.a, "--from", "3", "--to", "2")

    def test_damaged_recording_is_an_error(self):
        run = self.record(REFERENCE)
        samples = run / "samples.bin"
        samples.chmod(samples.stat().st_mode | stat.S_IWUSR)
        samples.write_bytes(samples.read_bytes()[:-100])
        self.assert_refused("samples.bin", "diff", self.a, run)
