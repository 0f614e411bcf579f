# The package gives what the tool prints for the same prices and definitions.
# The tool prints 15 significant digits, so values agree to about 1e-13 of
# their size and, near zero, to an absolute 1e-12.
import os

import numpy as np
import pandas as pd
import pytest

import chartcalc
from conftest import tool_csv


def test_eval_differs_from_tool_csv(daily):
    expected = tool_csv("eval", "(close - avg(close, 20)) / stdev(close, 20)")
    got = chartcalc.eval("(close - avg(close, 20)) / stdev(close, 20)", daily)
    np.testing.assert_allclose(got.to_numpy(), expected["value"].to_numpy(), rtol=1e-13, atol=1e-12, equal_nan=True)


def test_indicator_lines_or_names_differ_from_tool_csv(daily):
    expected = tool_csv("indicator", "calc", "MACD", "--var", "short=10").drop(columns=["bar", "datetime"])
    got = chartcalc.indicator("MACD", daily, short=10)
    assert list(got.columns) == list(expected.columns)
    np.testing.assert_allclose(got.to_numpy(), expected.to_numpy(), rtol=1e-13, atol=1e-12, equal_nan=True)


@pytest.mark.parametrize("kind, args, kwargs", [
    ("pnf", ["--p2", "2"], {"box": 2}),
    ("renko", ["--p1", "3"], {"brick": 3}),
    ("linebreak", [], {}),
    ("ccw", ["--p1", "10"], {"period": 10}),
    ("vap", ["--p1", "20", "--from", "100", "--to", "900"], {"bands": 20, "from_bar": 100, "to_bar": 900}),
])
def test_transform_rows_differ_from_tool_csv(daily, kind, args, kwargs):
    expected = tool_csv("transform", kind, *args)
    got = chartcalc.transform(kind, daily, **kwargs)
    assert list(got.columns) == list(expected.columns)
    if "datetime" in got:  # the daily sample's bar times, as the tool writes them
        got["datetime"] = got["datetime"].dt.strftime("%Y%m%d").astype(float)
    np.testing.assert_allclose(got.to_numpy(dtype=float), expected.to_numpy(dtype=float), equal_nan=True)


def test_backtest_summary_or_trades_differ_from_tool_csv(daily, tmp_path):
    trades_file = tmp_path / "trades.csv"
    summary = tool_csv("backtest", "MACross", "--set", "BlMoneyManagementStop=1", "--csv", "--trades",
                       str(trades_file), dtype=str, keep_default_na=False)
    result = chartcalc.backtest("MACross", daily, settings={"BlMoneyManagementStop": 1})
    pd.testing.assert_frame_equal(result.summary, summary)
    trades = pd.read_csv(trades_file, parse_dates=["EntryDateTime", "ExitDateTime"])
    pd.testing.assert_frame_equal(result.trades, trades, check_dtype=False)
    assert result.equity.iloc[-1] == pytest.approx(result.trades["ProfitLoss"].sum())


def test_optimise_runs_differ_from_the_tool_table(daily, tmp_path):
    table = tool_csv("optimise", "MACross", "--var", "short=5:20:5", "--out", str(tmp_path / "tool"),
                     sep="\t", header=None)
    runs = chartcalc.optimise("MACross", daily, ranges={"short": (5, 20, 5)}, jobs=2, progress=False)
    assert len(runs) == 4 and list(runs["run"]) == [0, 1, 2, 3]
    by_run = runs.set_index("run")
    for _, row in table.iterrows():
        assert by_run.loc[row[0], "TotalProfit"] == pytest.approx(row[3])
        assert by_run.loc[row[0], "IndicatorVariable"] == row[2]


def test_report_pages_missing(daily, tmp_path):
    result = chartcalc.backtest("MACross", daily, short=10)
    result.report_html(tmp_path / "pages")
    names = sorted(os.listdir(tmp_path / "pages"))
    assert names == ["equity.html", "summary.html", "summary2.html", "trades.html", "trades2.html"]
