#!/usr/bin/env python3
"""Draws the map of a run as SVG: the track, its gaps, the photos coloured by sharpness, the dropped exposures.
Usage: scripts/draw-map.py LAYERS > map.svg        LAYERS: the output folder of kvmission run. Needs ogr2ogr."""
import json
import math
import statistics
import subprocess
import sys
from datetime import datetime

WIDTH, MARGIN, LEGEND = 840, 36, 64  # pixels
SHARP, BLURRED, TRACK, INK = (31, 119, 160), (232, 106, 23), "#b9b4a6", "#33312c"
STYLE = """text{font:13px sans-serif;fill:%s}.track{fill:none;stroke:%s;stroke-width:2;stroke-linejoin:round}
.gap{fill:none;stroke:#fbfaf6;stroke-width:4;stroke-dasharray:6 5}.ink{fill:none;stroke:%s;stroke-width:1.5}
.halo{fill:none;stroke:#fbfaf6;stroke-width:6;stroke-linecap:round}
.cross{fill:none;stroke:#b00020;stroke-width:2.4;stroke-linecap:round}""" % (INK, TRACK, INK)


def features(folder, layer):
    command = ["ogr2ogr", "-f", "GeoJSON", "/vsistdout/", f"{folder}/{layer}.shp"]
    return json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)["features"]


def seconds(text):
    return datetime.fromisoformat(text.replace("Z", "").replace(" ", "T")).timestamp()


def colour(share):
    share = min(max(share, 0), 1)  # of the camera's median sharpness
    return "#%02x%02x%02x" % tuple(round(b + share * (s - b)) for s, b in zip(SHARP, BLURRED))


class Frame:
    """From degrees to pixels: north is up, and a metre is as long in both directions."""

    def __init__(self, places):
        self.west, self.north = min(x for x, _ in places), max(y for _, y in places)
        self.shrink = math.cos(math.radians(self.north))
        self.scale = (WIDTH - 2 * MARGIN) / (max(x for x, _ in places) - self.west) / self.shrink
        self.pixels_per_metre = self.scale / math.radians(6371000)
        self.height = round((self.north - min(y for _, y in places)) * self.scale) + 2 * MARGIN

    def at(self, place):
        return MARGIN + (place[0] - self.west) * self.shrink * self.scale, MARGIN + (self.north - place[1]) * self.scale


def path(points, step=0.0):
    """A path that leaves out points nearer than a step to the one before."""
    kept = []
    for point in points:
        if not kept or point is points[-1] or math.dist(point, kept[-1]) >= step:
            kept.append(point)
    return "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in kept)


def place_at(time, fixes):
    """On the track; before its beginning or after its end, there."""
    for (t0, p0), (t1, p1) in zip(fixes, fixes[1:]):
        if time <= t1:
            share = min(max((time - t0) / (t1 - t0), 0), 1)
            return p0[0] + share * (p1[0] - p0[0]), p0[1] + share * (p1[1] - p0[1])
    return fixes[-1][1]


def legend(frame, has_gaps, top):
    """One row: the scale bar at the left, what the signs mean behind it."""
    metres = max(m * 10 ** e for e in range(5) for m in (1, 2, 5) if m * 10 ** e * frame.pixels_per_metre < 150)
    end = round(MARGIN + metres * frame.pixels_per_metre)
    yield f'<path class="ink" d="M{MARGIN} {top - 6}v6H{end}v-6"/><text x="{end + 8}" y="{top + 1}">{metres} m</text>'
    yield f'<path class="track" d="M196 {top - 4}h36"/><text x="239" y="{top}">track</text>'
    if has_gaps:
        yield f'<path class="track" d="M296 {top - 4}h36"/><path class="gap" d="M300 {top - 4}h30"/>'
        yield f'<text x="339" y="{top}">gap</text>'
    stops = f'<stop stop-color="{colour(0)}"/><stop offset="1" stop-color="{colour(1)}"/>'
    yield f'<linearGradient id="g">{stops}</linearGradient>'
    yield f'<rect x="392" y="{top - 11}" width="80" height="12" rx="2" fill="url(#g)"/>'
    yield f'<text x="480" y="{top}">photo: blurred to sharp</text>'
    yield cross(666, top - 5) + f'<text x="678" y="{top}">dropped exposure</text>'


def cross(x, y):
    rest = f'd="M{x - 5:.1f} {y - 5:.1f}l10 10m0-10l-10 10"/>'
    return f'<path class="halo" {rest}<path class="cross" {rest}'


def draw(folder):
    with open(f"{folder}/summary.json", encoding="utf-8") as file:
        summary = json.load(file)
    fixes = [(seconds(f["properties"]["TimeUTC"]), f["geometry"]["coordinates"][:2])
             for f in features(folder, "trajectory_points")]
    track = features(folder, "trajectory_line")[0]["geometry"]["coordinates"]
    frame = Frame([point[:2] for point in track])
    height = frame.height + LEGEND
    yield f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" role="img"><style>{STYLE}</style>'
    yield "<title>Track, photos by sharpness and dropped exposures of a mission</title>"
    yield f'<rect width="{WIDTH}" height="{height}" rx="8" fill="#fbfaf6"/>'
    yield f'<path class="track" d="{path([frame.at(p) for p in track], 2)}"/>'
    for gap in summary["trajectory"]["gaps"]:
        ends = [frame.at(place_at(seconds(gap[key]), fixes)) for key in ("from", "to")]
        yield f'<path class="gap" d="{path(ends)}"/>'
    photos = [photo["properties"] for photo in features(folder, "photos")]
    medians = {camera: statistics.median(p["Sharpness"] for p in photos if p["CameraID"] == camera)
               for camera in {p["CameraID"] for p in photos}}
    # The cameras fire almost at one place: camera 1 has the left half of a dot, the other one the right half.
    for photo in photos:
        x, y = frame.at((photo["Longitude"], photo["Latitude"]))
        share = photo["Sharpness"] / (medians[photo["CameraID"]] or 1)
        sweep, overlap = (0, 0.4) if photo["CameraID"] == 1 else (1, -0.4)
        yield f'<path fill="{colour(share)}" d="M{x + overlap:.1f} {y - 5:.1f}a5 5 0 0 {sweep} 0 10z"/>'
    for drop in summary["dropped"]:
        if drop["time"]:
            yield cross(*frame.at(place_at(seconds(drop["time"]), fixes)))
    yield from legend(frame, bool(summary["trajectory"]["gaps"]), frame.height + LEGEND // 2)
    yield "</svg>"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print("\n".join(draw(sys.argv[1])))
