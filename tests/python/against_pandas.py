"""How fast a million fixes reach NumPy, beside pandas.read_csv on the same file, by processor time.

Usage: PYTHONPATH=build/release/python tests/python/against_pandas.py
"""

import statistics
import tempfile
import time

import pandas

import kvutilities


def write(path, lines):
    with open(path, "w", encoding="ascii") as file:
        for i in range(lines):
            body = (  # as an RTK receiver writes it
                f"GNGGA,{i // 36000 % 24:02}{i // 600 % 60:02}{i // 10 % 60:02}.{i % 10}0,4807.{i * 991 % 100000000:08},N,"
                f"01131.{i * 577 % 100000000:08},E,4,{12 + i // 5000 % 8:02},0.8,{500 + i % 97}.123,M,46.900,M,"
                f"{1 + i % 10 / 10:.1f},0133"
            )
            checksum = 0
            for byte in body.encode():
                checksum ^= byte
            file.write(f"${body}*{checksum:02X}\n")


def seconds(read):
    before = time.process_time()
    rows = len(read())
    return time.process_time() - before, rows


with tempfile.NamedTemporaryFile(suffix=".nmea") as log:
    write(log.name, 1_000_000)
    ratios = []
    for _ in range(5):
        ours, fixes = seconds(lambda: kvutilities.read_trajectory(log.name, date="2025-06-18"))
        theirs, rows = seconds(lambda: pandas.read_csv(log.name, header=None))
        assert fixes == rows == 1_000_000
        ratios.append(theirs / ours)
        print(f"kvutilities {ours:.2f} s, pandas {theirs:.2f} s")
    print(f"{statistics.median(ratios):.1f} times as fast")
