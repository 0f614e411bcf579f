#!/usr/bin/python3
"""Feeds `chartcalc indicator calc --follow` through a pipe, one line at a time.

Usage: follow_pipe.py CHARTCALC

Each line is written only after the output of the one before it has been
read, so a row held back in a buffer, or a reader that waits for more input
before calculating, stalls the feed and fails the test. The wait is a guard
against hanging, not a measure of speed.
"""
import os
import select
import subprocess
import sys

GUARD_SECONDS = 20
HEADER = "date,open,high,low,close,volume\n"


def bar(day, close):
    return f"202401{day},1,1,1,{close},1\n"


# A two-bar average: the line written, then the stream and the line expected.
STEPS = [
    (HEADER, "out", "bar,datetime,SMA(2)"),
    (bar(10, 10), "out", "0,20240110,"),
    (bar(11, 20), "out", "1,20240111,15"),
    (bar(11, 30), "out", "1,20240111,20"),  # a tick inside bar 1
    (bar(11, "x"), "err", "warning: <stdin>:5: bad number 'x' in column 'close', row skipped"),
    (bar(12, 40), "out", "2,20240112,35"),  # the feed goes on after the bad line
]


class LineReader:
    """Whole lines of a pipe, waiting at most the guard for each."""

    def __init__(self, pipe):
        self.fd = pipe.fileno()
        self.pending = b""

    def line(self):
        while b"\n" not in self.pending:
            ready, _, _ = select.select([self.fd], [], [], GUARD_SECONDS)
            if not ready:
                return None
            chunk = os.read(self.fd, 4096)
            if not chunk:
                return None
            self.pending += chunk
        line, self.pending = self.pending.split(b"\n", 1)
        return line.decode()


def main():
    tool = sys.argv[1]
    proc = subprocess.Popen([tool, "indicator", "calc", "SMA", "--var", "period=2", "--follow"],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
    readers = {"out": LineReader(proc.stdout), "err": LineReader(proc.stderr)}
    failures = []
    for written, stream, want in STEPS:
        proc.stdin.write(written.encode())
        got = readers[stream].line()
        if got != want:
            failures.append(f"after {written.strip()!r}: expected {want!r} on std{stream}, got {got!r}")
            break
    proc.stdin.close()
    try:
        status = proc.wait(GUARD_SECONDS)
    except subprocess.TimeoutExpired:
        proc.kill()
        status = "still running"
    rest = proc.stdout.read().decode()
    if status != 0 or rest:
        failures.append(f"end of input: status {status}, further output {rest!r}")
    for failure in failures:
        print(failure)
    if failures:
        return 1
    print("every row appeared before the next line was written")
    return 0


if __name__ == "__main__":
    sys.exit(main())
