"""Runs each contender in a process of its own and merges the results into one file.

A contender that follows another one in the same process would get memory that the other has freed."""

import argparse
import json
import os
import platform
import random
import subprocess
import sys
import tempfile
from pathlib import Path

from benchmarks.compare import questions as data
from benchmarks.compare.questions import Question

Pair = tuple[str, str]  # contender, workload


def repetitions_of(questions: list[Question], most: int) -> dict[Pair, int]:
    """How often each contender runs on each workload: the greatest number that any question
    wants."""
    wanted: dict[Pair, int] = {}
    for question in questions:
        for entry in question.entries:
            count = min(most, question.most_repetitions or most)
            if entry.contender in data.ROW_FRACTIONS:
                count = min(count, data.MOST_REPETITIONS_OF_SLOW_ONES)
            for workload in question.workloads:
                pair = (entry.contender, workload)
                wanted[pair] = max(wanted.get(pair, 0), count)
    return wanted


def rounds_of(wanted: dict[Pair, int]) -> list[list[Pair]]:
    """Each round has every pair at most once. Contenders on the same workload, which are compared,
    follow each other. The order differs from round to round and is the same in every run."""
    rounds = []
    for index in range(max(wanted.values(), default=0)):
        order = random.Random(index)
        workloads = sorted({workload for _, workload in wanted})
        order.shuffle(workloads)
        pairs = []
        for workload in workloads:
            contenders = sorted(pair for pair, count in wanted.items()
                                if pair[1] == workload and count > index)
            order.shuffle(contenders)
            pairs += contenders
        rounds.append(pairs)
    return rounds


def run_pair(program: str, pair: Pair, scale: float, kept: str) -> tuple[dict, dict]:
    """Runs one contender on one workload; returns Google Benchmark's context and the run."""
    contender, workload = pair
    fraction = 1 if pair in data.WHOLE else data.ROW_FRACTIONS.get(contender, 1)
    command = [program, f"--keep-files-in={kept}", f"--benchmark_filter=^{contender}/{workload}/",
               "--benchmark_format=json", f"--scale={scale * fraction}"]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    try:
        document = json.loads(done.stdout)
        [run] = document["benchmarks"]
        if done.returncode != 0 and not run.get("error_occurred"):
            raise ValueError
    except ValueError:
        document = {"context": {}}
        run = {"name": "/".join(pair), "error_occurred": True,
               "error_message": f"ended with status {done.returncode}: {done.stderr[-500:]}"}
    if run.get("error_occurred"):
        print(f"\n{contender} on {workload}: {run['error_message']}", file=sys.stderr)
    return document["context"], run


def measure(program: str, rounds: list[list[Pair]], scale: float, kept: str) -> dict:
    """Runs all rounds. The result has Google Benchmark's form. The directory `kept` gets the
    emptied files of all contenders."""
    context: dict = {}
    runs = []
    for index, pairs in enumerate(rounds):
        for done, pair in enumerate(pairs, start=1):
            if sys.stderr.isatty():
                progress = f"round {index + 1} of {len(rounds)}: {done} of {len(pairs)} "
                print(f"\r{progress}{'/'.join(pair):<60}", end="", file=sys.stderr)
            latest, run = run_pair(program, pair, scale, kept)
            context = context or latest
            runs.append({**run, "repetition_index": index})
    if sys.stderr.isatty():
        print(f"\r{'':<100}\r", end="", file=sys.stderr)
    context.pop("executable", None)
    return {"context": {**context, **machine_facts(), "scale": scale}, "benchmarks": runs}


def machine_facts() -> dict[str, str]:
    """Facts about a Linux machine that Google Benchmark does not report."""
    directory = os.environ.get("TMPDIR", "/tmp")
    file_system = subprocess.run(["df", "--output=fstype", directory], capture_output=True,
                                 text=True, check=True).stdout.split()[-1]
    return {"processor": _value_in("/proc/cpuinfo", "model name"),
            "memory": _value_in("/proc/meminfo", "MemTotal"),
            "system": f"{platform.system()} {platform.release()}",
            "file_system": file_system}


def _value_in(path: str, key: str) -> str:
    """The text after the key in a file with lines such as "model name : ..."."""
    lines = Path(path).read_text(encoding="utf-8").splitlines()
    return next((line.split(":", 1)[1].strip() for line in lines if line.startswith(key)),
                "unknown")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--program", required=True, help="has all contenders")
    parser.add_argument("--output", required=True, type=Path, help="the file of results")
    parser.add_argument("--scale", type=float, default=1, help="factor for the number of steps")
    parser.add_argument("--repetitions", type=int, default=5, help="of each contender")
    parser.add_argument("--workload", action="append", default=[], help="only this one")
    parser.add_argument("--question", action="append", default=[], help="only this one")
    options = parser.parse_args()
    chosen = data.questions_with(
        lambda question, workload: (not options.workload or workload in options.workload)
        and (not options.question or question.id in options.question))
    wanted = repetitions_of(chosen, options.repetitions)
    if not wanted:
        chosen_names = " or ".join(options.question + options.workload)
        parser.error(f"there is no question or workload {chosen_names}")
    with tempfile.TemporaryDirectory(prefix="kept-") as kept:
        document = measure(options.program, rounds_of(wanted), options.scale, kept)
    options.output.write_text(json.dumps(document, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
