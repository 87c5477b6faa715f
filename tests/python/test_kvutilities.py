"""The module against what the command writes for the same files."""

import contextlib
import csv
import datetime
import inspect
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import threading
import time
import types
import warnings

import numpy
import pytest

import kvutilities

KVMISSION = os.environ["KVMISSION"]


def command(*arguments, cwd):
    done = subprocess.run([KVMISSION, *map(str, arguments)], cwd=cwd, capture_output=True, text=True)
    assert done.returncode in (0, 3), done.stderr
    return done.stdout


@pytest.fixture(scope="session")
def mission(tmp_path_factory):
    """A simulated mission and the command's results."""
    folder = tmp_path_factory.mktemp("mission")
    command("simulate", "m", "-q", "--minutes", "2", "--photo-size", "64x48", "--seed", "4", cwd=folder)
    command("run", "m", "-q", "-o", "o", "--outputs", "csv,json", cwd=folder)
    return folder


def rows_of(path):
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def test_a_mission_is_what_the_command_makes_of_it(mission):
    made = kvutilities.run_mission(mission / "m", output=mission / "python", outputs=["csv", "json"])
    written = json.loads((mission / "o" / "summary.json").read_text())
    assert made.complete == written["complete"]
    told = [finding.code for finding in made.findings if finding.severity != "note"]
    assert told == [entry["code"] for entry in written["findings"]]
    assert made.summary["cameras"] == written["cameras"]
    assert (mission / "python" / "csv").is_dir()

    exposures = made.exposures
    kept = ~exposures["dropped"]
    photos = [row for row in rows_of(next((mission / "o" / "csv").glob("photo*.csv")))]
    assert kept.sum() == len(photos) > 0
    assert {os.path.basename(name) for name, is_kept in zip(exposures["photo"], kept) if is_kept} == {
        os.path.basename(value) for row in photos for value in row.values() if value.endswith(".jpg")
    }
    assert numpy.isfinite(exposures["latitude"][kept]).all() and numpy.isfinite(exposures["sharpness"][kept]).all()
    assert all(bool(text) == dropped for text, dropped in zip(exposures["drop"], exposures["dropped"]))
    assert len(made.fixes) == written["trajectory"]["fixes"]
    assert len(made.stations) > 0 and len(made.heartbeats) > 100 and len(made.log) > 100
    assert made.pos is None


def test_files_are_tables(mission):
    fixes = kvutilities.read_trajectory(mission / "m" / "trajectory.nmea")
    assert fixes["time"].dtype == "M8[us]" and (numpy.diff(fixes["time"]) > numpy.timedelta64(0)).all()
    first = next(line for line in open(mission / "m" / "trajectory.nmea") if re.match(r"\$G.GGA,\d+\.\d+,\d", line))
    fields = first.split(",")
    assert fixes["latitude"][0] == pytest.approx(int(fields[2][:2]) + float(fields[2][2:]) / 60, abs=1e-12)
    assert fixes["height"][0] == pytest.approx(float(fields[9]) + float(fields[11]), abs=1e-9)
    assert fixes["satellites"][0] == int(fields[7])

    events = kvutilities.read_events(mission / "m" / "events.txt")
    lines = [line.split(",") for line in open(mission / "m" / "events.txt") if "," in line]
    heartbeat = next(line for line in lines if len(line[1].strip()) == 12)
    row = events.array[numpy.flatnonzero(events["type"] == 1)[0]]
    assert row["tick"] == int(heartbeat[0])
    assert row["time"] == numpy.datetime64(datetime.datetime.strptime(heartbeat[1].strip(), "%H%M%S%d%m%y"))
    assert set(events["camera"]) == {-1, 1, 2}

    log = kvutilities.read_log(mission / "m" / "housekeeping.log")
    assert len(log["type"]) == len(log) > 0
    assert numpy.isnan(log["battery_voltage"]).any() and (log["battery_voltage"] > 1).any()

    pytest.importorskip("pandas")
    frame = fixes.to_pandas()
    assert list(frame.columns) == fixes.columns and str(frame["quality"].dtype) == "category"


def test_places_go_into_files(mission, tmp_path):
    geopandas = pytest.importorskip("geopandas")
    exposures = kvutilities.run_mission(mission / "m").exposures
    made = exposures.to_geopandas()
    made.to_file(tmp_path / "exposures.gpkg")
    read = geopandas.read_file(tmp_path / "exposures.gpkg")
    assert read.crs == 4326 and list(read.geometry.isna()) == list(numpy.isnan(exposures["longitude"]))
    assert read.geometry.iloc[-1].z == exposures["height"][-1]
    assert list(read["quality"]) == [kvutilities.POSITION_QUALITIES[quality] for quality in exposures["quality"]]
    with pytest.raises(kvutilities.Error, match="no places"):
        kvutilities.read_events(mission / "m" / "events.txt").to_geopandas()


def test_pos_files(mission, tmp_path):
    pos = tmp_path / "a.pos"
    rest = " ".join(["1.0"] * 10)
    pos.write_text("".join(f"2200 {100000 + i} 47.{i:04} 9.5 400.0 {rest}\n" for i in range(100)))
    command("transform", pos, "--target", "EPSG:32632", "-o", "t.csv", cwd=tmp_path)
    table = kvutilities.read_pos(pos, "EPSG:32632")
    written = rows_of(tmp_path / "t.csv")
    for column in ("x", "y", "z", "latitude", "height"):
        assert list(table[column]) == pytest.approx([float(row[column]) for row in written], abs=1e-6)
    assert table["time"][0] == numpy.datetime64("2022-03-07T03:46:22")
    made, findings = kvutilities.transform(pos, "EPSG:32632", tmp_path / "python.csv")
    assert (tmp_path / "python.csv").read_bytes() == (tmp_path / "t.csv").read_bytes() and isinstance(made, dict)


def test_sharpness_is_the_command_s(mission, tmp_path):
    photos = sorted((mission / "m" / "cam1").glob("*.jpg"))[:4]
    graded = json.loads(command("grade", "--json", *photos, cwd=mission))
    expected = [entry["sharpness"] for entry in graded]
    assert list(kvutilities.sharpness(photos, jobs=2)) == pytest.approx(expected, rel=1e-12)
    assert kvutilities.sharpness(photos[0]) == pytest.approx(expected[0], rel=1e-12)
    other = tmp_path / "other.jpg"
    other.write_text("not a photo")
    with pytest.warns(kvutilities.PhotoWarning):
        values = kvutilities.sharpness([photos[0], other])
    assert numpy.isnan(values[1]) and values[0] == pytest.approx(expected[0])


@pytest.mark.parametrize(
    "call, error",
    [
        (lambda m: kvutilities.run_mission(m / "nowhere"), FileNotFoundError),
        (lambda m: kvutilities.run_mission(m / "m", trajectory=m / "nowhere"), FileNotFoundError),
        (lambda m: kvutilities.read_log(m / "nowhere"), FileNotFoundError),
        (lambda m: kvutilities.sharpness([m / "nowhere.jpg"]), FileNotFoundError),
        (lambda m: kvutilities.run_mission(m / "m", cam1_offset="soon"), ValueError),
        (lambda m: kvutilities.run_mission(), ValueError),
        (lambda m: kvutilities.run_mission(m / "m", cam3=1), TypeError),
        (lambda m: kvutilities.run_mission(m / "m", overwrite="false"), TypeError),
        (lambda m: kvutilities.read_events(m / "m" / "events.txt", progress=5), TypeError),
        (lambda m: kvutilities.read_events(m / "m" / "trajectory.nmea"), kvutilities.Error),
        (lambda m: kvutilities.read_trajectory(m / "m" / "events.txt"), kvutilities.Error),
        (lambda m: kvutilities.read_pos(m / "m" / "events.txt"), kvutilities.Error),
        (lambda m: kvutilities.describe(m), kvutilities.Error),
        (lambda m: kvutilities.describe(m / "m" / "events.txt", max_gap=-1), ValueError),
        (lambda m: kvutilities.sharpness([], max_megapixels=float("nan")), ValueError),
        (lambda m: kvutilities.sharpness([], jobs=-1), ValueError),
        (lambda m: kvutilities.sharpness(m / "m" / "events.txt"), kvutilities.Error),
    ],
)
def test_failures_are_python_s_own(mission, call, error):
    with pytest.raises(error):
        call(mission)


def test_describe_is_the_command_s(mission):
    path = mission / "m" / "housekeeping.log"
    written = json.loads(command("info", "--json", path, cwd=mission))
    assert kvutilities.describe(path)["kind"] == written[0]["kind"]


def test_settings_are_those_of_the_table(mission):
    names = set(inspect.signature(kvutilities.run_mission).parameters)
    helped = set(re.findall(r"^  (?:-., *)?--([a-z0-9-]+)", command("run", "--help", cwd=mission), re.M))
    shared = {name.replace("-", "_") for name in helped} - {"help", "json", "quiet", "verbose", "dry_run", "strict"}
    assert shared - names <= {"progress", "yes"} and {"cam1_offset", "max_gap", "skip_unreadable"} <= names
    stub = pathlib.Path(kvutilities.__file__).with_suffix(".pyi").read_text()
    stubbed = re.search(r"def run_mission\((.*?)\) ->", stub, re.S).group(1)
    assert set(re.findall(r"(\w+):", stubbed)) == names
    for name in kvutilities.__all__:
        assert re.search(rf"\b{name}\b", stub), name


def test_threads_work_at_once_and_hear_of_progress(mission):
    heard, made = [], []

    def work():
        made.append(kvutilities.run_mission(mission / "m", no_sharpness=True, progress=lambda *said: heard.append(said)))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert len({len(one.exposures) for one in made}) == 1 and len(made) == 4
    assert heard and all(len(said) == 5 for said in heard)

    bar = types.SimpleNamespace(n=0, total=None, set_description=lambda *_, **__: None, refresh=lambda: None)  # as tqdm's
    kvutilities.read_trajectory(mission / "m" / "trajectory.nmea", progress=bar)
    assert 0 < bar.n <= bar.total

    def fail(*_):
        raise LookupError("enough")

    for call in (kvutilities.run_mission, lambda m, **options: kvutilities.sharpness(next(m.glob("cam1/*.jpg")), **options)):
        with pytest.raises(LookupError, match="enough"):
            call(mission / "m", progress=fail)


def test_control_c_ends_a_run(mission, tmp_path):
    pipe = tmp_path / "log"
    os.mkfifo(pipe)
    program = f"import kvutilities; print('ready', flush=True); kvutilities.run_mission({str(mission / 'm')!r}, trajectory={str(pipe)!r})"
    child = subprocess.Popen([sys.executable, "-c", program], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    assert child.stdout.readline() == "ready\n"
    with contextlib.suppress(BrokenPipeError), open(pipe, "w") as log:
        sentence = "$GNGGA,093000.00,,,,,0,00,99.99,,,,,,*72\r\n" * 1000
        begin = time.monotonic()
        child.send_signal(signal.SIGINT)
        while child.poll() is None and time.monotonic() - begin < 30:
            log.write(sentence)
            log.flush()
    assert "KeyboardInterrupt" in child.communicate(timeout=30)[1]


def test_python_m_runs_the_command(mission):
    environment = {**os.environ, "PATH": os.path.dirname(KVMISSION) + os.pathsep + os.environ["PATH"]}
    told = subprocess.run(
        [sys.executable, "-m", "kvutilities", "--version"], capture_output=True, text=True, env=environment, check=True
    )
    assert told.stdout.strip() == f"kvmission {kvutilities.__version__}"
