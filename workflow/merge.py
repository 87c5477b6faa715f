"""Puts the results of the missions together: campaign.gpkg, campaign.csv and campaign.html."""
import collections
import csv
import json
import os
import sqlite3
import struct
import sys

import geopackage
import page
from missions import printed

STATES = ("complete", "incomplete", "doubtful", "failed", "not run")
EXIT_CODES = dict(zip(STATES, (0, 3, 4, 1, 1)))
TRACK_POINTS = 400_000  # of all missions on the page: about 8 MB


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def read_if_there(path):
    try:
        return read(path)
    except (FileNotFoundError, ValueError):  # a power cut may leave it empty
        return None


class Mission:
    """What is known about a mission of the campaign."""

    def __init__(self, key, name):
        self.key, self.name, self.message, self.track = key, name, None, []
        self.file = f"../missions/{key}/mission.gpkg"
        self.inputs, self.run = read(f"inputs/{key}"), read_if_there(f"done/{key}")
        self.layers, self.state = [], None
        self.findings = {}  # severity by code
        if self.run is None:
            self.run = read_if_there(f"failed/{key}") or {}
            self.state = "failed" if self.run else "not run"
            self.message = self.run.get("message", "there is no result for its present files and options; the log may say why")
        self.row = self.row_of({})

    def read_results(self, points):
        try:
            summary = read(f"../missions/{self.key}/summary.json")
            self.state = "doubtful" if summary["doubtful"] else "complete" if summary["complete"] else "incomplete"
            self.findings = {finding["code"]: finding["severity"] for finding in summary["findings"]}
            self.row = self.row_of(summary)
            db = sqlite3.connect(geopackage.uri(self.file, "ro"), uri=True)
            try:
                self.layers = [(row["table_name"], system) for row, system in geopackage.contents(db)]
                self.track = track_of(db, points)
            finally:
                db.close()
        except (OSError, ValueError, LookupError, TypeError, AttributeError, struct.error) as error:
            self.fail(f"summary.json or mission.gpkg cannot be used: {error}")
        except sqlite3.Error as error:
            if not geopackage.is_of_a_mission(error):
                raise
            self.fail(f"mission.gpkg cannot be read: {error}")

    def fail(self, message):
        """Forgets that the mission is done, so that the next call runs it again."""
        self.state, self.message, self.layers, self.track, self.findings = "failed", message, [], [], {}
        self.row = self.row_of({})
        if os.path.exists(f"done/{self.key}"):
            os.remove(f"done/{self.key}")

    def row_of(self, summary):
        """A line of campaign.csv; what is not known is None."""
        records = {layer["name"]: layer["records"] for layer in summary.get("layers", [])}
        cameras = summary.get("cameras", [])
        severities = collections.Counter(finding["severity"] for finding in summary.get("findings", []))
        codes = collections.Counter(finding["code"] for finding in summary.get("findings", []))
        times = next((part for part in (summary.get(name) for name in ("trajectory", "timestamps", "events")) if part), {})
        graded = [camera["sharpness"] for camera in cameras if camera.get("sharpness")]
        return {
            "mission": self.name,
            "state": self.state,
            "message": self.message,
            "begins": times.get("first"),
            "ends": times.get("last"),
            "fixes": (summary.get("trajectory") or {}).get("fixes"),
            "exposures": sum(camera["read"] for camera in cameras) if cameras else None,
            "photos": records.get("photos"),
            "dropped": len(summary["dropped"]) if cameras else None,
            "stations": records.get("stations"),
            "blurred": sum(len(camera["blurred"]) for camera in graded) if graded else None,
            "doubts": severities["doubt"] if summary else None,
            "warnings": severities["warning"] if summary else None,
            "findings": " ".join(f"{code}:{count}" for code, count in sorted(codes.items())) if summary else None,
            "version": summary.get("version"),
            "exit_code": self.run.get("exit_code"),
            "input_files": self.inputs["files"],
            "input_bytes": self.inputs["bytes"],
            "seconds": self.run.get("seconds"),
            "core_seconds": self.run.get("core_seconds"),
            "peak_mebibytes": self.run.get("peak_mebibytes"),
            "results": f"missions/{self.key}" if summary else None,
        }


def places_of_line(blob):
    """Longitudes and latitudes of a line in a GeoPackage."""
    begin = 8 + (0, 32, 48, 48, 64)[blob[3] >> 1 & 7]
    order = "<" if blob[begin] else ">"
    kind, count = struct.unpack_from(order + "II", blob, begin + 1)
    ordinates = 2 + ((kind >> 31) or kind // 1000 in (1, 2)) + (kind // 1000 == 3)
    numbers = struct.unpack_from(f"{order}{count * ordinates}d", blob, begin + 9)
    return list(zip(numbers[0::ordinates], numbers[1::ordinates]))


def track_of(db, points):
    """Lines of at most so many points in all, as pairs of latitude and longitude; photos are taken if there is no trajectory."""
    tables = {name for name, in db.execute("SELECT table_name FROM gpkg_contents")}
    if "trajectory" in tables:
        lines = [places_of_line(blob) for blob, in db.execute("SELECT geom FROM trajectory WHERE geom IS NOT NULL ORDER BY fid")]
    else:
        sql = " UNION ALL ".join(f"SELECT time, longitude, latitude FROM {table}" for table in sorted(tables & {"photos", "dropped"}))
        lines = [[place[1:] for place in db.execute(sql + " ORDER BY time")]] if sql else []
    step = -(-sum(map(len, lines)) // points) or 1
    return [[[round(latitude, 6), round(longitude, 6)] for longitude, latitude in line[:-1:step] + line[-1:]]
            for line in lines if line]


def write_csv(path, table):
    with open(path, "w", newline="", encoding="utf-8") as file:
        writer = csv.DictWriter(file, table[0], lineterminator="\r\n")
        writer.writeheader()
        writer.writerows(table)


def write_geopackage(path, missions, layers):
    """@return whether there is anything to write"""
    found = {each for mission in missions for each in mission.layers}
    known = {layer for layer, _ in found}
    for unknown in sorted((layers or set()) - known):
        print(printed(f"campaign: no mission has a layer {unknown!r}; there are: {', '.join(sorted(known)) or 'none'}"), file=sys.stderr)
    found = {each for each in found if layers is None or each[0] in layers}
    if not found:
        return False
    campaign = geopackage.Campaign(path, geopackage.names_of_layers(found))
    for mission in missions:
        if not mission.layers:
            continue
        try:
            campaign.add(mission.name, f"missions/{mission.key}", mission.file)
        except sqlite3.Error as error:
            if not geopackage.is_of_a_mission(error):
                raise
            mission.fail(f"mission.gpkg cannot be read: {error}")
    if not campaign.columns:
        campaign.db.close()
        return False
    campaign.finish([mission.row for mission in missions])
    return True


def publish(names):
    """Gives new files their names once all are on the disk; what is not made any more goes."""
    for name in names:
        if os.path.exists("new/" + name):
            with open("new/" + name, "rb") as file:
                os.fsync(file.fileno())
    for name in names:
        if os.path.exists("new/" + name):
            os.replace("new/" + name, "../" + name)
        elif os.path.exists("../" + name):
            os.remove("../" + name)
            print(f"campaign: {name} of an earlier call is removed: there are no layers to put together", file=sys.stderr)


def say(missions):
    """Names the missions that are not complete, and counts all."""
    counts = collections.Counter(mission.state for mission in missions)
    for state in STATES[:0:-1]:
        these = [mission for mission in missions if mission.state == state]
        for mission in these[:20]:
            print(printed(f"{state}: {mission.name}" + (f": {mission.message}" if mission.message else "")))
        if len(these) > 20:
            print(f"{state}: {len(these) - 20} more; see campaign.csv")
    print(f"{len(missions)} missions: " + ", ".join(f"{counts[state]} {state}" for state in STATES if counts[state]))


def merge(campaign, layers, leaflet):
    """@return the exit code: 1 if a mission has no result, else 4 if one is in doubt, else 3 if one is incomplete, else 0"""
    missions = [Mission(key, mission["name"]) for key, mission in campaign["missions"].items()]
    points = max(10, TRACK_POINTS // len(missions))
    for mission in missions:
        if mission.state is None:
            mission.read_results(points)
    names = ("campaign.gpkg", "campaign.csv", "campaign.html")
    os.makedirs("new", exist_ok=True)
    for name in os.listdir("new"):
        os.remove("new/" + name)
    try:
        if not write_geopackage("new/campaign.gpkg", missions, layers):
            for name in os.listdir("new"):
                os.remove("new/" + name)
        write_csv("new/campaign.csv", [mission.row for mission in missions])
        page.write("new/campaign.html", missions, leaflet)
        publish(names)
    finally:
        for name in os.listdir("new"):
            os.remove("new/" + name)
    say(missions)
    states = {mission.state for mission in missions}
    return next((EXIT_CODES[state] for state in ("failed", "not run", "doubtful", "incomplete") if state in states), 0)
