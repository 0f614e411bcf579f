#!/usr/bin/python3
"""Renders the pages of `chartcalc report` in a headless browser.

Usage: render_pages.py CHARTCALC WORKDIR

Builds a report folder of one run (the table files are SQLite databases, so
the standard library writes them), writes its pages in English and in Korean,
takes a screenshot of the summary, trade and equity pages of each language,
and checks that every screenshot shows something and that the two languages
differ. The equity plot is also rendered alone with rsvg-convert when that is
installed. Exits 77 (skipped) without a browser.
"""
import os
import random
import re
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile
import zlib

CHROMIUM = "/usr/bin/chromium"
WINDOW = "900,1400"
RUN = 1
SKIP = 77
# A page shows something when this share of its pixels is not white.
MIN_INK = 0.005

SUMINFO_FIELDS = [("SumFileName", 200), ("TradeListFileName", 200)] + [
    (name, 50) for name in (
        "SymbolName IndicatorName IndicatorVariable Term Status EntryCommission ExitCommission Slippage "
        "TotalProfit TransactionCount WinLossRatio WinRatio ProfitFactor AverageProfit InMarketRatio").split()]
SUMMARY_FIELDS = "GroupID GroupName SubGroupID SubGroupName Sequence Name1 Value1 Name2 Value2".split()
TRADE_FIELDS = ("TradeNo EntryType ExitType EntryDate ExitDate EntryTime ExitTime EntryPrice ExitPrice Quantity "
                "Runup Drawdown EntryEff ExitEff TotalEff ProfitLossRatio CumProfitLossRatio ProfitLoss "
                "CumProfitLoss").split()


def write_table(path, fields, records):
    """A report table as the library stores it: declarations and records."""
    if os.path.exists(path):
        os.remove(path)
    db = sqlite3.connect(path)
    db.execute("CREATE TABLE fields(position INTEGER PRIMARY KEY, name TEXT NOT NULL, type TEXT NOT NULL, "
               "width INTEGER NOT NULL)")
    columns = ", ".join('"%s" TEXT' % name for name, _ in fields)
    db.execute('CREATE TABLE records(%s, "_deleted" INTEGER NOT NULL DEFAULT 0)' % columns)
    db.executemany("INSERT INTO fields VALUES(?, ?, 'c', ?)", [(i, n, w) for i, (n, w) in enumerate(fields)])
    marks = ", ".join("?" * len(fields))
    db.executemany("INSERT INTO records(%s) VALUES(%s)" % (", ".join('"%s"' % n for n, _ in fields), marks),
                   records)
    db.commit()
    db.close()


def make_trades():
    rng = random.Random(7)
    trades, cum, day = [], 0.0, 0
    import datetime
    start = datetime.date(2018, 1, 8)
    for k in range(36):
        entry = start + datetime.timedelta(days=day)
        day += rng.randint(5, 30)
        exit_ = start + datetime.timedelta(days=day)
        day += rng.randint(1, 10)
        side = "Buy" if k % 2 == 0 else "Sell"
        pl = round(rng.gauss(900, 4000), 2)
        cum += pl
        last = k == 35
        trades.append([str(k + 1), side + "Enterance", side + ("hold" if last else "Close"),
                       entry.strftime("%Y%m%d"), "00000000" if last else exit_.strftime("%Y%m%d"), "00:00",
                       "00:00", "52,300", "53,100", "10", "1200.00", "-800.00", "0.55", "0.47", "0.31",
                       "%.2f" % (pl / 5000), "%.2f" % (cum / 5000), "%.2f" % pl, "%.2f" % cum])
    return trades, cum


def make_summary():
    names = ["Total  profit&loss", "Total profit", "Total loss", "Profit Factor", "The count of total trade",
             "Profit Trade Count", "Loss trade count", "Max profit", "Max loss", "Max continuous profit",
             "Max continuous loss", "Average", "Standard deviation", "Effi]ciency"]
    subgroups = [("1", "Profit and loss summary"), ("2", "Max profit&loss"), ("3", "Average")]
    rows = []
    for gid, group in (("1", "Total trade"), ("2", "Buy"), ("3", "Sell")):
        for seq in range(14):
            sid, sub = subgroups[min(seq // 5, 2)]
            rows.append([gid, group, sid, sub, str(seq + 1), names[seq], "%d" % (1000 * (seq + 1)),
                         names[13 - seq], "%.2f" % (seq * 1.5)])
    return rows


def make_folder(folder):
    os.makedirs(folder, exist_ok=True)
    trades, cum = make_trades()
    # The run wrote its files elsewhere; the tool finds them by name.
    info = ["C:\\Chart\\Rpt\\Summary%d.rpt" % RUN, "C:\\Chart\\Rpt\\TradeList%d.rpt" % RUN, "삼성전자",
            "MACross", "(5,20)", "2018.01.02 ~ 2020.12.30", "Buy", "0.02%", "0.02%", "0.10%", "%.2f" % cum,
            str(len(trades)), "1.4", "0.55", "1.7", "%.2f" % (cum / len(trades)), "61.20"]
    write_table(os.path.join(folder, "SumInfo.rpt"), SUMINFO_FIELDS, [info])
    write_table(os.path.join(folder, "Summary%d.rpt" % RUN), [(n, 50) for n in SUMMARY_FIELDS], make_summary())
    write_table(os.path.join(folder, "TradeList%d.rpt" % RUN), [(n, 50) for n in TRADE_FIELDS], trades)
    return len(trades)


def png_pixels(path):
    """(width, height, rows of RGBA or RGB bytes, bytes per pixel) of an 8-bit PNG."""
    data = open(path, "rb").read()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError("%s is not a PNG" % path)
    pos, idat, width = 8, b"", 0
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour = struct.unpack(">IIBB", body[:10])
            if depth != 8 or colour not in (2, 6):
                raise ValueError("%s: unsupported PNG (depth %d, colour %d)" % (path, depth, colour))
            bpp = 3 if colour == 2 else 4
        elif kind == b"IDAT":
            idat += body
        pos += 12 + length
    raw, stride, rows, prev = zlib.decompress(idat), width * bpp, [], bytearray(width * bpp)
    for y in range(height):
        f, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        if f == 1:
            for i in range(bpp, stride):
                line[i] = (line[i] + line[i - bpp]) & 255
        elif f == 2:
            line = bytearray((a + b) & 255 for a, b in zip(line, prev))
        elif f == 3:
            for i in range(stride):
                line[i] = (line[i] + ((line[i - bpp] if i >= bpp else 0) + prev[i]) // 2) & 255
        elif f == 4:
            for i in range(stride):
                a = line[i - bpp] if i >= bpp else 0
                b, c = prev[i], prev[i - bpp] if i >= bpp else 0
                p = a + b - c
                pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                line[i] = (line[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
        rows.append(line)
        prev = line
    return width, height, rows, bpp


def ink(path):
    """The share of pixels that are not white."""
    width, height, rows, bpp = png_pixels(path)
    white = bytes([255, 255, 255])
    dark = sum(1 for row in rows for x in range(0, width * bpp, bpp) if row[x:x + 3] != white)
    return dark / float(width * height)


def screenshot(page, png, profile):
    subprocess.run([CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
                    "--disable-background-networking", "--hide-scrollbars", "--user-data-dir=" + profile,
                    "--window-size=" + WINDOW, "--screenshot=" + png, "file://" + os.path.abspath(page)],
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60, check=False)
    if not os.path.isfile(png):
        raise RuntimeError("no screenshot of " + page)


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    tool, work = sys.argv[1], sys.argv[2]
    if not os.access(CHROMIUM, os.X_OK):
        print("skipped: no " + CHROMIUM)
        return SKIP
    shutil.rmtree(work, ignore_errors=True)
    folder = os.path.join(work, "Rpt")
    trades = make_folder(folder)
    failures = []
    for lang in ("en", "ko"):
        r = subprocess.run([tool, "report", str(RUN), "--html", os.path.join(work, lang), "--report-dir", folder,
                            "--lang", lang], capture_output=True, text=True, timeout=60)
        if r.returncode != 0:
            print("report --lang %s failed: %s" % (lang, r.stderr), file=sys.stderr)
            return 1
    equity = open(os.path.join(work, "en", "equity.html"), encoding="utf-8").read()
    if equity.count('<circle class="trade') != trades:
        failures.append("equity.html: %d markers for %d trades" % (equity.count('<circle class="trade'), trades))

    blank = os.path.join(work, "blank.html")
    open(blank, "w").write("<html><body></body></html>\n")
    shots = {}
    with tempfile.TemporaryDirectory() as profile:
        screenshot(blank, os.path.join(work, "blank.png"), profile)
        for lang in ("en", "ko"):
            for page in ("summary.html", "trades.html", "equity.html"):
                png = os.path.join(work, "%s-%s.png" % (lang, page[:-5]))
                screenshot(os.path.join(work, lang, page), png, profile)
                shots[(lang, page)] = png
    if ink(os.path.join(work, "blank.png")) > MIN_INK:
        failures.append("the blank page is not white: the ink measure is wrong")
    for (lang, page), png in sorted(shots.items()):
        share = ink(png)
        print("%s %s: %.1f%% not white" % (lang, page, 100 * share))
        if share < MIN_INK:
            failures.append("%s %s looks blank" % (lang, page))
    for page in ("summary.html", "trades.html", "equity.html"):
        if open(shots[("en", page)], "rb").read() == open(shots[("ko", page)], "rb").read():
            failures.append("%s looks the same in English and Korean" % page)

    if shutil.which("rsvg-convert"):
        svg = re.search(r"<svg.*</svg>", equity, re.S).group(0)
        open(os.path.join(work, "equity.svg"), "w", encoding="utf-8").write(svg)
        r = subprocess.run(["rsvg-convert", "-b", "white", "-o", os.path.join(work, "equity-svg.png"),
                            os.path.join(work, "equity.svg")], capture_output=True, timeout=60)
        if r.returncode != 0 or ink(os.path.join(work, "equity-svg.png")) < MIN_INK:
            failures.append("rsvg-convert cannot draw the equity plot: %s" % r.stderr.decode(errors="replace"))

    for f in failures:
        print("FAIL: " + f, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
