#!/usr/bin/python3
"""Feeds `chartcalc indicator calc SMA --follow` through a pipe, a line at a time.

Usage: follow_pipe.py CHARTCALC

Each line is written only once the output of the one before it has been read,
so a row held back in a buffer, or a reader that waits for more input before
calculating, stalls the feed. The wait is a guard against hanging, not a
measure of speed.
"""
import os
import select
import subprocess
import sys

GUARD_SECONDS = 20


def bar(day, close):
    return f"202401{day},1,1,1,{close},1\n"


# A two-bar average: the line written, then the stream and the line expected.
STEPS = [
    ("date,open,high,low,close,volume\n", "out", "bar,datetime,SMA(2)"),
    (bar(10, 10), "out", "0,20240110,"),
    (bar(11, 20), "out", "1,20240111,15"),
    (bar(11, 30), "out", "1,20240111,20"),  # a tick inside bar 1
    (bar(11, "x"), "err", "warning: <stdin>:5: bad number 'x' in column 'close', row skipped"),
    (bar(12, 40), "out", "2,20240112,35"),  # the feed goes on after the bad line
]


def read_line(pipe, pending):
    """The next whole line of a pipe (None when none came within the guard)."""
    while b"\n" not in pending[pipe]:
        if not select.select([pipe], [], [], GUARD_SECONDS)[0]:
            return None
        chunk = os.read(pipe.fileno(), 4096)
        if not chunk:
            return None
        pending[pipe] += chunk
    line, pending[pipe] = pending[pipe].split(b"\n", 1)
    return line.decode()


def main():
    proc = subprocess.Popen([sys.argv[1], "indicator", "calc", "SMA", "--var", "period=2", "--follow"],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, bufsize=0)
    streams = {"out": proc.stdout, "err": proc.stderr}
    pending = {proc.stdout: b"", proc.stderr: b""}
    for written, stream, want in STEPS:
        proc.stdin.write(written.encode())
        got = read_line(streams[stream], pending)
        if got != want:
            proc.kill()
            print(f"after {written.strip()!r}: expected {want!r} on std{stream}, got {got!r}")
            return 1
    proc.stdin.close()
    status, rest = proc.wait(GUARD_SECONDS), proc.stdout.read()
    if status != 0 or rest:
        print(f"end of input: status {status}, further output {rest!r}")
        return 1
    print("every row appeared before the next line was written")
    return 0


if __name__ == "__main__":
    sys.exit(main())
