import os
import pickle

import numpy as np
import pandas
import pytest
import xarray

import logging2


def test_pandas_gets_a_column_per_value(demo):
    run = logging2.open(demo)
    frame = run.to_pandas("x", "p")
    assert list(frame.columns) == ["x", "p[0]", "p[1]"]
    assert frame.index.name == "time"
    assert frame.loc[7.0].tolist() == [70, 7, -7]
    pandas.testing.assert_frame_equal(run["x"].to_pandas(), frame[["x"]])


def test_pandas_needs_signals_of_one_group(demo):
    run = logging2.open(demo)
    with pytest.raises(ValueError, match="several groups"):
        run.to_pandas()
    with pytest.raises(KeyError, match="no signal matches q"):
        run.to_pandas("q*")


def test_repeated_times_stay_separate_rows(record):
    run = logging2.open(record([["x"]], [(0, 1, [1]), (0, 1, [2])]))
    assert run.to_pandas().loc[1.0, "x"].tolist() == [1, 2]


def test_pandas_keeps_signals_with_equal_or_strange_names(record):
    run = logging2.open(record([{"p": 2, "p[0]": 1, "a*": 1, "ab": 1, "none": 0}],
                               [(0, 0, [1, 2, 3, 4, 5])]))
    frame = run.to_pandas()
    assert sorted(zip(frame.columns, frame.iloc[0])) == [
        ("a*", 4), ("ab", 5), ("p[0]", 1), ("p[0]", 3), ("p[1]", 2)]
    assert list(run["p[0]"].to_pandas().columns) == ["p[0]"]
    assert list(run["a*"].to_pandas().columns) == ["a*"]


def test_pandas_gets_wide_and_empty_signals(record):
    run = logging2.open(record([{"wide": 3000}, ["never"]], [(0, 0, np.arange(3000.0))] * 2))
    assert run.to_pandas("wide").iloc[1].tolist() == list(range(3000))
    assert run.to_pandas("never").shape == (0, 1)


def test_xarray_opens_a_recording(demo):
    for options in {"engine": "logging2"}, {}:
        with xarray.open_dataset(demo, group=0, **options) as data:
            assert data["x"].dims == ("step",)
            assert data["p"].dims == ("step", "p_element")
            assert "time" in data.coords and "time" not in data.indexes
            np.testing.assert_array_equal(data["time"], np.arange(100.0))
            assert data.attrs["model"] == "m"
            assert data["p"].mean().item() == 0


def test_xarray_names_the_steps_of_several_groups(demo):
    data = xarray.open_dataset(demo, engine="logging2")
    assert dict(data.sizes) == {"step_0": 100, "p_element": 2, "step_1": 0, "never_element": 3}
    assert {"time_0", "time_1"} <= set(data.coords)
    with pytest.raises(ValueError, match="no group 9"):
        xarray.open_dataset(demo, engine="logging2", group=9)
    assert "x" not in xarray.open_dataset(demo, engine="logging2", drop_variables="x")


def test_xarray_reads_only_what_is_used(demo):
    pair = xarray.open_dataset(demo, engine="logging2", group=0)["p"]
    expected = np.stack([np.arange(100.0), -np.arange(100.0)], axis=1)
    for key in (3, slice(5, 9), slice(90, 10, -2), slice(60, 40), (slice(2, 50, 3), 1),
                ([4, 2, 2], 0), (slice(None), [1]), (-1, -1)):
        np.testing.assert_array_equal(pair[key].values, expected[key])


def test_xarray_renames_signals_that_are_called_like_dimensions(record):
    location = record([{"time": 1, "step": 1, "time_2": 1, "p": 2, "p_element": 1}],
                      [(0, 5, [1, 2, 3, 4, 5, 6])])
    with xarray.open_dataset(location, engine="logging2") as data:
        assert data["p"].dims == ("step", "p_element")
        assert set(data.coords) == {"time"} and data["time"].item() == 5
        values = {name: data[name].values.ravel().tolist() for name in data.data_vars}
    assert values == {"time_3": [1], "step_2": [2], "time_2": [3], "p": [4, 5], "p_element_2": [6]}


def test_xarray_closes_the_run(demo):
    open_files = len(os.listdir("/proc/self/fd"))
    with xarray.open_dataset(demo, engine="logging2", group=0) as data:
        pair = data["p"]
    assert len(os.listdir("/proc/self/fd")) == open_files
    with pytest.raises(ValueError, match="closed"):
        pair.load()


def test_xarray_dataset_can_be_pickled(demo):
    data = pickle.loads(pickle.dumps(xarray.open_dataset(demo, engine="logging2", group=0)))
    assert data["x"][3].item() == 30


def test_pickled_xarray_dataset_has_no_samples(record):
    location = record([["x"]], [(0, step, [step]) for step in range(5000)])
    data = pickle.dumps(xarray.open_dataset(location, engine="logging2"))
    assert len(data) < 5000
    assert pickle.loads(data)["time"][4999].item() == 4999
