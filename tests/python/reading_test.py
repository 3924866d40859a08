import os
import pickle
import threading
from datetime import datetime, timezone

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
    copied = signal.read(copy=True)
    copied.values[0] = 7.0


def test_copy_false_is_a_view_where_the_bytes_are_contiguous(demo):
    samples = logging2.open(demo)["x"].read(copy=False)
    assert samples.is_view
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


def test_overview_is_the_range_in_each_interval(demo):
    low, high = logging2.open(demo)["x"].overview(10)
    assert low.shape == high.shape == (10,)
    assert (low[0], high[0], high[-1]) == (0, 90, 990)
    low, high = logging2.open(demo)["p"].overview(4, 0, 3)
    assert low.tolist() == [[0, 0], [1, -1], [2, -2], [3, -3]]
    low, high = logging2.open(demo)["never"].overview(2)
    assert np.all(np.isposinf(low)) and np.all(np.isneginf(high))
    with pytest.raises(ValueError):
        logging2.open(demo)["x"].overview(0)


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


def test_numpy_accepts_a_signal_as_an_array(demo):
    signal = logging2.open(demo)["x"]
    assert np.mean(signal) == 495
    assert np.asarray(signal, dtype=np.float32).dtype == np.float32
