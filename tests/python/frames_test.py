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


def test_xarray_dataset_can_be_pickled(demo):
    data = pickle.loads(pickle.dumps(xarray.open_dataset(demo, engine="logging2", group=0)))
    assert data["x"][3].item() == 30
