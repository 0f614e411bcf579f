# Price frames in, series out: columns found by name, indexes kept, the
# results agreeing with pandas, bad input refused without harm.
import threading

import numpy as np
import pandas as pd
import pytest

import chartcalc


@pytest.mark.parametrize("formula, rolling", [
    ("avg(close, 20)", lambda c: c.rolling(20).mean()),
    ("stdev(close, 10)", lambda c: c.rolling(10).std(ddof=0)),
])
def test_rolling_window_disagrees_with_pandas(daily, formula, rolling):
    got = chartcalc.eval(formula, daily)
    np.testing.assert_allclose(got, rolling(daily["close"]), rtol=1e-9, atol=1e-9, equal_nan=True)


def test_datetime_index_and_odd_column_names_are_not_found(daily):
    frame = daily.rename(columns=str.upper).drop(columns="DATE")
    frame.index = pd.to_datetime(daily["date"].astype(str))
    frame["CLOSE"] = frame["CLOSE"].astype(np.float32)
    got = chartcalc.eval("close + DayOpen() * 0", frame)
    assert got.index.equals(frame.index)
    np.testing.assert_allclose(got.iloc[100:], frame["CLOSE"].iloc[100:], rtol=1e-6)


def test_dict_of_arrays_and_text_dates_differ_from_frame(daily):
    arrays = {k: daily[k].to_numpy() for k in daily.columns}
    arrays["date"] = np.array([f"{d // 10000}-{d // 100 % 100:02}-{d % 100:02}" for d in daily["date"]], dtype=object)
    got = chartcalc.eval("avg(close, 5)", arrays)
    np.testing.assert_array_equal(got.to_numpy(), chartcalc.eval("avg(close, 5)", daily).to_numpy())


def test_result_shorter_or_longer_than_input_keeps_input_length(daily):
    head = daily.head(10)
    assert len(chartcalc.eval("avg(close, 20)", head)) == 10
    assert chartcalc.eval("avg(close, 20)", head).isna().all()
    assert (chartcalc.eval("2 + 3", head) == 5).all()


def test_result_array_is_copied_or_freed_early(daily):
    series = chartcalc.eval("close * 2", daily)
    values = series.to_numpy()
    assert not values.flags.owndata  # the library's buffer, handed over
    del series
    assert values[-1] == daily["close"].iloc[-1] * 2


@pytest.mark.parametrize("call, error, text", [
    (lambda d: chartcalc.eval("avg(close", d), ValueError, ""),
    (lambda d: chartcalc.eval("xyz", d, lang="ko"), ValueError, "정의되지"),
    (lambda d: chartcalc.eval("close", d, lang="fr"), ValueError, "lang"),
    (lambda d: chartcalc.eval("close", d.drop(columns="close")), ValueError, "'close'"),
    (lambda d: chartcalc.eval("close", d.drop(columns="date")), ValueError, "'date'"),
    (lambda d: chartcalc.eval("close", d.assign(close="x")), ValueError, "numbers"),
    (lambda d: chartcalc.eval("close", d.assign(date="2024-13-01")), ValueError, "bad date"),
    (lambda d: chartcalc.eval("close", [1, 2]), TypeError, "DataFrame"),
    (lambda d: chartcalc.indicator("NoSuchThing", d), ValueError, "no definition"),
    (lambda d: chartcalc.indicator("MACD", d, nosuch=3), ValueError, "no variable"),
    (lambda d: chartcalc.transform("pie", d), ValueError, "unknown chart type"),
    (lambda d: chartcalc.transform("pnf", d, box=-1), ValueError, "positive"),
    (lambda d: chartcalc.backtest("MACD", d), ValueError, "not a trading system"),
    (lambda d: chartcalc.backtest("MACross", d, settings={"NoSuchKey": 1}), ValueError, "NoSuchKey"),
    (lambda d: chartcalc.backtest("MACross", d, settings="/nonexistent.ini"), OSError, "nonexistent"),
    (lambda d: chartcalc.optimise("MACross", d, ranges={"nosuch": (1, 2, 1)}, progress=False), ValueError,
     "no variable"),
])
def test_bad_input_does_not_raise_the_right_error(daily, call, error, text):
    with pytest.raises(error, match=text):
        call(daily)


@pytest.mark.parametrize("frame", [
    pd.DataFrame({"date": [], "open": [], "high": [], "low": [], "close": [], "volume": []}),
    pd.DataFrame({"date": [20240102, 20240103], "open": [1.0, np.nan], "high": [np.inf, 2], "low": [1, 1],
                  "close": [np.nan, 1], "volume": [0, 0]}),
])
def test_empty_or_nan_prices_crash(frame):
    for formula in ("avg(close, 3)", "stdev(close, 2)", "close / 0"):
        assert len(chartcalc.eval(formula, frame)) == len(frame)
    chartcalc.backtest("MACross", frame)
    chartcalc.transform("renko", frame)


def test_optimise_holds_the_interpreter(daily):
    ticks, seen = [], []
    stop = threading.Event()

    def count():
        while not stop.is_set():
            ticks.append(1)

    thread = threading.Thread(target=count)
    thread.start()
    try:
        runs = chartcalc.optimise("MACross", daily, ranges={"short": (2, 40, 1), "long": (20, 60, 20)},
                                  progress=lambda done, total: seen.append((len(ticks), done, total)))
    finally:
        stop.set()
        thread.join()
    assert len(runs) == 39 * 3 and seen[-1][1:] == (117, 117)
    # The counting thread ran between the progress calls, while workers held no interpreter lock.
    assert seen[-1][0] - seen[0][0] > 1000
