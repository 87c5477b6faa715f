"""The page of a simulated mission in Chromium: no complaint, no request, nothing of its names is markup, its counts are
those of summary.json, and its links hold when mission and results are moved together.
Usage: chromium_check.py KVMISSION"""
import json, os, pathlib, shutil, subprocess, sys, tempfile
from urllib.parse import unquote_to_bytes

import browser

HOSTILE = ["<script>alert(1)<\u2215script>\"'&<b>]]>new\nline ", "𝄞 Карта\u2028%DATA% <img src=x onerror=alert(1)> "]


def make_hostile(mission):
    """Puts hostile texts into names of photos and into the housekeeping log."""
    for hostile, camera in zip(HOSTILE, ("cam1", "cam2")):
        for photo in sorted((mission / camera).iterdir()):
            photo.rename(photo.parent / (hostile + photo.name))
    with open(mission / "housekeeping.log", "a", encoding="utf-8") as log:
        for i, hostile in enumerate(HOSTILE + ["</script><img src=x onerror=alert(1)>"]):
            log.write(f"ERR,2025-06-18 09:30:{i + 10},{900000 + i},{hostile.replace(chr(10), '')}\n")


def data_of(page):
    begin = '<script type="application/json" id="data">'
    text = page.read_text(encoding="utf-8")
    return json.loads(text[text.index(begin) + len(begin):].split("</", 1)[0])


def expect(is_true, what):
    if not is_true:
        sys.exit(f"not so: {what}")


def check_links(page, data):
    for link in filter(None, data["exposures"]["link"]):
        photo = os.fsencode(page.parent) + b"/" + unquote_to_bytes(link)
        expect(os.path.exists(photo), f"{link} leads to a photo")


def check_counts(seen, data, summary):
    layers = {layer["name"]: layer["records"] for layer in summary["layers"]}
    blurred = sum(len(camera["sharpness"]["blurred"]) for camera in summary["cameras"])
    counts = {
        "photoMarks": layers["photos"],
        "exposures": layers["photos"] + len(summary["dropped"]),
        "rows": layers["photos"] + len(summary["dropped"]),
        "findings": len(summary["findings"]),
        "trackPoints": layers["trajectory_points"],
        "droppedMarks": sum(drop["code"] in ("no-photo", "no-photo-folder") for drop in summary["dropped"]),
        "plots": 8,
    }
    for name, count in counts.items():
        expect(int(seen[name]) == count, f"{name}: {seen[name]} on the page, {count} in summary.json")
    expect(blurred > 0 and data["summary"] == summary, "the page holds the summary")


def check_page(page, data, summary):
    with browser.Browser() as chromium:
        chromium.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": "dark"}])
        chromium.open(page)
        check_counts(chromium.evaluate("({...document.body.dataset})"), data, summary)
        expect(chromium.evaluate("document.scripts.length") == 10, "no name is a script")
        expect(chromium.evaluate("document.querySelector('main b, main img[src=x]')") is None, "no name is markup")
        for at in range(9, 19):
            name = data["exposures"]["photo"][at]
            expect(name.startswith(tuple(HOSTILE)), f"{name} is a hostile name")
            chromium.evaluate(f"choose({at})")
            shown = chromium.evaluate("document.getElementById('chosen-name').textContent")
            expect(shown == name.replace("\n", "\\u000a").replace("\u2028", "\\u2028"), f"{name!r} is shown, not {shown!r}")
        texts = chromium.evaluate("document.getElementById('facts').textContent")
        expect("</script><img src=x onerror=alert(1)>" in texts, "lines of the log are texts")
        chromium.evaluate("document.getElementById('table').focus()")
        before = chromium.evaluate("chosen")
        for kind in ("rawKeyDown", "keyUp"):
            chromium.call("Input.dispatchKeyEvent", type=kind, key="Home", code="Home", windowsVirtualKeyCode=36)
        expect(before != 0 and chromium.evaluate("chosen") == 0, "keys move through the table")
        chromium.evaluate("document.querySelectorAll('#table-head button')[4].click()")
        sharpest_last = chromium.evaluate("[document.querySelectorAll('th')[4].ariaSort, stateOf(table.order[0])].join()")
        expect(sharpest_last == "ascending,blurred", f"the table sorts by sharpness, not {sharpest_last}")
        chromium.evaluate("byId('filter-state').value = 'dropped'; arrange()")
        expect(chromium.evaluate("document.querySelectorAll('#table-rows tr').length") == len(summary["dropped"]),
               "the table filters")
        chromium.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": "light"}])
        chromium.call("Page.printToPDF")
        requests = [url for url in chromium.requests if not url.startswith("data:")]
        photos = [url for url in requests if url.startswith(page.parent.parent.as_uri() + "/") and url != page.as_uri()]
        expect(requests == [page.as_uri()] + photos, f"no request: {requests[1:]}")
        expect(chromium.complaints == [], f"no complaint: {chromium.complaints}")


def main(kvmission):
    if not browser.find():
        print("Chromium is not installed")
        sys.exit(77)
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder) / "Карта – 1 €"
        mission, out = home / 'Flug <script> "1" & ]]>', home / "out"
        home.mkdir()
        subprocess.run([kvmission, "simulate", mission, "--minutes", "5", "--seed", "1", "-q"], check=True)
        make_hostile(mission)
        run = subprocess.run([kvmission, "run", mission, "-o", out, "-q", "--outputs", "report,json", "--thumbnails", "0.2"])
        expect(run.returncode == 3, f"the run finishes with 3, not {run.returncode}")
        page, summary = out / "report.html", json.loads((out / "summary.json").read_text(encoding="utf-8"))
        data = data_of(page)
        expect(sum(map(len, data["thumbnails"])) < 0.2e6, "thumbnails keep to their size")
        blurred = [at for at, is_blurred in enumerate(values_of(data["exposures"]["blurred"])) if is_blurred == 1]
        pictured = values_of(data["exposures"]["thumbnail"])
        expect(blurred and all(pictured[at] is not None for at in blurred), "blurred photos have thumbnails")
        moved = pathlib.Path(folder) / "moved"
        shutil.move(home, moved)
        check_links(moved / "out" / "report.html", data)
        check_page(moved / "out" / "report.html", data, summary)


def values_of(column):
    """Numbers of a column, which holds differences."""
    values, last = [], 0
    for step in column["steps"]:
        last += step or 0
        values.append(None if step is None else last)
    return values


if __name__ == "__main__":
    main(sys.argv[1])
