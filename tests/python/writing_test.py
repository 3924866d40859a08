import os
import pickle
from decimal import Decimal

import numpy as np
import pandas
import pytest

import logging2


def test_every_back_end_is_available_by_name():
    assert logging2.backends() == [
        "recording", "memory", "memory-restricted", "native", "columnar"]


@pytest.mark.parametrize("backend", logging2.backends())
def test_every_back_end_can_be_checked(backend, tmp_path, monkeypatch, capfd):
    monkeypatch.chdir(tmp_path)
    for _ in range(2):
        with logging2.Writer(f"checked:{backend}", groups=[{"x": 1, "p": 2}],
                             point_limit=10) as writer:
            writer.write(0, 1, [1, 2, 3])
        assert writer.read("p")[1].tolist() == [[2, 3]]
    forgotten = logging2.Writer(f"checked:{backend}", groups=[["x"]], name="forgotten")
    del forgotten
    assert 'DestroyedWithoutFlush "forgotten"' in capfd.readouterr().err
    assert f"checked:{backend}" not in logging2.backends()


def test_unknown_back_end_cannot_be_checked():
    for name in "checked:zzz", "checked:", "checked:*", "checked:checked:zzz":
        with pytest.raises(ValueError):
            logging2.Writer(name, groups=[["x"]])


@pytest.mark.parametrize("backend", ["memory", "columnar", "recording"])
def test_rollback_discards_later_steps(backend, tmp_path):
    options = {"directory": tmp_path} if backend == "recording" else {}
    with logging2.Writer(backend, groups=[{"x": 1, "p": 2}], **options) as writer:
        for time in range(6):
            writer.write(0, time, [time, 2 * time, 3 * time])
        writer.rollback(0, 3.5)
        writer.write(0, 3.75, np.array([9, 8, 7]))
    times, values = writer.read("p")
    assert times.tolist() == [0, 1, 2, 3, 3.75]
    assert values.tolist() == [[0, 0], [2, 3], [4, 6], [6, 9], [8, 7]]
    assert writer.read("x")[1].tolist() == [0, 1, 2, 3, 9]


def row_of(values, backend="columnar"):
    with logging2.Writer(backend, groups=[{"x": 2}]) as writer:
        writer.write(0, 0.0, values)
    return writer.read("x")[1].tolist()


def test_rows_are_numbers_of_every_type_that_becomes_doubles_safely():
    pair = np.array([1.5, 2.5])
    unaligned = np.frombuffer(b"." + pair.tobytes(), dtype=float, offset=1)
    read_only = np.frombuffer(pair.tobytes())
    for values in (pair.astype(">f8"), pair.astype("f4"), pair.astype("f2"), unaligned, read_only,
                   np.array([1.5, 0, 0, 2.5])[::3], pair[::-1][::-1], pair.reshape(2, 1),
                   np.asfortranarray(pair.reshape(1, 2)), (1.5, 2.5), memoryview(pair),
                   pandas.Series(pair), [np.float32(1.5), 2.5], [[1.5], [2.5]], list(pair)):
        assert row_of(values) == [[1.5, 2.5]]
    assert row_of(np.broadcast_to(3, (2,))) == [[3, 3]]
    assert row_of(np.array([True, False])) == row_of(range(1, -1, -1)) == [[1, 0]]
    assert row_of([True, np.int8(3)]) == row_of((True, 3)) == [[1, 3]]


def test_great_integers_are_rounded_to_the_nearest_double():
    for great, rounded in (2**53 + 1, 2.0**53), (2**53 + 3, 2.0**53 + 4), (2**64 - 1, 2.0**64):
        for values in (np.array([1, great], dtype="u8"), [1, great], (1.0, great), [np.uint8(1), great]):
            assert row_of(values) == [[1, rounded]]
    assert row_of([-2**63, 1 - 2**63]) == [[-2.0**63, -2.0**63]]


@pytest.mark.filterwarnings("ignore:.*masked element")
def test_values_that_would_lose_something_are_refused():
    pair = np.array([1.5, 2.5])
    for values in (pair + 1j, [1j, 2], np.array(["1", "2"]), pair.astype("m8[s]"), {1, 2},
                   np.array(["2020", "2021"], dtype="M8[D]"), np.array([1, None]), iter([1, 2]),
                   np.zeros(2, dtype=[("a", float)]), pair.astype(np.longdouble), {0: 1},
                   [1.5, None], ["1", "2"], [b"1", b"2"], [1.5, 2 + 0j], list(pair.astype(np.longdouble)),
                   [np.datetime64("2020"), np.datetime64("2021")], [Decimal("0.1"), 1], [1, 2**64],
                   np.ma.array(pair), [np.ma.masked, 1.5], [np.ma.array([1.5]), [2.5]]):
        with pytest.raises(TypeError):
            row_of(values)
    for values in ([1, "a"], [[1, 2], [3]], [], 3.0, None, [1, 2, 3]):
        with pytest.raises((TypeError, ValueError)):
            row_of(values)


def test_native_readers_leave_each_other_their_files(tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    with logging2.Writer("native", groups=[["x", "y"]]) as writer:
        writer.write(0, 1.0, [2.0, 3.0])
    for path, value in ("x", 2.0), ("y", 3.0), ("x", 2.0):
        assert [part.tolist() for part in writer.read(path)] == [[1.0], [value]]
    writer.close()
    assert not [name for *_, names in os.walk(tmp_path) for name in names]


def test_reading_every_signal_keeps_none_in_memory(tmp_path, resident_byte_count):
    paths = [f"s{number}" for number in range(20)]
    with logging2.Writer("recording", groups=[paths], directory=tmp_path, compress=True) as writer:
        for step in range(40000):
            writer.write(0, step, [step] * 20)
    writer.read("s0")
    before = resident_byte_count()
    for path in paths:
        assert writer.read(path)[1][-1] == 39999
    assert resident_byte_count() < before + 20 * 40000 * 16 // 3


@pytest.mark.parametrize("backend",
                         ["memory", "memory-restricted", "native", "columnar", "recording"])
def test_order_of_calls_is_checked(backend, tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    options = {"recording": {"directory": tmp_path}, "memory-restricted": {"point_limit": 5}}
    writer = logging2.Writer(backend, groups=[["x"]], **options.get(backend, {}))
    writer.write(0, 0.0, [1.0])
    with pytest.raises(ValueError, match="after flush"):
        writer.read("x")
    with writer:
        writer.flush()
    writer.flush()
    for call in (lambda: writer.write(0, 1.0, [2.0]), lambda: writer.rollback(0, 0.0),
                 writer.flush_intermediate):
        with pytest.raises(ValueError, match="final"):
            call()
    assert [part.tolist() for part in writer.read("x")] == [[0.0], [1.0]]
    with writer:
        writer.close()
    writer.close()
    with pytest.raises(ValueError, match="closed"):
        writer.read("x")


def test_writer_is_closed_after_an_exception():
    with pytest.raises(ZeroDivisionError):
        with logging2.Writer("memory", groups=[["x"]]) as writer:
            raise ZeroDivisionError
    for call in writer.flush, writer.close, lambda: writer.write(0, 0.0, [1.0]):
        with pytest.raises(ValueError, match="closed"):
            call()


def test_native_logs_to_files(tmp_path, monkeypatch):
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    with logging2.Writer("native", groups=[["x"]]) as writer:
        writer.write(0, 1.0, [2.0])
    assert [part.tolist() for part in writer.read("x")] == [[1.0], [2.0]]


def test_restricted_memory_keeps_the_newest_steps():
    with logging2.Writer("memory-restricted", groups=[["x"]], point_limit=2) as writer:
        for time in range(5):
            writer.write(0, time, [time])
    assert writer.read("x")[0].tolist() == [3, 4]


def test_time_regression_can_discard_steps():
    with logging2.Writer("memory", groups=[["x"]], rollback_on_time_regression=True) as writer:
        for time in (0, 1, 2, 1):
            writer.write(0, time, [time])
    assert writer.read("x")[0].tolist() == [0, 1]


def test_recording_has_its_options(tmp_path):
    with logging2.Writer("recording", groups=[["x"]], name="n", directory=tmp_path / "new",
                         properties={"k": "v"}, compress=True, durability="power") as writer:
        writer.write(0, 0.0, [1.0])
    run = logging2.open(writer.location)
    assert (run.name, run.properties, run.state) == ("n", {"k": "v"}, "finished")
    assert (tmp_path / "new").is_dir()


def test_exception_interrupts_a_recording_and_keeps_its_steps(tmp_path):
    with pytest.raises(ZeroDivisionError):
        with logging2.Writer("recording", groups=[["x"]], directory=tmp_path) as writer:
            writer.write(0, 0.0, [1.0])
            raise ZeroDivisionError
    run = logging2.open(writer.location)
    assert (run.state, len(run["x"])) == ("interrupted", 1)


def test_run_in_memory_has_views_without_copies():
    with logging2.Writer("columnar", groups=[{"x": 1, "p": 2}], name="n") as writer:
        for time in range(20):
            writer.write(0, time, [time, 2 * time, 3 * time])
        run = writer.run()
        part = run["p"].read(copy=False)
        assert part.is_view and part.values.shape == (20, 2)
        writer.write(0, 20, [20, 40, 60])
        assert len(run["x"]) == 20 and run.refresh() and len(run["x"]) == 21
        again = run["p"].read(copy=False)
        assert np.shares_memory(part.values, again.values)
    writer.close()
    assert part.values[19].tolist() == [38, 57]
    assert run.refresh() and (run.name, run.state, run.location) == ("n", "finished", "")


def test_pieces_of_a_long_run_in_memory_are_views():
    writer = logging2.Writer("columnar", groups=[["x"]])
    for time in range(5000):
        writer.write(0, time, [2 * time])
    pieces = writer.run()["x"].pieces()
    assert len(pieces) > 1 and all(piece.is_view for piece in pieces)
    assert np.concatenate([piece.values for piece in pieces]).tolist() == list(range(0, 10000, 2))


def test_snapshot_has_the_steps_around_a_trigger():
    writer = logging2.Writer("columnar", groups=[["x"]])
    for time in range(10):
        writer.write(0, time, [time])
    snapshot = writer.snapshot(7, 11)
    for time in range(10, 20):
        writer.write(0, time, [time])
    snapshot.refresh()
    assert snapshot["x"].times.tolist() == [7, 8, 9, 10, 11]


def test_columnar_refuses_steps_beyond_its_limit():
    writer = logging2.Writer("columnar", groups=[["x"]], byte_limit=65536)
    with pytest.raises(ValueError, match="limit of 65536 bytes"):
        for time in range(65536 // 16 + 1):
            writer.write(0, time, [time])
    writer.flush()
    times = writer.read("x")[0]
    assert times.tolist() == list(range(times.size)) and times.size > 3600


def test_columnar_discards_the_oldest_steps_if_asked():
    writer = logging2.Writer("columnar", groups=[["x"]], byte_limit=65536, discard_oldest=True)
    for time in range(5000):
        writer.write(0, time, [time])
    writer.flush()
    times = writer.read("x")[0]
    assert times[-1] == 4999 and 3600 < times.size <= 65536 // 16


def test_limits_are_options_of_columnar_only():
    for option in ({"byte_limit": 1024}, {"discard_oldest": True}):
        with pytest.raises(ValueError, match="only \"columnar\" has these options"):
            logging2.Writer("memory", groups=[["x"]], **option)
    with pytest.raises(ValueError, match="needs a byte_limit"):
        logging2.Writer("columnar", groups=[["x"]], discard_oldest=True)


def test_only_columnar_has_its_run_in_memory():
    writer = logging2.Writer("memory", groups=[["x"]])
    with pytest.raises(ValueError, match="only \"columnar\""):
        writer.run()
    run = logging2.Writer("columnar", groups=[["x"]]).run()
    with pytest.raises(TypeError, match="pickled"):
        pickle.dumps(run)


def test_wrong_calls_are_errors_that_change_nothing(tmp_path):
    with logging2.Writer("memory", groups=[["x", "y"]]) as writer:
        with pytest.raises(ValueError, match="no group 1"):
            writer.write(1, 0.0, [1.0, 2.0])
        with pytest.raises(ValueError, match="no group -1"):
            writer.write(-1, 0.0, [1.0, 2.0])
        with pytest.raises(ValueError, match="no group 7"):
            writer.rollback(7, 0.0)
        with pytest.raises(ValueError, match="2 values, not 1"):
            writer.write(0, 0.0, [1.0])
        with pytest.raises(TypeError):
            writer.write(0, "zero", [1.0, 2.0])
        with pytest.raises((TypeError, ValueError)):
            writer.write(0, 0.0, ["a", "b"])
        with pytest.raises(KeyError, match="'z'"):
            writer.read("z")
    assert writer.read("x")[0].size == 0
    writer.close()
    with pytest.raises(ValueError, match="closed"):
        writer.write(0, 0.0, [1.0, 2.0])


def test_wrong_options_are_refused(tmp_path):
    for name in ("unknown", "", "mem*"):
        with pytest.raises(ValueError, match="back-end"):
            logging2.Writer(name, groups=[["x"]])
    with pytest.raises(ValueError, match='only "recording"'):
        logging2.Writer("memory", groups=[["x"]], directory=tmp_path)
    with pytest.raises(ValueError, match="two signals 'x'"):
        logging2.Writer("memory", groups=[["x"], ["x"]])
    for groups in "x", b"x", {"x": 1}, ["height"], [b"x"], [[1]], [[("x", 1)]], [{"x": 1.5}], [{"x": "1"}]:
        with pytest.raises(TypeError):
            logging2.Writer("memory", groups=groups)
    for width in -1, 2**32, 2**70:
        with pytest.raises(ValueError, match="'x' cannot have"):
            logging2.Writer("memory", groups=[{"x": width}])
    with pytest.raises(RuntimeError, match="none.so"):
        logging2.load_backends(tmp_path / "none.so")
    with pytest.raises(ValueError, match="durability"):
        logging2.Writer("recording", groups=[["x"]], directory=tmp_path, durability="disk")
    with pytest.raises(logging2.RecordingError):
        logging2.Writer("recording", groups=[["x"]], directory="/proc/none")
