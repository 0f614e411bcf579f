#!/usr/bin/python3
"""Draws every chart type of `chartcalc transform` and checks the pictures.

Usage: transform_svg.py CHARTCALC DATA_DIR WORKDIR

Each picture must be well-formed XML with an <svg> root, fetch nothing (no
scripts, links or imported styles), hold no number that is not finite, and
hold one element of class "mark" per element of the CSV the same run printed
(for the market profile: per bar that carries a letter). The CSV must be the
same with and without --svg. When rsvg-convert is installed, each picture is
also rendered to PNG beside it.
"""
import os
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ET

SVG_NS = "{http://www.w3.org/2000/svg}"
# type, extra arguments, data file, CSV column that must be non-empty for a row to be drawn
CASES = [
    ("pnf", ["--reset"], "sample_daily.csv", None),
    ("kagi", ["--reset"], "sample_daily.csv", None),
    ("swing", ["--reset"], "sample_daily.csv", None),
    ("renko", ["--reset"], "sample_daily.csv", None),
    ("linebreak", ["--reset"], "sample_daily.csv", None),
    ("ccw", ["--reset"], "sample_daily.csv", None),
    ("candlevolume", [], "sample_daily.csv", None),
    ("vap", ["--reset"], "sample_daily.csv", None),
    ("vap", ["--from", "2400", "--to", "2607", "--p1", "24"], "sample_daily.csv", None),
    ("profile", ["--p1", "30"], "sample_intraday.csv", "letter"),
]
FORBIDDEN = re.compile(r"<script|href=|url\(|@import|\bnan\b|\binf\b", re.IGNORECASE)


def run(args):
    return subprocess.run(args, capture_output=True, text=True, check=False)


def drawn_rows(csv, column):
    lines = csv.splitlines()
    if column is None:
        return len(lines) - 1
    at = lines[0].split(",").index(column)
    return sum(1 for line in lines[1:] if line.split(",")[at])


def marks(root):
    return sum(1 for e in root.iter() if "mark" in e.get("class", "").split())


def check(tool, data_dir, work, case):
    kind, extra, data, column = case
    name = "%s-%s" % (kind, len(os.listdir(work)))
    svg = os.path.join(work, name + ".svg")
    base = [tool, "transform", kind, "--data", os.path.join(data_dir, data)] + extra
    drawn, plain = run(base + ["--svg", svg]), run(base)
    if drawn.returncode != 0 or drawn.stdout != plain.stdout:
        return "%s: status %d, or its CSV changed with --svg: %s" % (name, drawn.returncode, drawn.stderr)
    text = open(svg, encoding="utf-8").read()
    if FORBIDDEN.search(text):
        return "%s: holds %r" % (name, FORBIDDEN.search(text).group(0))
    root = ET.fromstring(text)
    expected = drawn_rows(drawn.stdout, column)
    if root.tag != SVG_NS + "svg" or expected == 0 or marks(root) != expected:
        return "%s: %d marks for %d CSV elements" % (name, marks(root), expected)
    if shutil.which("rsvg-convert"):
        png = run(["rsvg-convert", "-o", os.path.join(work, name + ".png"), svg])
        if png.returncode != 0:
            return "%s: rsvg-convert failed: %s" % (name, png.stderr)
    return None


def main():
    tool, data_dir, work = sys.argv[1:4]
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    failures = [f for f in (check(tool, data_dir, work, case) for case in CASES) if f]
    for f in failures:
        print(f, file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
