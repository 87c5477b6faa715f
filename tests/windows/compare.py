#!/usr/bin/env python3
"""Runs the same missions through the command of this system and that of Windows under Wine, and compares what they write
and say: equal byte for byte, but for dates in .dbf headers, how paths are written, and the sixth decimal of projected
coordinates, which depends on the C library's sine.

usage: tests/windows/compare.py COMMAND WINDOWS_COMMAND
"""
import os, re, shutil, sqlite3, subprocess, sys, tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
OUTPUTS = "shp,gpkg,qgz,report,json,geojson,fgb,gpx,csv,odm,metashape,pix4d,opensfm,missionplanner"
STEPS = [  # arguments, exit code
    ("simulate mission --minutes 5 --seed 1 --pos llh --quiet", 0),
    (f"run mission -o layers --quiet --target EPSG:32633+5773 --outputs {OUTPUTS}", 3),
    ("info layers/photos.shp layers/stations.shp mission/orientation.txt", 0),
    ("transform mission/rover.pos --target EPSG:32633+5773 -o moved.csv --quiet", 0),
    ("geotag mission -o tagged --quiet", 3),
    ("simulate drone --drone --minutes 2 --seed 7 --quiet", 0),
    ("run drone -o Ergebnis-αβ中 --quiet", 3),
]


def commands():
    own, windows = (str(Path(argument).resolve()) for argument in sys.argv[1:3])
    wine = [str(HERE.parent.parent / "scripts/windows/wine-run"), os.environ["KVUTILITIES_WINDOWS_PREFIX"] + "/bin"]
    return {"this system": [own], "Windows": wine + [windows]}


def results(command, place):
    """@return what each step says and what each file holds, made in the same folder for both"""
    place.mkdir()
    said = {}
    for arguments, code in STEPS:
        done = subprocess.run(command + arguments.split(), cwd=place, capture_output=True)
        if done.returncode != code:
            sys.exit(f"{command[-1]} {arguments}: exit {done.returncode}\n{done.stderr.decode(errors='replace')}")
        said[arguments] = done.stdout
    files = {str(file.relative_to(place)): content(file) for file in sorted(place.rglob("*")) if file.is_file()}
    shutil.rmtree(place)
    return said | files


def content(file):
    if file.suffix == ".gpkg":  # a database: what it holds, not how its pages lie
        with sqlite3.connect(file) as database:
            return "\n".join(map(str, database.iterdump())).encode()
    if file.suffix == ".fgb":  # tells the lengths of its texts
        return subprocess.run(["ogr2ogr", "-f", "GeoJSON", "/vsistdout/", file], capture_output=True, check=True).stdout
    data = file.read_bytes()
    if file.suffix == ".dbf":  # without the date; texts are padded to their fields
        return data[:1] + re.sub(b" +", b" ", data[4:])
    return data


def alike(data, place):
    """Paths of this place, however they are written."""
    for windows in (f"Z:{place}".replace("/", "\\"), f"Z:{place}".replace("/", "\\\\"), f"Z:{place}"):
        data = data.replace(windows.encode(), str(place).encode())
    return data.replace(b"\\\\", b"/").replace(b"\\", b"/").replace(b"\r\n", b"\n")


def differ(name, here, there):
    if name == "moved.csv":
        here, there = ([line.split(b",") for line in data.splitlines()] for data in (here, there))
        return len(here) != len(there) or any(map(far, here, there))
    return here != there


def far(here, there):
    """Of two lines of a table."""
    differing = [(a, b) for a, b in zip(here, there, strict=True) if a != b]
    return any(re.search(rb"\.\d{6}$", a) is None or abs(float(a) - float(b)) > 1.001e-6 for a, b in differing)


def main():
    with tempfile.TemporaryDirectory() as folder:
        place = Path(folder) / "place"
        here, there = (results(command, place) for command in commands().values())
    different = sorted(set(here) ^ set(there))
    for name in sorted(set(here) & set(there)):
        if here[name] != there[name] and differ(name, alike(here[name], place), alike(there[name], place)):
            different.append(name)
    for name in different:
        print(f"different: {name}", file=sys.stderr)
    print(f"{len(set(here) | set(there)) - len(different)} of {len(set(here) | set(there))} results are equal on both systems")
    sys.exit(1 if different else 0)


main()
