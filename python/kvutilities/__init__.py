"""Field data of a mapping sensor: missions to located, paired and graded photos; files to tables.

    import kvutilities

    mission = kvutilities.run_mission("flight12", output="flight12-results", cam1_offset="auto")
    for finding in mission.findings:
        print(finding.severity, finding.text)
    mission.exposures.to_pandas()

Times are UTC, angles decimal degrees, lengths metres; heights are above the ellipsoid. A number that is not known is
NaN, a time NaT. Functions release the interpreter's lock while they work, and Ctrl-C ends them. A missing file raises
FileNotFoundError, a setting that is not valid ValueError, everything else that goes wrong `Error`.
"""

import datetime as _datetime
import functools as _functools
import inspect as _inspect
import json as _json
import os as _os
import warnings as _warnings

import numpy as _numpy

from . import _kvutilities
from ._kvutilities import Error, __version__
from ._tables import ATTITUDE_QUALITIES, POSITION_QUALITIES, Finding, Table

__all__ = [
    "ATTITUDE_QUALITIES",
    "Error",
    "Finding",
    "Mission",
    "POSITION_QUALITIES",
    "PhotoWarning",
    "Table",
    "describe",
    "read_events",
    "read_log",
    "read_pos",
    "read_trajectory",
    "run_mission",
    "sharpness",
    "transform",
]

_SETTINGS = {name.replace("-", "_"): (name, kind, is_list, text) for name, kind, is_list, text in _kvutilities.settings()}


class PhotoWarning(UserWarning):
    """A photo could not be graded, or is damaged, so that its sharpness may be wrong."""


def _existing(path):
    """The path of something that is there; else raises as opening it would."""
    _os.stat(path)
    return _os.fspath(path)


def _callable(progress):
    """A function of (what, count, unit, done, total), also for a bar such as tqdm's."""
    if progress is None or callable(progress):
        return progress
    if not all(hasattr(progress, name) for name in ("n", "total", "set_description", "refresh")):
        raise TypeError("progress must be a function or a bar such as tqdm's")

    def show(what, count, unit, done, total):
        progress.n, progress.total, progress.unit = (done, total, "") if total else (count, None, unit)
        progress.set_description(what, refresh=False)
        progress.refresh()

    return show


def _positive(name, value):
    if not 0 < value < _numpy.inf:
        raise ValueError(f"{name} must be a positive number")
    return value


def _threads(jobs):
    if not 0 <= jobs <= 1024:
        raise ValueError("jobs must be a number from 0 to 1024")
    return jobs


def _findings(rows):
    return [Finding(*row) for row in rows]


def _table(made):
    (array, texts), findings = made
    return Table(array, texts, _findings(findings))


def _text(kind, value):
    if kind == "flag":
        if not isinstance(value, (bool, _numpy.bool_)):
            raise TypeError(f"a flag must be True or False, not {value!r}")
        return "true" if value else "false"
    if kind == "path":
        return _os.fspath(value) if _os.name == "nt" else _os.fsencode(value)
    if isinstance(value, (_datetime.date, _datetime.datetime)):
        return value.strftime("%Y-%m-%d")
    if isinstance(value, (list, tuple)):
        return ",".join(str(part) for part in value)
    return str(value)


def _given(settings):
    """Settings as pairs of key and text. Those that are None are left out."""
    given = []
    for keyword, value in settings.items():
        if keyword not in _SETTINGS:
            raise TypeError(f"run_mission() got an unexpected keyword argument {keyword!r}")
        name, kind, is_list, _ = _SETTINGS[keyword]
        if value is None:
            continue
        for one in value if is_list and isinstance(value, (list, tuple)) else [value]:
            if kind == "path" and keyword != "output":
                _existing(one)
            given.append((name, _text(kind, one)))
    return given


class Mission:
    """What a run read, made and left out. Tables are made when they are asked for."""

    def __init__(self, mission):
        self._mission = mission

    def __repr__(self):
        state = "complete" if self.complete else "incomplete"
        return f"<kvutilities.Mission: {len(self.exposures)} exposures, {state}, {len(self.findings)} findings>"

    @property
    def complete(self):
        """Whether nothing was dropped, unmatched, ungraded or damaged."""
        return self._mission.complete

    @property
    def doubtful(self):
        """Whether results may be wrong; the findings say why."""
        return self._mission.doubtful

    @_functools.cached_property
    def findings(self):
        """Messages of the run, those that matter most first."""
        return _findings(self._mission.findings())

    @_functools.cached_property
    def summary(self):
        """The summary as a dictionary, as in summary.json."""
        return _json.loads(self._mission.summary_json())

    @_functools.cached_property
    def exposures(self):
        """Camera events with place, attitude, photo and sharpness. Dropped ones say why in the text "drop".

        tick: of the master clock; roll, pitch, heading: degrees; horizontal_sigma, vertical_sigma: metres
        photo_difference: seconds from the event to the photo's time; photo_probability: from 0 to 1
        sharpness: variance of the Laplacian, to compare photos of one camera
        """
        return Table(*self._mission.exposures())

    @_functools.cached_property
    def fixes(self):
        """Fixes of the trajectory."""
        return self._optional(self._mission.fixes())

    @_functools.cached_property
    def heartbeats(self):
        """Heartbeats of the event file. Camera events are exposures."""
        return self._optional(self._mission.heartbeats())

    @_functools.cached_property
    def log(self):
        """Entries of the housekeeping log that have a place."""
        return self._optional(self._mission.log())

    @_functools.cached_property
    def stations(self):
        """Exposures of the two cameras that belong together."""
        return self._optional(self._mission.stations())

    @_functools.cached_property
    def pos(self):
        """Samples of the POS file in the target's coordinate system."""
        return self._optional(self._mission.pos(), crs=self._mission.pos_wkt(), places=("x", "y", "z"))

    def summary_text(self):
        """The summary for people."""
        return self._mission.summary_text()

    def report_html(self):
        """A page for people, which needs nothing beside it."""
        return self._mission.report_html()

    @staticmethod
    def _optional(table, **places):
        return None if table is None else Table(*table, **places)


def run_mission(mission=None, *, progress=None, **settings):
    given = _given(settings)
    if mission is None and not settings.keys() & {"trajectory", "timestamps"}:
        raise ValueError("give a mission folder, trajectory or timestamps")
    return Mission(_kvutilities.run_mission("" if mission is None else _existing(mission), given, _callable(progress)))


def _document_run_mission():
    """The settings of the table, as documentation and signature."""
    lines = [
        "Runs a mission: reads, checks, places, pairs and grades, and writes results where `output` names a folder.",
        "",
        "mission: folder; its files are found by content and name",
        "progress: function of (what, count, unit, done, total), or a bar such as tqdm's; total is 0 when it is not known",
        "",
        "Settings, which go before those of a mission.toml:",
    ]
    lines += [f"{keyword}: {text}" for keyword, (_, _, _, text) in _SETTINGS.items()]
    lines += ["", "Returns a Mission. Findings tell what was left out and what is in doubt: look at them."]
    run_mission.__doc__ = "\n".join(lines)
    keyword_only = _inspect.Parameter.KEYWORD_ONLY
    parameters = [_inspect.Parameter("mission", _inspect.Parameter.POSITIONAL_OR_KEYWORD, default=None)]
    parameters += [_inspect.Parameter(name, keyword_only, default=None) for name in ("progress", *_SETTINGS)]
    run_mission.__signature__ = _inspect.Signature(parameters)


_document_run_mission()


def read_trajectory(path, *, date=None, max_gap=2.0, progress=None):
    """Reads a receiver's log of position sentences.

    date: of the first fix, when no sentence tells it
    max_gap: longest pause between fixes, in seconds, that is not a gap

    Returns a table of fixes: time, latitude, longitude, height (above the ellipsoid), geoid_separation, hdop,
    horizontal_sigma, vertical_sigma, satellites (-1 when unknown), quality (a number in POSITION_QUALITIES). For other
    trajectories, such as GPX and SBET files, use run_mission(trajectory=path) and its fixes.
    """
    settings = _text("date", date or ""), _positive("max_gap", max_gap)
    return _table(_kvutilities.read_trajectory(_existing(path), *settings, _callable(progress)))


def read_events(path, *, progress=None):
    """Reads a system event file.

    Returns a table of heartbeats (type 1) and camera events (type 2): time, tick, type, camera (-1 for heartbeats).
    """
    return _table(_kvutilities.read_events(_existing(path), _callable(progress)))


def read_log(path, *, progress=None):
    """Reads a housekeeping log.

    Returns a table of entries: time and readings in the log's own units, and the texts type, description and error.
    """
    return _table(_kvutilities.read_log(_existing(path), _callable(progress)))


def read_pos(path, target="EPSG:4979", *, jobs=0, progress=None):
    """Reads a POS file and transforms its samples.

    target: coordinate system of x, y and z: a file, WKT or codes; longitude, latitude and height by default
    jobs: threads; 0 for as many as there are processors

    Returns a table of samples: time, latitude, longitude, height, x, y, z.
    """
    (array, texts), findings, wkt = _kvutilities.read_pos(_existing(path), target, _threads(jobs), _callable(progress))
    return Table(array, texts, _findings(findings), crs=wkt, places=("x", "y", "z"))


def transform(path, target, output, *, jobs=0, overwrite=False, progress=None):
    """Transforms a POS file to a coordinate system, into a file.

    output: ends in .shp, .csv or .xyz
    overwrite: replaces a file that is there

    Returns a dictionary with what was read and left out, and the list of findings.
    """
    made, findings = _kvutilities.transform(
        _existing(path), target, _os.fspath(output), _threads(jobs), overwrite, _callable(progress)
    )
    return _json.loads(made), _findings(findings)


def sharpness(photos, *, jobs=0, max_megapixels=1000.0, progress=None):
    """Grades photos by their sharpness, the variance of the Laplacian of their grey values.

    photos: a path, or several
    jobs: photos at a time; 0 for as many as there are processors
    max_megapixels: photos that claim more are not decoded

    Returns a number for one path, an array for several. A photo that cannot be graded is NaN in an array, with a
    PhotoWarning, and raises Error when it is alone. A damaged photo has a PhotoWarning.
    """
    is_one = isinstance(photos, (str, bytes, _os.PathLike))
    paths = [_existing(path) for path in ([photos] if is_one else photos)]
    settings = _threads(jobs), _positive("max_megapixels", max_megapixels)
    grades = _kvutilities.grades(paths, *settings, _callable(progress))
    for path, (_, complaint, damage) in zip(paths, grades):
        if complaint and is_one:
            raise Error(f"{_os.fsdecode(path)}: {complaint}")
        if complaint or damage:
            _warnings.warn(f"{_os.fsdecode(path)}: {complaint or damage}", PhotoWarning, stacklevel=2)
    values = [_numpy.nan if complaint else grade for grade, complaint, _ in grades]
    return values[0] if is_one else _numpy.array(values)


def describe(path, *, max_gap=2.0):
    """Recognises a file by its content and describes it, as a dictionary."""
    return _json.loads(_kvutilities.describe(_existing(path), _positive("max_gap", max_gap)))[0]
