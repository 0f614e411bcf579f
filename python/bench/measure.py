"""Per-call overhead on 10 bars, and eval("avg(close, 20)") on 1,000,000 bars
against pandas' rolling(20).mean() on the same data, in one run.

    PYTHONPATH=build/python /usr/bin/python3 python/bench/measure.py
"""
import timeit

import numpy as np
import pandas as pd

import chartcalc

# A seeded random walk: realistic prices, the same every run.
SEED, BARS, SMALL = 17, 1_000_000, 10


def walk(bars):
    rng = np.random.default_rng(SEED)
    close = 100 * np.exp(np.cumsum(rng.normal(0, 0.01, bars)))
    days = pd.date_range("2000-01-03 09:00", periods=bars, freq="min")
    return pd.DataFrame({"open": close, "high": close * 1.01, "low": close * 0.99, "close": close,
                         "volume": rng.integers(1000, 100000, bars)}, index=days)


def best(call, repeat, number):
    return min(timeit.repeat(call, repeat=repeat, number=number)) / number


def main():
    small, large = walk(SMALL), walk(BARS)
    print("per call, 10 bars: eval %.1f us, indicator MACD %.1f us, pandas rolling %.1f us" % (
        best(lambda: chartcalc.eval("avg(close, 20)", small), 5, 200) * 1e6,
        best(lambda: chartcalc.indicator("MACD", small), 5, 200) * 1e6,
        best(lambda: small["close"].rolling(20).mean(), 5, 200) * 1e6))
    ours = best(lambda: chartcalc.eval("avg(close, 20)", large), 5, 3)
    theirs = best(lambda: large["close"].rolling(20).mean(), 5, 3)
    np.testing.assert_allclose(chartcalc.eval("avg(close, 20)", large), large["close"].rolling(20).mean(),
                               rtol=1e-9, equal_nan=True)
    print("1,000,000 bars: eval avg(close, 20) %.1f ms, pandas rolling(20).mean() %.1f ms" % (
        ours * 1e3, theirs * 1e3))


if __name__ == "__main__":
    main()
