import os
import random
import shutil
import time

from commands import CommandTest

ROUNDS = 15
# With this variable, the test goes on for so long, each time with other damage; see scripts/fuzz.
SECONDS = os.environ.get("LOGGING2_FUZZ_SECONDS")

STEPS = "".join(f"write 0 {time} {10 * time} {-time}\nwrite 7 {time} {time % 3}\n"
                for time in range(400))
SETUP = "name demo\nchunk 4096\ngroup 0 x:1 y:1\ngroup 7 z:1\nbegin\n"
SCRIPTS = {
    "finished": SETUP + STEPS + "end\n",
    "killed": SETUP + STEPS + "show\n",
    "packed": "compress\n" + SETUP + STEPS + "end\n",
    "rolled back": (SETUP + STEPS + "show\nrollback 0 300\nshow\n" +
                    STEPS.replace("write 0 ", "write 0 9") + "end\n"),
}


def flip_bits(data, chance):
    for _ in range(chance.randint(1, 8)):
        data[chance.randrange(len(data))] ^= 1 << chance.randrange(8)


def overwrite(data, chance):
    start = chance.randrange(len(data))
    end = min(len(data), start + chance.choice([1, 8, 100, 5000]))
    data[start:end] = chance.choice([bytes(end - start), chance.randbytes(end - start)])


def cut(data, chance):
    del data[chance.randrange(len(data)):]


def remove(data, chance):
    start = chance.randrange(len(data))
    del data[start:start + chance.choice([1, 8, 4096])]


def append(data, chance):
    data += chance.randbytes(chance.choice([1, 64, 10000]))


def repeat(data, chance):
    start = chance.randrange(len(data))
    data += data[start:start + chance.choice([64, 4096, len(data)])]


class RandomDamageTest(CommandTest):
    """check and rescue, on recordings with random damage."""

    def setUp(self):
        super().setUp()
        self.sound = {kind: self.record(script) for kind, script in SCRIPTS.items()}
        self.rows = {kind: self.rows_of(run) for kind, run in self.sound.items()}

    def rows_of(self, run):
        return self.output_of("print", run, "--csv").splitlines()

    def damaged(self, kind, chance):
        """A damaged copy of a recording, and the names of the damaged files."""
        run = self.directory / "damaged.recording"
        shutil.copytree(self.sound[kind], run)
        files = [file for file in sorted(run.iterdir()) if file.stat().st_size > 0]
        victims = chance.sample(files, chance.randint(1, min(2, len(files))))
        for file in victims:
            data = bytearray(file.read_bytes())
            chance.choice([flip_bits, overwrite, cut, remove, append, repeat])(data, chance)
            file.write_bytes(data)
        return run, {file.name for file in victims}

    def expect_answers(self, kind, chance):
        run, victims = self.damaged(kind, chance)
        new = self.directory / "new"
        check = self.run_command("check", run)
        rescue = self.run_command("rescue", run, "-o", new)
        for result in check, rescue:
            self.assertIn(result.returncode, (0, 1, 2))
            self.assertRegex(result.stderr, r"\A(logging2: [^\n]+\n)?\Z")
            self.assertEqual(result.returncode == 2, result.stderr != "")
        self.assertNotEqual(check.returncode, 2)
        if check.returncode == 0:
            rows = self.rows_of(run)
            if "index.sqlite-wal" not in victims:
                self.assertEqual(rows, self.rows[kind])
        self.assertEqual(new.exists(), rescue.returncode != 2)
        if rescue.returncode != 2:
            self.output_of("check", new)
            self.expect_rows(kind, self.rows_of(new), rescue.returncode == 0)
            shutil.rmtree(new)
        if "samples.bin" not in victims:
            self.assertEqual(rescue.returncode, 0)
        shutil.rmtree(run)

    def expect_rows(self, kind, rows, is_complete):
        if is_complete:
            self.assertEqual(rows, self.rows[kind])
        elif kind != "rolled back":
            self.assertLessEqual(set(rows), set(self.rows[kind]))

    def test_answers_are_right_whatever_the_damage(self):
        end = time.monotonic() + float(SECONDS or 0)
        first = random.SystemRandom().randrange(10**9) if SECONDS else 0
        seed = first
        while seed < first + ROUNDS or time.monotonic() < end:
            for kind in SCRIPTS:
                with self.subTest(kind, seed=seed):
                    self.expect_answers(kind, random.Random(f"{kind} {seed}"))
            for rest in self.directory / "damaged.recording", self.directory / "new":
                shutil.rmtree(rest, ignore_errors=True)
            seed += 1
        print(f"{seed - first} rounds")
