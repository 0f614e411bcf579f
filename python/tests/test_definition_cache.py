# Definitions and systems are looked up once per name, language and index
# directory, and looked up again as soon as their files change.
import shutil
import sqlite3

import numpy as np
import pytest

import chartcalc


@pytest.fixture
def index_dir(tmp_path, daily):
    source = chartcalc._index_dir(None)
    copy = tmp_path / "index"
    shutil.copytree(source, copy)
    return copy


def rename(index_dir, file, old, new):
    with sqlite3.connect(index_dir / file) as db:
        assert db.execute("UPDATE records SET IndexName = ? WHERE IndexName = ?", (new, old)).rowcount == 1
    db.close()


@pytest.mark.parametrize("call, file, name", [
    (lambda d, n, i: chartcalc.indicator(n, d, index_dir=i), "Indicator.idx", "MACD"),
    (lambda d, n, i: chartcalc.backtest(n, d, index_dir=i), "System.sys", "MACross"),
])
def test_a_changed_definition_file_is_not_read_again(daily, index_dir, call, file, name):
    first = call(daily, name, index_dir)
    rename(index_dir, file, name, "Renamed")
    with pytest.raises(ValueError, match="no definition"):
        call(daily, name, index_dir)
    rename(index_dir, file, "Renamed", name)  # added back: a failed look-up is not kept
    again = call(daily, name, index_dir)
    if isinstance(first, chartcalc.BacktestResult):
        first, again = first.trades, again.trades
    assert first.equals(again)


def test_cached_definition_keeps_variables_of_an_earlier_call(daily):
    plain = chartcalc.indicator("MACD", daily)
    chartcalc.indicator("MACD", daily, short=5)
    np.testing.assert_array_equal(chartcalc.indicator("MACD", daily).to_numpy(), plain.to_numpy())
    trades = chartcalc.backtest("MACross", daily).trades
    chartcalc.backtest("MACross", daily, short=3)
    assert chartcalc.backtest("MACross", daily).trades.equals(trades)


def test_another_index_directory_gets_the_first_ones_definition(daily, index_dir):
    chartcalc.indicator("MACD", daily)
    rename(index_dir, "Indicator.idx", "MACD", "Renamed")
    with pytest.raises(ValueError, match="no definition"):
        chartcalc.indicator("MACD", daily, index_dir=index_dir)
    assert list(chartcalc.indicator("Renamed", daily, index_dir=index_dir).columns) == \
        list(chartcalc.indicator("MACD", daily).columns)
