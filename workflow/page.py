"""campaign.html: the page of a campaign, in one file that needs no server and no network."""
import base64
import collections
import hashlib
import json
import os
import re

HERE = os.path.dirname(os.path.realpath(__file__))
SHARED = os.path.join(HERE, os.pardir, "data", "report")


def pieces(leaflet):
    """Styles and scripts of the page in their order."""
    return ([os.path.join(leaflet, "leaflet.css"), os.path.join(SHARED, "report.css"), os.path.join(HERE, "page", "campaign.css")],
            [os.path.join(leaflet, "leaflet.min.js"), os.path.join(SHARED, "page.js"), os.path.join(SHARED, "plan.js"),
             os.path.join(HERE, "page", "campaign.js")])


def check(leaflet):
    """@throws OSError that names a file which the page needs and which is missing"""
    for path in sum(pieces(leaflet), []):
        os.stat(path)


def text_of(path):
    """A style or script, without what would be a request."""
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"(//|/\*)[#@] *sourceMappingURL=[^\n]*", "", file.read())
    return re.sub(r"(background-image|behavior):\s*url\([^)]*\);?", "", text)


def policy(texts):
    return " ".join(f"'sha256-{base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()}'" for text in texts)


def report_of(mission):
    """Where the page finds the report of a mission; None if there is none."""
    path = f"missions/{mission.key}/report.html"
    return path if mission.row["results"] and os.path.exists("../" + path) else None


def data_of(missions):
    codes, severities = collections.Counter(), {}
    for mission in missions:
        codes.update(mission.findings.keys())
        severities.update(mission.findings)
    return {
        "missions": [{**mission.row, "track": mission.track, "report": report_of(mission)} for mission in missions],
        "findings": [{"code": code, "severity": severities[code], "missions": count} for code, count in codes.most_common()],
    }


def write(path, missions, leaflet):
    styles, scripts = (list(map(text_of, paths)) for paths in pieces(leaflet))
    data = json.dumps(data_of(missions), separators=(",", ":")).replace("<", "\\u003c")
    with open(os.path.join(HERE, "page", "campaign.html"), encoding="utf-8") as file:
        frame = file.read()
    values = {
        "STYLE_HASHES": policy(styles),
        "SCRIPT_HASHES": policy(scripts),
        "STYLES": "\n".join(f"<style>{text}</style>" for text in styles),
        "SCRIPTS": "\n".join(f"<script>{text}</script>" for text in scripts),
        "DATA": data,
    }
    with open(path, "w", encoding="utf-8", newline="\n") as file:
        file.write(re.sub("@([A-Z_]+)@", lambda match: values[match[1]], frame))
