import shutil
import subprocess
from random import Random

from commands import COMMAND, CommandTest

SCRIPT = "name demo\nchunk 4096\ngroup 0 x:1 y:1\nbegin\n" + "".join(
    f"write 0 {time} {10 * time} {-time}\n" for time in range(1000))
SHRINKING = "show\nrollback 0 499\n"


class RepairTest(CommandTest):
    """check, rescue and copy."""

    def damage(self, run, offset):
        with open(run / "samples.bin", "r+b") as data:
            data.seek(offset)
            byte = data.read(1)[0]
            data.seek(offset)
            data.write(bytes([byte ^ 1]))

    def values_of(self, run):
        return self.output_of("print", run, "--csv")

    def test_check_accepts_a_whole_run(self):
        for script in SCRIPT, SCRIPT + SHRINKING, SCRIPT + "end\n":
            run = self.record(script)
            result = self.json_of("check", run)
            self.assertEqual((result["state"], result["findings"]), ("whole", []))
            self.assertIn(": whole, ", self.output_of("check", run))

    def test_check_of_a_running_run_succeeds(self):
        process, run = self.recorder(SCRIPT + "show\n")
        self.assertEqual(self.json_of("check", run)["state"], "whole")
        process.stdin.write("end\n")

    def test_check_finds_a_flipped_bit(self):
        run = self.record(SCRIPT + "end\n")
        self.damage(run, 20000)
        result = self.json_of("check", run, status=1)
        self.assertEqual(result["state"], "damaged")
        self.assertEqual(result["findingCount"], len(result["findings"]))
        self.assertIn("samples.bin", result["findings"][0])
        self.assertIn("damaged", self.output_of("check", run, status=1))

    def test_check_changes_nothing(self):
        run = self.record(SCRIPT)
        before = {file.name: file.read_bytes() for file in run.iterdir()}
        self.output_of("check", run)
        self.assertEqual({file.name: file.read_bytes() for file in run.iterdir()}, before)

    def test_rescue_restores_a_run_without_its_index(self):
        run = self.record(SCRIPT + SHRINKING + "end\n")
        expected = self.values_of(run)
        (run / "index.sqlite").unlink()
        result = self.json_of("rescue", run, "-o", "new")
        self.assertEqual((result["state"], result["steps"]), ("complete", 500))
        self.assertEqual(self.values_of("new"), expected)
        self.output_of("check", "new")

    def test_rescue_tells_what_is_lost(self):
        run = self.record(SCRIPT + "end\n")
        self.damage(run, 20000)
        result = self.json_of("rescue", run, "-o", "new", status=1)
        self.assertEqual(result["state"], "incomplete")
        lost = sum(each["steps"] for each in result["lostSteps"])
        self.assertGreater(lost, 0)
        self.assertEqual(result["steps"] + lost, 1000)
        self.assertRegex(self.output_of("rescue", run, "-o", "text", status=1),
                         r"\Alost: \d+ steps of group 0, from step \d+ on\n")

    def test_rescue_overwrites_nothing(self):
        run = self.record(SCRIPT + "end\n")
        before = (run / "samples.bin").read_bytes()
        self.assert_refused(run.name, "rescue", run, "-o", run)
        self.assertEqual((run / "samples.bin").read_bytes(), before)

    def test_copy_holds_the_same_samples(self):
        run = self.record(SCRIPT + SHRINKING + "end\n")
        self.output_of("copy", run, "-o", "plain")
        self.output_of("copy", run, "-o", "packed", "--compress")
        self.assertEqual(self.values_of("plain"), self.values_of(run))
        self.assertEqual(self.values_of("packed"), self.values_of(run))
        self.assertLess((self.directory / "packed/samples.bin").stat().st_size,
                        (self.directory / "plain/samples.bin").stat().st_size)

    def test_copies_of_a_packed_run_stay_packed(self):
        run = self.record(SCRIPT + SHRINKING + "end\n")
        packed = self.json_of("copy", run, "-o", "packed", "--compress")["bytes"]
        self.assertEqual(self.json_of("copy", "packed", "-o", "again")["bytes"], packed)
        self.assertEqual(self.json_of("compact", "packed")["bytes"], packed)

    def test_copies_stay_packed_if_only_times_are(self):
        random = Random(1)
        steps = [f"write 0 {time} {random.uniform(1, 2) * 10**random.randrange(300)}\n"
                 for time in range(4000)]
        run = self.record("compress\nname demo\ngroup 0 x:1\nbegin\n" + "".join(steps)
                          + "show\nrollback 0 1000\nend\n")
        packed = self.json_of("copy", run, "-o", "packed", "--compress")["bytes"]
        self.assertEqual(self.json_of("copy", run, "-o", "again")["bytes"], packed)
        self.assertEqual(self.json_of("compact", run)["bytes"], packed)

    def test_copy_of_a_running_run_is_interrupted(self):
        process, run = self.recorder(SCRIPT + "show\n")
        self.output_of("copy", run, "-o", "copy")
        self.assertEqual(self.json_of("info", "copy")["state"], "interrupted")
        self.assertEqual(self.values_of("copy"), self.values_of(run))
        process.stdin.write("end\n")

    def test_interrupted_copy_leaves_nothing(self):
        run = self.record("chunk 4096\ngroup 0 x:1\nbegin\n" + "".join(
            f"write 0 {time} {time}\n" for time in range(300000)) + "end\n")
        with subprocess.Popen([COMMAND, "copy", run, "-o", self.directory / "copy"],
                              stderr=subprocess.PIPE, text=True) as process:
            process.send_signal(2)
            _, message = process.communicate()
        if process.returncode != -2:  # it came before the command was ready for it
            self.assertEqual((process.returncode, message), (130, "logging2: interrupted\n"))
        self.assertEqual([entry.name for entry in self.directory.iterdir()], [run.name])

    def test_damaged_run_is_not_copied(self):
        run = self.record(SCRIPT + "end\n")
        self.damage(run, 20000)
        self.assert_refused("samples.bin", "copy", run, "-o", "copy")
        self.assertFalse((self.directory / "copy").exists())
        shutil.rmtree(run)
