"""The plugin out of its zip, in qgis_process, over the module and over the command, which KVMISSION names."""

import importlib.util
import json
import os
import pathlib
import shutil
import subprocess
import sys
import zipfile

import pytest

QGIS = shutil.which("qgis_process.bin") or shutil.which("qgis_process")
KVMISSION = os.environ.get("KVMISSION", "")
HERE = pathlib.Path(__file__).resolve().parent
MODULE = importlib.util.find_spec("kvutilities")

if not QGIS or importlib.util.find_spec("qgis") is None:
    pytest.skip("qgis_process or QGIS's Python modules are not installed", allow_module_level=True)


def simulate(folder, *options):
    subprocess.run([KVMISSION, "simulate", folder, "-q", "--seed", "4", *options], check=True)
    return folder


@pytest.fixture(scope="session")
def place(tmp_path_factory):
    """A folder with an unzipped plugin and missions, and with names that need care."""
    folder = tmp_path_factory.mktemp("Flüge 'Süd' #1 & x=y")
    script = HERE.parents[1] / "scripts" / "qgis-plugin.py"
    made = subprocess.check_output([sys.executable, script, KVMISSION, folder / "made"], text=True)
    zipfile.ZipFile(made.strip()).extractall(folder / "plugins")
    simulate(folder / "mission", "--minutes", "2", "--photo-size", "64x48", "--pos", "llh")
    simulate(folder / "doubtful", "--minutes", "3", "--photo-size", "64x48", "--cam1-clock", "37")
    photo = next((folder / "mission" / "cam1").glob("*.jpg")).read_bytes()
    (folder / "mission damaged.jpg").write_bytes(photo[:len(photo) // 2] + photo[-2:])
    (folder / "runtime").mkdir(mode=0o700)
    return folder


def environment(place, program="", **changed):
    """Of a QGIS that has the plugin alone, with a choice of the program that does the work."""
    profile = place / ("profile " + program.replace("/", "-"))
    settings = profile / "profiles" / "default" / "QGIS" / "QGIS3.ini"
    settings.parent.mkdir(parents=True, exist_ok=True)
    settings.write_text(f"[PythonPlugins]\nkvmission=true\n[Processing]\nConfiguration\\KVMISSION_PROGRAM={program}\n")
    return {**os.environ, "QGIS_CUSTOM_CONFIG_PATH": str(profile), "QGIS_PLUGINPATH": str(place / "plugins"),
            "XDG_RUNTIME_DIR": str(place / "runtime"), "QT_QPA_PLATFORM": "offscreen", **changed}


def process(environment, algorithm, **parameters):
    """Exit code, what qgis_process says as JSON (nothing after a failure), and what it says besides."""
    given = [f"{name}={value}" for name, value in parameters.items()]
    ended = subprocess.run([QGIS, "--json", "run", f"kvmission:{algorithm}", "--", *given], env=environment,
                           check=False, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    return ended.returncode, json.loads(ended.stdout) if ended.returncode == 0 else {}, ended.stderr


@pytest.fixture(scope="session")
def ways(place):
    """Environments for the module and for the command."""
    if MODULE is None:
        pytest.skip("the module kvutilities is not built")
    return {"module": environment(place, "/usr/bin/python3"), "command": environment(place, KVMISSION)}


def within(place, parameters):
    """Parameters with names of files and folders made paths."""
    return {name: place / value if str(value).startswith(("mission", "plugins", "nowhere")) else value
            for name, value in parameters.items()}


def content(folder):
    return {str(file.relative_to(folder)): file.read_bytes() for file in sorted(folder.rglob("*")) if file.is_file()}


@pytest.mark.parametrize("algorithm, parameters, output", [
    ("run", {"MISSION": "mission", "PAIR": "time", "OUTPUTS": "gpkg,qgz,report,json,kml", "CAM1_OFFSET": "auto",
             "DATE": "2025-06-18", "MAX_GAP": 2.5, "JOBS": 1, "CAM1_LEVER_ARM": "0.2,-0.1,0.3",
             "EVENTS": "mission/events.txt", "TRAJECTORY": "mission/trajectory.nmea"}, ""),
    ("run", {"MISSION": "mission", "POS": "mission/rover.pos", "TARGET": "EPSG:32632", "NO_SHARPNESS": True,
             "OUTPUTS": "shp"}, ""),
    ("run", {"MISSION": "mission", "OUTPUTS": "csv,opensfm"}, ""),
    ("grade", {"FOLDER": "mission/cam1", "PHOTOS": "mission/events.txt"}, "sharpness.csv"),
    ("grade", {"PHOTOS": "mission damaged.jpg", "JOBS": 1}, "sharpness.csv"),
    ("transform", {"INPUT": "mission/rover.pos", "TARGET": "EPSG:32632", "HEIGHTS": 5773}, "a.csv"),
    ("transform", {"INPUT": "mission/rover.pos", "TARGET": "EPSG:31468"}, "a.shp"),
    ("describe", {"INPUT": "mission/trajectory.nmea"}, None),
])
def test_module_and_command_give_equal_results(place, ways, tmp_path, algorithm, parameters, output):
    given, seen = within(place, parameters), []
    for environment in ways.values():
        folder = tmp_path / "results of both"  # one place for both: it is named in results
        if output is not None:
            given["OUTPUT"] = folder / output
        folder.mkdir()
        code, told, errors = process(environment, algorithm, **given)
        assert code == 0, errors
        log = told["log"]
        engines = [line for line in log["info"] if line.startswith(("The command", "The Python module"))]
        assert len(engines) == 1 and engines[0].startswith("The command" if seen else "The Python module")
        notes = [line for line in log["info"] if line not in engines and not line.startswith("writing ")]
        seen.append([told["results"], sorted(log.get("warning", [])), sorted(notes), content(folder)])
        assert bool(seen[-1][-1]) == (output is not None)
        shutil.rmtree(folder)
    assert seen[0] == seen[1]


def test_parameters_are_the_engine_s_settings(place, ways):
    """The module's table of settings is an independent way to the same source."""
    table = json.loads((place / "plugins" / "kvmission" / "settings.json").read_text(encoding="utf-8"))
    kinds = {"path": {"file", "files", "folder"}, "text": {"text", "choices"}, "number": {"number"}, "date": {"date"},
             "number-or-auto": {"text"}, "count": {"count"}, "choice": {"choice"}, "flag": {"flag"}}
    module = importlib.import_module("kvutilities")
    engine = {name: (kind, text) for name, kind, _, text in module._kvutilities.settings() if name != "allow-outside"}
    assert [row["name"] for row in table["settings"]] == list(engine)
    for row in table["settings"]:
        kind, text = engine[row["name"]]
        assert row["kind"] in kinds[kind] and row["help"] == text, row
        assert (len(row["choices"]) > 1) == (row["kind"] in ("choice", "choices")), row


def test_doubts_are_errors(place, ways, tmp_path):
    given = {"MISSION": place / "doubtful", "OUTPUT": tmp_path / "out"}
    for way, environment in ways.items():
        code, _, errors = process(environment, "run", **given, OVERWRITE=way == "command")
        assert code == 1 and "doubt: camera 1" in errors and "Results may be wrong" in errors, errors
    code, told, errors = process(ways["module"], "run", **given, OVERWRITE=True, ACCEPT_DOUBT=True)
    assert code == 0 and told["results"]["DOUBTFUL"] and "PHOTO_LAYER" in told["results"], errors
    assert any("CAM1_OFFSET auto" in line for line in told["log"]["errors"])


@pytest.mark.parametrize("algorithm, parameters, sentence", [
    ("run", {"MISSION": "nowhere"}, "nowhere: "),
    ("run", {}, "Give a MISSION folder, a TRAJECTORY or TIMESTAMPS."),
    ("run", {"MISSION": "mission", "CAM1_OFFSET": "soon"}, "CAM1_OFFSET must be a number of seconds, or auto"),
    ("run", {"MISSION": "mission", "EVENT_OFFSET": "0,5"}, "EVENT_OFFSET must be a number"),
    ("run", {"MISSION": "mission", "OVERWRITE": "no"}, "OVERWRITE must be true or false"),
    ("grade", {"FOLDER": "plugins"}, "a folder without JPEG photos"),
    ("grade", {"PHOTOS": "mission/events.txt"}, "not graded: not a JPEG"),
    ("transform", {"INPUT": "mission/events.txt", "TARGET": "EPSG:32632"}, "events.txt"),
])
def test_failures_are_sentences(place, ways, tmp_path, algorithm, parameters, sentence):
    given = within(place, parameters)
    for environment in ways.values():
        code, _, errors = process(environment, algorithm, **given, OUTPUT=tmp_path / "out.csv")
        assert code == 1 and sentence in errors and "Traceback" not in errors and "--help" not in errors
        assert not (tmp_path / "out.csv").exists()


def test_earlier_results_stay(place, ways, tmp_path):
    (tmp_path / "mission.gpkg").write_text("earlier")
    for environment in ways.values():
        code, _, errors = process(environment, "run", MISSION=place / "mission", OUTPUT=tmp_path)
        assert code == 1 and "mission.gpkg exists; OVERWRITE replaces" in errors, errors
    assert content(tmp_path) == {"mission.gpkg": b"earlier"}


def program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/sh\n" + text)
    path.chmod(0o755)
    return path


def test_the_engine_is_found(place, tmp_path):
    """By itself, or as named; a module that cannot be used is no obstacle where the command is."""
    file = {"INPUT": place / "mission" / "events.txt"}
    broken = tmp_path / "broken" / "kvutilities"
    broken.mkdir(parents=True)
    (broken / "__init__.py").write_text("raise ImportError('libKVMission is not there')\n")
    bare = {"PATH": "/usr/bin:/bin", "PYTHONPATH": str(broken.parent)}
    here = {"PATH": f"{tmp_path / 'bin'}:/usr/bin:/bin"}
    program(tmp_path / "bin" / "kvmission", f"exec '{KVMISSION}' \"$@\"\n")
    newer = program(tmp_path / "newer" / "kvmission",
                    f"[ $1 = --version ] && exec echo kvmission 99.1.0\nexec '{KVMISSION}' \"$@\"\n")
    other = program(tmp_path / "other" / "kvmission", "echo hello\n")
    empty = program(tmp_path / "empty" / "kvmission", "[ $1 != --version ] || echo kvmission 0.1.0\n")
    dying = program(tmp_path / "dying" / "kvmission", "[ $1 = --version ] && exec echo kvmission 0.1.0\nkill -9 $$\n")
    rows = [
        ("", bare, 1, "cannot use the Python module kvutilities: libKVMission is not there. Install"),
        ("", {**bare, **here}, 0, "The command is used instead"),
        (str(tmp_path / "nothing"), here, 1, "nothing: not a program; name the program in Settings > Options > Processing"),
        (str(other), {}, 1, "does not answer as kvmission does"),
        (str(empty), {}, 1, "empty/kvmission does not answer as kvmission does"),
        (str(dying), {}, 1, "dying/kvmission ended with -9."),
        (str(newer), {}, 0, "is version 99.1.0, so settings may differ"),
    ]
    if shutil.which("kvmission", path="/usr/bin:/bin") is None and "dist-packages" not in str(MODULE and MODULE.origin):
        rows.append(("", {"PATH": "/usr/bin:/bin", "PYTHONPATH": ""}, 1, "Install one of them"))
    for choice, changed, expected, sentence in rows:
        code, told, errors = process(environment(place, choice, **changed), "describe", **file)
        said = errors + "\n".join(told.get("log", {}).get("warning", []))
        assert code == expected and sentence in said and "Traceback" not in said, (choice, changed, said)


def test_layers_are_loaded_and_runs_stop(place, ways, tmp_path):
    """Layers stand in the order of mission.qgz, with the results' styles and not with the user's for all points."""
    long = simulate(place / "long", "--minutes", "20")
    (tmp_path / "other.qml").write_text('<!DOCTYPE qgis><qgis version="3.22"><renderer-v2 type="nullSymbol"/></qgis>')
    programs = [KVMISSION, "/usr/bin/python3"]
    seen = json.loads(subprocess.check_output(
        [sys.executable, HERE / "inside.py", place / "mission", long, tmp_path / "out 'ü'", *programs],
        env=environment(place), text=True))
    assert seen["runs"] == [True, True, True] and seen["folders kept"]
    shapefiles, package = seen["groups"]
    assert package[0] == "out 'ü'" and shapefiles[0] == "out 'ü' shp" and len(shapefiles[1]) == 5
    assert [name for name, *_ in package[1]] == ["Dropped exposures", "Photos", "Exposure stations", "Housekeeping log",
                                                 "Gaps", "Fixes", "Trajectory", "Findings"]
    assert [name for name, is_shown, *_ in package[1] if not is_shown] == ["Exposure stations"]
    renderers = {name: renderer for name, _, renderer, _ in package[1] + shapefiles[1]}
    assert renderers["Photos"] == renderers["photos"] == "RuleRenderer" and "nullSymbol" not in renderers.values()
    assert all(features for *_, features in package[1])
    assert seen["stopped"] == [[False, True, [], "Stopped."]] * 2
