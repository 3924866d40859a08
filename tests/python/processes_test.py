"""Threads, forked processes and the end of the interpreter."""

import gc
import os
import pickle
import shutil
import subprocess
import sys
import threading

import numpy as np
import pytest

import logging2


def in_fork(action):
    """What the action returns in a forked process, as a text."""
    end, other_end = os.pipe()
    child = os.fork()
    if child == 0:
        try:
            answer = str(action())
        except Exception as error:  # pylint: disable=broad-exception-caught
            answer = f"{type(error).__name__}: {error}"
        os.write(other_end, answer.encode())
        os._exit(0)
    os.close(other_end)
    with os.fdopen(end) as answer:
        text = answer.read()
    assert os.waitpid(child, 0)[1] == 0
    return text


def python(program, *arguments):
    """The exit status and the standard error of a program in Python."""
    result = subprocess.run([sys.executable, "-c", program, *map(str, arguments)], check=False,
                            capture_output=True, text=True, timeout=120)
    return result.returncode, result.stderr


def test_forked_process_opens_the_run_again(demo):
    run = logging2.open(demo)
    signal = run["x"]
    assert in_fork(lambda: signal[3:5].values.tolist()) == "[30.0, 40.0]"
    assert in_fork(lambda: len(run.to_pandas("x"))) == "100"
    assert in_fork(lambda: pickle.loads(pickle.dumps(signal)).at(1.5)) == "15.0"
    run.close()
    assert in_fork(signal.read) == "ValueError: the run is closed"


def twice(action):
    """An action that is tried twice, and returns what each attempt returned or raised."""

    def attempt():
        try:
            return action()
        except (logging2.RecordingError, ValueError) as error:
            return f"{type(error).__name__}: {error}"

    return lambda: f"{attempt()}, {attempt()}"


@pytest.fixture
def live(tmp_path):
    """A writer of a recording with two steps that readers see."""
    writer = logging2.Writer("recording", groups=[["x"]], directory=tmp_path, held_back_steps=0)
    for time in (1.0, 2.0):
        writer.write(0, time, [time])
    writer.flush_intermediate()
    return writer


def test_forked_process_does_not_see_another_revision(live):
    run = logging2.open(live.location)
    live.rollback(0, 1.0)
    live.flush()
    assert in_fork(twice(run["x"].read)).count("RecordingError") == 2
    assert run["x"].values.tolist() == [1, 2]


def test_forked_process_does_not_see_another_run(live, demo):
    run = logging2.open(live.location)
    pickled = pickle.dumps(run)
    live.flush()
    shutil.rmtree(live.location)
    assert in_fork(twice(run["x"].read)).count("RecordingError") == 2
    os.rename(demo, live.location)
    assert in_fork(twice(run["x"].read)).count("another run") == 2
    with pytest.raises(logging2.RecordingError, match="another run"):
        pickle.loads(pickled)
    assert run["x"].values.tolist() == [1, 2]


def test_forked_process_sees_newer_steps_also_in_old_signals(live):
    signal = logging2.open(live.location)["x"]
    assert signal.values.size == 2
    live.write(0, 3.0, [3.0])
    live.flush()
    assert in_fork(lambda: (signal.values.tolist(), len(signal))) == "([1.0, 2.0, 3.0], 3)"


def test_working_directory_may_change_before_a_run_is_opened_again(demo, monkeypatch):
    monkeypatch.chdir(os.path.dirname(demo))
    run = logging2.open(os.path.basename(demo))
    monkeypatch.chdir("/")
    assert run.location == os.path.basename(demo)
    assert in_fork(lambda: len(run["x"].values)) == "100"
    assert len(pickle.loads(pickle.dumps(run))["x"].values) == 100


def test_threads_of_a_forked_process_wait_until_the_run_is_open(demo, monkeypatch):
    run = logging2.open(demo)

    def read_while_it_is_opened():
        core_run = logging2._core.Run
        outcomes = []

        def open_slowly(location):
            other.start()
            other.join(0.1)  # It is not to end meanwhile.
            outcomes.append("open")
            return core_run(location)

        other = threading.Thread(target=lambda: outcomes.append(len(run["x"].read().values)))
        monkeypatch.setattr(logging2._core, "Run", open_slowly)
        outcomes.append(len(run["p"].read().values))
        other.join()
        return outcomes

    assert in_fork(read_while_it_is_opened) == "['open', 100, 100]"


def in_fork_while_held(lock, action):
    """What the action returns in a process that is forked while another thread holds the lock."""
    held, done = threading.Event(), threading.Event()

    def hold():
        with lock:
            held.set()
            done.wait()

    thread = threading.Thread(target=hold)
    thread.start()
    held.wait()
    try:
        return in_fork(action)
    finally:
        done.set()
        thread.join()


def test_forked_process_inherits_no_lock(demo):
    run = logging2.open(demo)
    for lock in run._lock, logging2.Run._reopening:
        assert in_fork_while_held(lock, lambda: len(run["x"].values)) == "100"


def test_forked_process_cannot_use_a_run_in_memory():
    writer = logging2.Writer("columnar", groups=[["x"]])
    writer.write(0, 0.0, [1.0])
    message = "ValueError: the run belongs to the parent of this process"
    for run in writer.run(), writer.snapshot(0, 1):
        for call in (run.refresh, run["x"].read, lambda run=run: run["x"].values, run._open.info):
            assert in_fork_while_held(run._lock, call) == message
        assert run["x"].values.tolist() == [1]


@pytest.mark.parametrize("backend", ["memory", "native", "columnar", "recording"])
def test_forked_process_cannot_use_the_writer(backend, tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    options = {"directory": tmp_path} if backend == "recording" else {}
    holder = [logging2.Writer(backend, groups=[["x"]], **options)]
    holder[0].write(0, 0.0, [1.0])
    for call in (holder[0].flush, holder[0].flush_intermediate, lambda: holder[0].write(0, 1.0, [2.0])):
        assert in_fork(call) == "ValueError: the writer belongs to the parent of this process"

    def destroy():
        holder.clear()
        return gc.collect() >= 0

    assert in_fork(destroy) == "True"
    writer = holder[0]
    writer.flush()
    assert [part.tolist() for part in writer.read("x")] == [[0.0], [1.0]]


def test_threads_see_whole_states_while_the_run_changes(tmp_path):
    writer = logging2.Writer("recording", groups=[{"x": 1, "p": 2}], directory=tmp_path,
                             held_back_steps=0)
    writer.write(0, 0.0, [0.0, 0.0, 0.0])
    writer.flush_intermediate()
    run = logging2.open(writer.location)
    signals = [run["x"], run["p"]]
    faults = []
    done = threading.Event()

    def read():
        while not done.is_set():
            try:
                for signal in signals:
                    part = signal[-5:]
                    last = part.values.reshape(len(part.times), -1)[:, 0]
                    np.testing.assert_array_equal(last, part.times)
                    samples = signal.read()
                    assert len(samples.times) == len(samples.values)
                assert run.to_pandas().notna().all(axis=None)
                run["x"].at(0.0)
            except Exception as error:  # pylint: disable=broad-exception-caught
                faults.append(error)
                return

    threads = [threading.Thread(target=read) for _ in range(3)]
    for thread in threads:
        thread.start()
    for round_number in range(60):
        for step in range(1, 10):
            writer.write(0, float(step), [step, step, step])
        writer.flush_intermediate()
        run.refresh()
        writer.rollback(0, float(round_number % 3))
        writer.flush_intermediate()
        run.refresh()
    done.set()
    for thread in threads:
        thread.join()
    assert not faults
    writer.flush()


def test_closing_in_another_thread_ends_reads_with_an_error(record):
    location = record([["x"]], [(0, step, [step]) for step in range(140000)])
    for _ in range(10):
        run = logging2.open(location)
        outcomes = []

        def read(run=run, outcomes=outcomes):
            try:
                outcomes.append(run["x"].read().values.sum())
            except ValueError as error:
                outcomes.append(str(error))

        threads = [threading.Thread(target=read) for _ in range(4)]
        for thread in threads:
            thread.start()
        run.close()
        for thread in threads:
            thread.join()
        assert set(outcomes) <= {"the run is closed", np.arange(140000.0).sum()}
        assert len(outcomes) == 4


DAEMON = """
import logging2, sys, threading, time
writer = logging2.Writer("memory", groups=[["x"]])
started = threading.Event()
def write():
    step = 0
    while True:
        writer.write(0, step, [step])
        started.set()
        step += 1
for _ in range(3):
    threading.Thread(target=write, daemon=True).start()
started.wait()
"""


def test_daemon_threads_do_not_disturb_the_end():
    assert [python(DAEMON) for _ in range(5)] == [(0, "")] * 5


OPEN_AT_THE_END = """
import logging2, sys
writer = logging2.Writer("recording", groups=[["x"]], directory=sys.argv[1])
writer.myself = writer
for step in range(100):
    writer.write(0, step, [step])
sys.exit(int(sys.argv[2]))
"""


@pytest.mark.parametrize("status", [0, 3])
def test_end_of_the_interpreter_keeps_the_steps(tmp_path, status):
    assert python(OPEN_AT_THE_END, tmp_path, status) == (status, "")
    run = next(logging2.runs(tmp_path))
    assert (run.state, len(run["x"])) == ("interrupted", 100)


FULL_BUFFER = """
import logging2, numpy, os
groups = [[f"s{number}" for number in range(2000)]]
row = numpy.ones(2000)
def log():
    with logging2.Writer("native", groups=groups) as writer:
        for step in range(5000):
            writer.write(0, step, row)
        raise KeyError("rejected")
try:
    log()
except KeyError:
    print(sum(name.endswith("_times_0") for *_, names in os.walk(os.environ["TMPDIR"])
              for name in names))
"""


def test_exception_passes_an_unflushed_native_writer(tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    result = subprocess.run([sys.executable, "-c", FULL_BUFFER], check=False, capture_output=True,
                            text=True, timeout=120)
    assert (result.returncode, result.stdout, result.stderr) == (0, "1\n", "")


IN_A_STRANGE_DIRECTORY = r"""
import logging2, os, sys
directory = os.path.join(os.fsencode(sys.argv[1]), b"\303\251")
with logging2.Writer("recording", groups=[["x"]], directory=directory) as writer:
    writer.write(0, 0.0, [1.0])
assert sys.getfilesystemencoding() != "utf-8"
assert logging2.open(writer.location).name == next(logging2.runs(directory)).name
"""


def test_locations_have_the_encoding_of_file_names(tmp_path, monkeypatch):
    for name, value in ("LC_ALL", "C"), ("PYTHONCOERCECLOCALE", "0"), ("PYTHONUTF8", "0"):
        monkeypatch.setenv(name, value)
    assert python(IN_A_STRANGE_DIRECTORY, tmp_path) == (0, "")


def test_other_threads_go_on_while_a_read_waits(demo):
    run = logging2.open(demo)
    gate = threading.Lock()
    seen = []

    def go_on():
        with gate:
            seen.append(True)

    interval = sys.getswitchinterval()
    with gate:
        thread = threading.Thread(target=go_on)
        thread.start()
        sys.setswitchinterval(1000)  # now only who releases the lock of the interpreter passes it on
    for _ in range(10000):
        run["x"].read()
        if seen:
            break
    was_seen = bool(seen)
    sys.setswitchinterval(interval)
    thread.join()
    assert was_seen


def test_optional_modules_are_imported_on_demand_only(demo):
    script = (
        "import sys\n"
        "for name in ('pandas', 'xarray', 'matplotlib'): sys.modules[name] = None\n"
        "import logging2\n"
        "run = logging2.open(sys.argv[1])\n"
        "assert len(run['x'].read().values) == 100 and run._repr_html_()\n"
        "try: run.to_pandas('x')\n"
        "except ImportError: print('needs pandas')\n")
    result = subprocess.run([sys.executable, "-c", script, demo], capture_output=True, text=True,
                            check=False)
    assert (result.stderr, result.stdout) == ("", "needs pandas\n")
