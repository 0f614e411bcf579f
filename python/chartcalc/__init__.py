"""chartcalc from Python: formulas, indicators, chart types, back-tests and
optimisations over prices given as a pandas DataFrame or a dict of NumPy
arrays.

Prices: columns found by name as the tool's CSV reader finds them (date or
datetime, optional time, open, high, low, close, volume, and optionally
openinterest or oi, amount, spread), the dates from a DatetimeIndex when
there is no date column. Results keep the input's index.
"""

import os
import sys
import tempfile
import time

import numpy as np
import pandas as pd

from . import _chartcalc

__all__ = ["eval", "indicator", "transform", "backtest", "optimise", "BacktestResult"]

# Where an installed package finds the shipped definitions: PREFIX/share/
# chartcalc/index, with the package at PREFIX/lib/pythonX.Y/dist-packages.
_INSTALLED_INDEX = os.path.join(os.path.dirname(__file__), *[os.pardir] * 4, "share", "chartcalc", "index")

# Date-time numbers: a date YYYYMMDD, or YYYYMMDDhhmmss for a bar with a time.
_DAY_DIGITS = 10**6


def _index_dir(index_dir):
    if index_dir is not None:
        return os.fspath(index_dir)
    installed = os.path.normpath(_INSTALLED_INDEX)
    return installed if os.path.isdir(installed) else _chartcalc.BUILD_INDEX_DIR


# Calendar arithmetic on whole days since 1970-01-01, in 400-year eras.
_EPOCH_SHIFT, _ERA_DAYS, _DAY_SECONDS = 719468, 146097, 86400
_TICKS_PER_SECOND = {"s": 1, "ms": 10**3, "us": 10**6, "ns": 10**9}
_FIRST_YEAR, _LAST_YEAR = 1, 9999  # dates are written with four year digits


def _civil_dates(days):
    """YYYYMMDD of day numbers since 1970-01-01, with integer array arithmetic."""
    z = days + _EPOCH_SHIFT
    era = z // _ERA_DAYS
    doe = z - era * _ERA_DAYS
    yoe = (doe - doe // 1460 + doe // 36524 - doe // 146096) // 365
    doy = doe - (365 * yoe + yoe // 4 - yoe // 100)
    mp = (5 * doy + 2) // 153  # months counted from March
    month = mp + np.where(mp < 10, 3, -9)
    year = yoe + era * 400 + (month <= 2)
    if days.size and not (_FIRST_YEAR <= year.min() and year.max() <= _LAST_YEAR):
        raise ValueError("a date lies outside the years %d to %d" % (_FIRST_YEAR, _LAST_YEAR))
    return year * 10000 + month * 100 + (doy - (153 * mp + 2) // 5 + 1)


def _time_numbers():
    """hhmmss of every second of a day."""
    second = np.arange(_DAY_SECONDS)
    return second // 3600 * 10000 + second // 60 % 60 * 100 + second % 60


_HHMMSS = _time_numbers().astype(np.float64)


def _ticks(values):
    """The values as integer ticks since 1970 and the ticks in a second."""
    if isinstance(values, np.ndarray):
        stamps = values  # NumPy's own units and range, beyond what pandas holds
        if np.datetime_data(stamps.dtype)[0] not in _TICKS_PER_SECOND:
            stamps = stamps.astype("datetime64[s]")  # days, hours, minutes: exact
        missing = np.isnat(stamps)
    else:
        stamps = pd.DatetimeIndex(values)
        if stamps.tz is not None:
            stamps = stamps.tz_localize(None)
        missing = stamps.isna()
        stamps = stamps.to_numpy()
    if missing.any():
        raise ValueError("bad date 'NaT'")
    return stamps.view(np.int64), _TICKS_PER_SECOND[np.datetime_data(stamps.dtype)[0]]


def _date_numbers(values):
    """Date-time numbers of datetime-like values (wall-clock time for zoned ones);
    daily when every time is midnight. Seconds' fractions are dropped.

    A million bars make arrays whose first touch costs more than the
    arithmetic on them, so the steps work in place in three arrays.
    """
    ticks, per_second = _ticks(values)
    second = ticks // per_second if per_second > 1 else ticks.copy()
    day = second // _DAY_SECONDS
    numbers = np.empty(len(day), dtype=np.float64)
    scratch = numbers.view(np.int64)
    np.multiply(day, _DAY_SECONDS, out=scratch)
    second -= scratch  # now the second of its day
    intraday = bool(second.any())
    first = day.min() if len(day) else 0
    span = day.max() - first + 1 if len(day) else 0
    if span <= len(day):
        # Bars share few days: each day of their span is converted once and
        # the bars look theirs up.
        day -= first
        table = _civil_dates(np.arange(first, first + span)).astype(np.float64)
        np.take(table * _DAY_DIGITS if intraday else table, day, out=numbers, mode="clip")
    else:
        numbers[:] = _civil_dates(day)
        if intraday:
            numbers *= _DAY_DIGITS
    if intraday:
        numbers += np.take(_HHMMSS, second, out=day.view(np.float64), mode="clip")
    return numbers


def _timestamps(numbers):
    """Timestamps of date-time numbers; NaT for 0 (a trade still open)."""
    numbers = np.asarray(numbers, dtype=np.float64)
    intraday = numbers >= 1e8
    full = np.where(intraday, numbers, numbers * _DAY_DIGITS).astype(np.int64)
    text = pd.Series(full).astype(str).where(numbers > 0)
    return pd.to_datetime(text, format="%Y%m%d%H%M%S", errors="coerce")


def _prices(prices):
    """The compiled price object and the index results take."""
    if isinstance(prices, _chartcalc.Prices):
        return prices, pd.RangeIndex(prices.bars)
    if isinstance(prices, pd.DataFrame):
        columns = {}
        for name in prices.columns:
            if not isinstance(name, str) or name in columns:
                continue
            column = prices[name]
            if isinstance(column, pd.DataFrame):  # a repeated name: the first counts
                column = column.iloc[:, 0]
            if pd.api.types.is_datetime64_any_dtype(column):
                columns[name] = _date_numbers(column)
            else:
                columns[name] = column.to_numpy()
        index_dates = _date_numbers(prices.index) if isinstance(prices.index, pd.DatetimeIndex) else None
        return _chartcalc.Prices(columns, index_dates), prices.index
    if isinstance(prices, dict):
        columns = {k: (_date_numbers(v) if np.asarray(v).dtype.kind == "M" else np.asarray(v))
                   for k, v in prices.items()}
        converted = _chartcalc.Prices(columns)
        return converted, pd.RangeIndex(converted.bars)
    raise TypeError("prices must be a pandas DataFrame or a dict of NumPy arrays, not %s" % type(prices).__name__)


def _texts(values):
    return [(str(k), str(v)) for k, v in values.items()]


def eval(formula, prices, lang="en", index_dir=None):
    """The formula over the prices as a Series with the prices' index (NaN before its first valid bar)."""
    data, index = _prices(prices)
    return pd.Series(_chartcalc.eval(formula, data, lang, _index_dir(index_dir)), index=index, copy=False)


def indicator(name, prices, index_dir=None, lang="en", **variables):
    """A definition of the index directory over the prices: one column per line, named by the line names."""
    data, index = _prices(prices)
    names, lines = _chartcalc.indicator(name, data, lang, _index_dir(index_dir), _texts(variables))
    return pd.DataFrame({n: pd.Series(v, index=index, copy=False) for n, v in zip(names, lines)}, index=index)


def transform(kind, prices, reset=False, **parameters):
    """A chart type of the prices: one row per element, as the tool prints it,
    with the bar times as timestamps.

    Parameters by their words (pnf: reversal, box; renko: brick; ...), or p1 and
    p2; for vap also from_bar and to_bar. The parameters as the calculation left
    them are in the frame's attrs["parameters"].
    """
    words = {name: (p1, p2) for name, p1, p2 in _chartcalc.transform_types()}
    options = []
    for key, value in parameters.items():
        p1, p2 = words.get(kind, ("", ""))
        option = {"p1": "p1", "p2": "p2", "from_bar": "from", "to_bar": "to"}.get(key)
        option = option or ("p1" if key == p1 and p1 else "p2" if key == p2 and p2 else None)
        if option is None:
            raise ValueError("%s takes no parameter '%s'" % (kind, key))
        options.append((option, str(value)))
    data, _ = _prices(prices)
    columns, letters, used = _chartcalc.transform(kind, data, options, bool(reset))
    frame = pd.DataFrame(columns)
    for name in letters:
        frame[name] = [chr(int(c)) if 33 <= c <= 126 else ("" if c == 0 or c != c else "%.0f" % c)
                       for c in frame[name]]
    # Counts as integers and bar times as timestamps, where every row has them.
    for name in ("n", "bar"):
        if name in frame and frame[name].notna().all():
            frame[name] = frame[name].astype(np.int64)
    if "datetime" in frame:
        frame["datetime"] = _timestamps(frame["datetime"].to_numpy())
    frame.attrs["parameters"] = used
    return frame


def _settings(settings, tick):
    """The tool's --settings, --set and --tick: a path to an INI file or a dict of keys."""
    pairs = []
    if isinstance(settings, (str, os.PathLike)):
        if not os.path.isfile(settings):
            raise FileNotFoundError("the settings file %s cannot be read" % os.fspath(settings))
        pairs.append(("settings", os.fspath(settings)))
    elif settings is not None:
        pairs += [("set", "%s=%s" % (k, v)) for k, v in settings.items()]
    if tick is not None:
        pairs.append(("tick", str(tick)))
    return pairs


class BacktestResult:
    """A back-test: .summary, .trades, .equity and report_html(dir)."""

    def __init__(self, raw, index, rerun):
        self.summary = pd.DataFrame(raw["summary"], columns=[
            "GroupID", "GroupName", "SubGroupID", "SubGroupName", "Sequence", "Name1", "Value1", "Name2", "Value2"])
        trades = pd.DataFrame(raw["trades"])
        for column in ("EntryDateTime", "ExitDateTime"):
            trades[column] = _timestamps(trades[column]).to_numpy()
        for column in ("Direction", "BarsHeld"):  # counts and codes, not amounts
            if column in trades and trades[column].notna().all():
                trades[column] = trades[column].astype(np.int64)
        self.trades = trades
        curves = raw["equity"]
        side = "total" if "total" in curves else next(iter(curves))
        self.equity = pd.Series(curves[side], index=index, name=side, copy=False)
        self._rerun = rerun

    def report_html(self, dir):
        """Writes the run's pages (summary, trades, equity) into dir."""
        self._rerun(os.fspath(dir))

    def __repr__(self):
        return "<BacktestResult: %d trades>" % len(self.trades)


def backtest(system, prices, settings=None, index_dir=None, lang="en", tick=None, symbol="", **variables):
    """Back-tests a trading system of the index directory over the prices."""
    data, index = _prices(prices)
    pairs, folder = _settings(settings, tick), _index_dir(index_dir)
    raw = _chartcalc.backtest(system, data, lang, folder, _texts(variables), pairs, symbol)

    def rerun(html_dir):
        # The pages are read from report files: the run is made once more as
        # a one-run optimisation into a private folder.
        ranges = {k: (v, v, 1) for k, v in variables.items()}
        with tempfile.TemporaryDirectory(prefix="chartcalc-report-") as reports:
            _optimise(system, data, ranges, pairs, folder, lang, symbol, 1, reports, None)
            _chartcalc.report_html(reports, 0, html_dir, lang, folder)

    return BacktestResult(raw, index, rerun)


def _optimise(system, data, ranges, pairs, folder, lang, symbol, jobs, out, progress):
    texts = [(str(k), str(v[0]), str(v[1]), str(v[2])) for k, v in ranges.items()]
    return _chartcalc.optimise(system, data, lang, folder, texts, pairs, symbol, int(jobs), out, progress)


class _TextBar:
    """Runs done of the total on standard error, redrawn in place."""

    WIDTH = 30

    def __init__(self, total):
        self.total, self.start = total, time.monotonic()

    def update(self, done):
        filled = done * self.WIDTH // self.total if self.total else self.WIDTH
        rate = done / max(time.monotonic() - self.start, 1e-9)
        sys.stderr.write("\r[%s%s] %d/%d runs, %.1f runs/s" % ("#" * filled, "-" * (self.WIDTH - filled),
                                                              done, self.total, rate))
        sys.stderr.flush()

    def close(self):
        sys.stderr.write("\n")


class _TqdmBar:
    def __init__(self, total):
        from tqdm.auto import tqdm
        self.bar, self.done = tqdm(total=total, unit="run"), 0

    def update(self, done):
        self.bar.update(done - self.done)
        self.done = done

    def close(self):
        self.bar.close()


def _progress_bar():
    """A callback drawing a bar (tqdm when installed, else text on a terminal), and its closer."""
    bar = []

    def update(done, total):
        if not bar:
            try:
                bar.append(_TqdmBar(total))
            except ImportError:
                bar.append(_TextBar(total) if sys.stderr.isatty() else None)
        if bar[0] is not None:
            bar[0].update(done)

    def close():
        if bar and bar[0] is not None:
            bar[0].close()

    return update, close


# Summary-info fields that hold numbers.
_TEXT_FIELDS = {"IndicatorName", "IndicatorVariable", "SymbolName", "SumFileName", "TradeListFileName"}


def _runs_frame(fields, rows):
    frame = pd.DataFrame(rows, columns=fields)
    for name in frame.columns:
        if name not in _TEXT_FIELDS:
            converted = pd.to_numeric(frame[name], errors="coerce")
            if converted.notna().sum() == frame[name].astype(bool).sum():
                frame[name] = converted
    if "SumFileName" in frame:
        frame.insert(0, "run", frame["SumFileName"].str.extract(r"Summary(\d+)\.rpt$")[0].astype("Int64"))
    return frame


def optimise(system, prices, ranges, jobs=1, progress=True, index_dir=None, settings=None, lang="en", tick=None,
             symbol="", out=None):
    """Back-tests every combination of the variable ranges {name: (start, end, step)}.

    Returns a DataFrame of all runs (the summary-info table). progress=True draws a
    bar; a callable is called as progress(done, total). out keeps the report files
    in that folder (emptied first; it may hold nothing but reports).
    """
    data, _ = _prices(prices)
    pairs, folder = _settings(settings, tick), _index_dir(index_dir)
    callback, close = _progress_bar() if progress is True else (progress or None, lambda: None)
    try:
        if out is not None:
            _check_report_folder(os.fspath(out))
            fields, rows = _optimise(system, data, ranges, pairs, folder, lang, symbol, jobs, os.fspath(out), callback)
        else:
            with tempfile.TemporaryDirectory(prefix="chartcalc-optimise-") as reports:
                fields, rows = _optimise(system, data, ranges, pairs, folder, lang, symbol, jobs, reports, callback)
    finally:
        close()
    return _runs_frame(fields, rows)


def _check_report_folder(out):
    """The optimiser empties its folder: refuse one holding anything but reports."""
    if not os.path.isdir(out):
        return
    for entry in os.scandir(out):
        if entry.is_file() and ".rpt" not in entry.name:
            raise OSError("the report folder %s holds %s, which is not a report" % (out, entry.name))
