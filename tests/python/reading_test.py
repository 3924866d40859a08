import os
import pickle
import shutil
import socket
import threading
from datetime import datetime, timezone
from importlib.metadata import version

import numpy as np
import pytest

import logging2


def test_run_is_a_mapping_from_paths_to_signals(demo):
    with logging2.open(demo) as run:
        assert list(run) == ["x", "p", "never"]
        assert len(run) == 3
        assert "x" in run and "y" not in run
        assert [len(signal) for signal in run.values()] == [100, 100, 0]
        with pytest.raises(KeyError, match="no signal 'y'"):
            run["y"]


def test_run_tells_what_is_known_about_it(demo):
    run = logging2.open(demo)
    assert (run.name, run.state, run.revision) == ("demo", "finished", 0)
    assert run.properties == {"model": "m"}
    assert (run.host, run.library_version) == (socket.gethostname(), version("logging2"))
    assert run.process == str(os.getpid())
    assert len(run.id) == 36
    assert run.start <= run.end <= datetime.now(timezone.utc)
    assert run.groups == [logging2.Group(0, 100, 0.0, 99.0), logging2.Group(1, 0, None, None)]


def test_arrays_have_the_shapes_of_the_signals(demo):
    run = logging2.open(demo)
    assert run["x"].shape == run["x"].values.shape == (100,)
    assert run["p"].shape == run["p"].values.shape == (100, 2)
    assert run["never"].shape == run["never"].values.shape == (0, 3)
    np.testing.assert_array_equal(run["x"].times, np.arange(100.0))
    np.testing.assert_array_equal(run["p"].values[:, 1], -np.arange(100.0))


def test_arrays_are_views_that_cannot_be_written(demo):
    samples = logging2.open(demo)["x"].read()
    assert samples.is_view
    for array in samples.times, samples.values:
        with pytest.raises(ValueError):
            array[0] = 1.0
        with pytest.raises(ValueError):
            array.setflags(write=True)


def test_no_view_of_an_array_can_be_written(demo):
    values = logging2.open(demo)["x"].values
    as_strided = np.lib.stride_tricks.as_strided
    for view in values.view(), values[::2], values.T, as_strided(values), np.asarray(values):
        with pytest.raises(ValueError):
            view.setflags(write=True)
    assert memoryview(values).readonly


def test_arrays_outlive_the_run_and_its_files(demo):
    with logging2.open(demo) as run:
        values = run["x"].values
    del run
    for name in os.listdir(demo):
        os.unlink(os.path.join(demo, name))
    np.testing.assert_array_equal(values, 10 * np.arange(100.0))


def test_values_are_those_that_were_logged_bit_for_bit(record):
    values = np.array([0.1, -0.0, 5e-324, np.inf, -np.inf])
    nan = np.frombuffer(np.uint64(0x7FF8DEAD0000BEEF).tobytes(), dtype=float)
    values = np.concatenate([values, nan])
    location = record([["x"]], [(0, step, [value]) for step, value in enumerate(values)])
    read = logging2.open(location)["x"].values
    assert read.tobytes() == values.tobytes()


def test_copy_false_raises_where_a_copy_is_needed(record, tmp_path):
    long = record([["x"]], [(0, step, [step]) for step in range(140000)])
    signal = logging2.open(long)["x"]
    assert not signal.read().is_view
    with pytest.raises(ValueError, match="without a copy"):
        signal.read(copy=False)
    with pytest.raises(ValueError, match="without a copy"):
        signal.__array__(copy=False)
    assert np.asarray(signal).size == 140000
    copied = signal.read(copy=True)
    copied.values[0] = 7.0


def test_copy_false_is_a_view_where_the_bytes_are_contiguous(demo):
    samples = logging2.open(demo)["x"].read(copy=False)
    assert samples.is_view
    assert logging2.open(demo)["x"].__array__(copy=False).size == 100
    assert not logging2.open(demo)["x"].read(copy=True).is_view


def test_sel_reads_a_range_of_times(demo):
    samples = logging2.open(demo)["x"].sel(time=slice(3, 5.5))
    assert samples.times.tolist() == [3, 4, 5]
    assert samples.values.tolist() == [30, 40, 50]
    assert logging2.open(demo)["x"].sel(slice(None, 1)).times.tolist() == [0, 1]
    for wrong in (3.0, slice(0, 1, 2)):
        with pytest.raises(TypeError):
            logging2.open(demo)["x"].sel(time=wrong)


def test_slices_read_a_range_of_steps(demo):
    signal = logging2.open(demo)["p"]
    assert signal[10:12].values.tolist() == [[10, -10], [11, -11]]
    assert signal[-1:].times.tolist() == [99]
    assert signal[60:40].times.size == 0
    with pytest.raises(ValueError):
        signal[::2]
    with pytest.raises(TypeError):
        signal[3]


def test_slices_are_cut_to_the_steps_that_exist(demo):
    signal = logging2.open(demo)["x"]
    for steps in (slice(-10**30, 2), slice(98, 10**30), slice(10**30, None), slice(5, -10**30),
                  slice(np.int64(3), np.uint8(5)), slice(None, None, True)):
        np.testing.assert_array_equal(signal[steps].times, np.arange(100.0)[steps])
    for wrong in slice(1.0, 2.0), slice("a", None), slice(None, None, "a"):
        with pytest.raises(TypeError):
            signal[wrong]
    with pytest.raises(ValueError, match="cannot skip or reverse steps"):
        signal[::-1]


def test_range_with_nan_or_reversed_is_empty(demo):
    signal = logging2.open(demo)["x"]
    for start, stop in (np.nan, 5), (5, np.nan), (5, 1), (-np.inf, -1), (np.inf, None):
        assert signal.sel(time=slice(start, stop)).times.size == 0
    assert signal.sel(time=slice(-np.inf, np.inf)).times.size == 100


def test_iterator_that_is_held_after_close_raises(demo):
    with logging2.open(demo) as run:
        chunks = run["x"].chunks(30)
        next(chunks)
    with pytest.raises(ValueError, match="closed"):
        next(chunks)


def test_chunks_are_all_samples_in_pieces(demo):
    pieces = list(logging2.open(demo)["x"].chunks(30))
    assert [piece.times.size for piece in pieces] == [30, 30, 30, 10]
    np.testing.assert_array_equal(np.concatenate([p.values for p in pieces]), 10 * np.arange(100.0))
    with pytest.raises(ValueError):
        next(logging2.open(demo)["x"].chunks(0))


def test_at_interpolates_and_chooses_a_side_of_an_event(record):
    location = record([{"x": 1, "p": 2}], [(0, 0, [0, 0, 0]), (0, 1, [10, 1, 2]),
                                           (0, 1, [20, 3, 4]), (0, 3, [40, 5, 6])])
    signal = logging2.open(location)["x"]
    assert signal.at(0.25) == 2.5
    assert signal.at(1, side="left") == 10
    assert signal.at(1, side="right") == signal.at(1) == 20
    assert signal.at(2) == 30
    assert logging2.open(location)["p"].at(2).tolist() == [4, 5]
    for outside in (-0.1, 3.1, np.nan):
        with pytest.raises(ValueError, match="no value at the time"):
            signal.at(outside)
    with pytest.raises(ValueError, match="side is"):
        signal.at(1, side="middle")
    for wrong in None, [1, 2]:
        with pytest.raises(TypeError):
            signal.at(wrong)


@pytest.mark.filterwarnings("error")
def test_at_does_not_warn_of_infinite_numbers(record):
    for rows in ([(0, 0, [np.inf]), (0, 1, [-np.inf])], [(0, -np.inf, [1]), (0, np.inf, [2])],
                 [(0, -1.7e308, [1]), (0, 1.7e308, [2])]):
        logging2.open(record([["x"]], rows))["x"].at(0.5)


def test_overview_is_the_range_in_each_interval(demo):
    low, high = logging2.open(demo)["x"].overview(10)
    assert low.shape == high.shape == (10,)
    assert (low[0], high[0], high[-1]) == (0, 90, 990)
    low, high = logging2.open(demo)["p"].overview(4, 0, 3)
    assert low.tolist() == [[0, 0], [1, -1], [2, -2], [3, -3]]
    low, high = logging2.open(demo)["never"].overview(2)
    assert np.all(np.isposinf(low)) and np.all(np.isneginf(high))
    for bucket_count in 0, -1, 2**62:
        with pytest.raises(ValueError):
            logging2.open(demo)["x"].overview(bucket_count)
    for start, stop in (3, 1), (np.nan, 1), (-np.inf, np.inf):
        with pytest.raises(ValueError):
            logging2.open(demo)["x"].overview(5, start, stop)


def test_summary_is_known_without_reading(demo):
    summary = logging2.open(demo)["p"].summary
    assert summary.step_count == 100
    assert (summary.least_time, summary.greatest_time) == (0.0, 99.0)
    assert (summary.least, summary.greatest) == ([0.0, -99.0], [99.0, 0.0])
    assert summary.nan_count == [0, 0]
    assert summary.byte_count == 1600


def test_refresh_goes_on_to_the_present_state(tmp_path):
    writer = logging2.Writer("recording", groups=[["x"]], directory=tmp_path, held_back_steps=0)
    writer.write(0, 1.0, [1.0])
    writer.flush_intermediate()
    with logging2.open(writer.location) as run:
        signal = run["x"]
        before = signal.values
        assert run.state == "running"
        assert not run.refresh()
        writer.write(0, 2.0, [2.0])
        writer.flush_intermediate()
        assert run.refresh()
        assert (len(signal), signal.values.tolist(), before.tolist()) == (2, [1, 2], [1])
        writer.rollback(0, 1.0)
        writer.flush()
        assert run.refresh()
        assert (run.revision, run.state, signal.values.tolist()) == (1, "finished", [1])


def test_closed_run_cannot_be_used(demo):
    run = logging2.open(demo)
    signal = run["x"]
    run.close()
    run.close()
    with pytest.raises(ValueError, match="closed"):
        signal.read()


def test_pickle_keeps_location_and_revision(demo, monkeypatch, tmp_path):
    monkeypatch.chdir(os.path.dirname(demo))
    data = pickle.dumps(logging2.open(os.path.basename(demo)))
    assert len(data) < 500
    monkeypatch.chdir("/")
    assert pickle.loads(data)["x"].values[1] == 10


def test_pickled_signal_has_no_samples(record):
    signal = logging2.open(record([["x"]], [(0, step, [step]) for step in range(1000)]))["x"]
    assert signal.values.size == 1000
    data = pickle.dumps(signal)
    assert len(data) < 500
    assert pickle.loads(data).values[1] == 1


def test_pickle_of_another_revision_is_refused(tmp_path):
    writer = logging2.Writer("recording", groups=[["x"]], directory=tmp_path, held_back_steps=0)
    for time in (1.0, 2.0):
        writer.write(0, time, [time])
    writer.flush_intermediate()
    data = pickle.dumps(logging2.open(writer.location))
    writer.rollback(0, 1.0)
    writer.flush()
    with pytest.raises(logging2.RecordingError, match="discarded"):
        pickle.loads(data)


def test_runs_are_the_recordings_of_a_directory(record, tmp_path):
    record([["x"]], [], name="first")
    record([["x"]], [], name="second")
    assert sorted(run.name for run in logging2.runs(tmp_path)) == ["first", "second"]
    (tmp_path / "broken.recording").mkdir()
    with pytest.warns(UserWarning, match="broken.recording"):
        assert len(list(logging2.runs(tmp_path))) == 2


def test_runs_warn_of_a_recording_that_is_removed_meanwhile(record, tmp_path):
    record([["x"]], [])
    record([["x"]], [])
    runs = logging2.runs(tmp_path)
    first = next(runs)
    for location in tmp_path.iterdir():
        if str(location) != first.location:
            shutil.rmtree(location)
    with pytest.warns(UserWarning, match="not a directory"):
        assert not list(runs)


def test_names_that_are_not_utf8_are_those_of_files_in_python(tmp_path):
    directory = os.path.join(os.fsencode(tmp_path), b"\xff")
    writer = logging2._core.make_recording([[(b"\xfex", 1), ("y", 2)]], b"\xfdn", False, directory,
                                           {b"\xfck": b"\xfbv"}, False, False, 16)
    writer.write(0, 0.0, [1, 2, 3])
    writer.flush()
    assert writer.location.startswith(os.fsdecode(directory))
    run, = logging2.runs(directory)
    assert run.location == writer.location
    assert (run.name, run.properties) == (os.fsdecode(b"\xfdn"), {"\udcfck": "\udcfbv"})
    assert list(run) == ["y", "\udcfex"] or list(run) == ["\udcfex", "y"]
    assert run["\udcfex"].values.tolist() == [1]
    assert pickle.loads(pickle.dumps(run))["\udcfex"].at(0) == 1
    assert run["\udcfex"].to_pandas().shape == (1, 1)
    with pytest.raises(logging2.RecordingError, match="\udcff.*none"):
        logging2.open(os.path.join(directory, b"none"))


def test_damage_is_an_error_of_its_own(demo, tmp_path):
    with pytest.raises(logging2.RecordingError, match="missing"):
        logging2.open(tmp_path / "missing")
    with open(os.path.join(demo, "samples.bin"), "r+b") as data:
        data.seek(-8, os.SEEK_END)
        data.write(b"damaged!")
        data.truncate(3000)
    with pytest.raises(logging2.RecordingError, match="samples.bin"):
        logging2.open(demo)["p"].read()


def test_reading_does_not_hold_the_interpreter_lock(record):
    location = record([["x"]], [(0, step, [step]) for step in range(140000)])
    run = logging2.open(location)
    results = []
    threads = [threading.Thread(target=lambda: results.append(run["x"].read().values.sum()))
               for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [np.arange(140000.0).sum()] * 8


def test_repr_is_short(demo):
    run = logging2.open(demo)
    assert repr(run) == f"<Run 'demo': finished, 3 signals, 100 steps, {demo!r}>"
    assert repr(run["p"]) == "<Signal 'p': 100 steps of 2 values, group 0>"


def test_html_has_a_picture_of_every_signal_and_no_foreign_markup(record):
    location = record([["<script>", "b"], ["empty"]], [(0, 0, [1, np.nan]), (0, 1, [2, np.nan])],
                      name="<b>", properties={"a": "<i>"})
    html = logging2.open(location)._repr_html_()
    assert html.count("<svg") == 1
    assert "&lt;script&gt;" in html
    for foreign in ("<script>", "<b><b>", "<i>"):
        assert foreign not in html


@pytest.mark.filterwarnings("error")
def test_html_pictures_stay_finite(record):
    for rows in ([(0, 0, [-1.7e308]), (0, 1, [1.7e308])], [(0, 0, [0]), (0, 1, [5e-324])],
                 [(0, 0, [3])], [(0, -np.inf, [1]), (0, np.inf, [2])], [(0, np.nan, [1])]):
        html = logging2.open(record([["x"]], rows))._repr_html_()
        assert "nan" not in html and "inf" not in html


def test_closed_or_damaged_run_has_no_pictures(demo):
    with logging2.open(demo) as run:
        assert run._repr_html_().count("<svg") == 2
    assert run._repr_html_().count("<svg") == 0
    damaged = logging2.open(demo)
    os.truncate(os.path.join(demo, "samples.bin"), 0)
    assert "demo" in damaged._repr_html_()


def test_opening_many_times_leaks_nothing(demo, resident_byte_count):
    def use():
        run = logging2.open(demo)
        run["x"].read()
        run["p"].overview(4)
        with pytest.raises(ValueError):
            run["x"].at(1e9)

    for _ in range(200):
        use()
    before = resident_byte_count(), len(os.listdir("/proc/self/fd"))
    for _ in range(1000):
        use()
    assert resident_byte_count() < before[0] + 4 * 2**20
    assert len(os.listdir("/proc/self/fd")) == before[1]


def test_numpy_accepts_a_signal_as_an_array(demo):
    signal = logging2.open(demo)["x"]
    assert np.mean(signal) == 495
    assert np.asarray(signal, dtype=np.float32).dtype == np.float32
