# Timestamps become the date-time numbers the CSV reader makes from the same
# text, and every column layout NumPy can hand over is copied element by element.
import numpy as np
import pandas as pd
import pytest

import chartcalc


def dates_of(stamps):
    frame = pd.DataFrame({"open": 1.0, "high": 1.0, "low": 1.0, "close": 1.0, "volume": 1.0},
                         index=pd.RangeIndex(len(stamps)))
    frame.insert(0, "date", stamps)
    return chartcalc.eval("date * 1000000 + time", frame).to_numpy()


@pytest.mark.parametrize("stamps, expected", [
    # Midnights only: daily numbers, across a leap day and the turn of 1970.
    (pd.to_datetime(["2024-02-28", "2024-02-29", "2024-03-01"]), [20240228, 20240229, 20240301]),
    (pd.to_datetime(["1969-12-31", "1970-01-01", "2000-02-29"]), [19691231, 19700101, 20000229]),
    # One time of day makes every bar intraday; fractions of a second are dropped.
    (pd.to_datetime(["1969-12-31 23:59:59.999", "2024-01-05 00:00", "2024-01-05 09:30:07"]),
     [19691231235959, 20240105000000, 20240105093007]),
    # Far apart: the days are converted one by one instead of through a table.
    (pd.to_datetime(["1700-03-01 12:00", "2262-04-11 23:47:16"]), [17000301120000, 22620411234716]),
    # NumPy's own units, beyond pandas' range.
    (np.array(["0001-01-01", "9999-12-31"], dtype="datetime64[D]"), [10101, 99991231]),
    (np.array(["1600-02-29T23:59", "2024-07-01T00:01"], dtype="datetime64[m]"), [16000229235900, 20240701000100]),
    # Zoned stamps count by their wall clock, across a change of clocks.
    (pd.Series(pd.to_datetime(["2024-03-10 01:30", "2024-03-10 03:30"]).tz_localize("US/Eastern")),
     [20240310013000, 20240310033000]),
])
def test_timestamps_become_other_numbers_than_the_reader_makes(stamps, expected):
    got = chartcalc._date_numbers(stamps)
    assert got.dtype == np.float64 and list(got) == expected


def test_a_long_intraday_run_misses_a_day_or_a_second():
    stamps = pd.date_range("1999-12-30 22:00", periods=5000, freq="37s")
    text = stamps.strftime("%Y%m%d%H%M%S").astype(np.int64)
    np.testing.assert_array_equal(chartcalc._date_numbers(stamps), text.to_numpy(dtype=np.float64))


@pytest.mark.parametrize("stamps, text", [
    (pd.to_datetime(["2024-01-02", None]), "NaT"),
    (np.array(["0000-12-31"], dtype="datetime64[D]"), "years 1 to 9999"),
    (np.array(["10000-01-01"], dtype="datetime64[D]"), "years 1 to 9999"),
])
def test_missing_or_unwritable_dates_are_accepted(stamps, text):
    with pytest.raises(ValueError, match=text):
        chartcalc._date_numbers(stamps)


def test_date_column_and_index_reach_the_engine_unchanged():
    stamps = pd.to_datetime(["2024-01-05 09:00", "2024-01-05 09:01:30"])
    np.testing.assert_array_equal(dates_of(stamps), [20240105090000, 20240105090130])


@pytest.mark.parametrize("column", [
    np.array([3, 1, 4, 1, 5, 9], dtype=np.int16),
    np.array([3, 1, 4, 1, 5, 9], dtype=np.uint8),
    np.array([3.5, 1, 4, 1, 5, 9], dtype=np.float32),
    np.array([3.5, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8])[::2],  # strided
    np.frombuffer(b"\0" + np.array([3.5, 1, 4, 1, 5, 9]).tobytes(), dtype=np.float64, offset=1),  # unaligned
    np.frombuffer(b"\0" + np.array([3, 1, 4, 1, 5, 9], dtype=np.int32).tobytes(), dtype=np.int32, offset=1),
])
def test_a_column_layout_is_copied_wrongly(column):
    prices = {"date": np.arange(20240101, 20240107), "open": column, "high": column, "low": column,
              "close": column, "volume": column}
    np.testing.assert_array_equal(chartcalc.eval("close", prices).to_numpy(), column.astype(np.float64))
