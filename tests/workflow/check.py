"""Campaigns of eight simulated missions, one of them broken, here or also on the Slurm that SLURM_CONF names.
Usage: check.py KVMISSION [slurm]"""
import csv, json, os, pathlib, shutil, signal, sqlite3, subprocess, sys, tempfile, time

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests" / "programs"), str(ROOT / "workflow")]
import browser, missions

KVMISSION = str(pathlib.Path(sys.argv[1]).resolve())
CAMPAIGN = str(ROOT / "workflow" / "campaign")
HOSTILE = "Flug 7 \"ä\" $(touch x) {y}'\n<b>"
LOCAL_SYSTEM = ('PROJCS["{}",GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],PRIMEM["Greenwich",0],'
                'UNIT["degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],PARAMETER["central_meridian",{}],'
                'PARAMETER["false_easting",500000],UNIT["metre",1]]')
SPATIAL_SYSTEM = ('GEOGCRS["{0}",DATUM["{0}",ELLIPSOID["{0}",{1},298.25]],CS[ellipsoidal,3],AXIS["latitude",north],'
                  'AXIS["longitude",east],ANGLEUNIT["degree",0.0174532925199433],AXIS["height",up,LENGTHUNIT["metre",1]]]')
# Folder, options of simulate, target of its POS file. The layers of the six systems must stay apart.
MISSIONS = [
    ("m1", ["--pos", "calendar"], "EPSG:25832"),
    ("m2", ["--pos", "calendar"], "EPSG:25833"),
    ("m3", ["--pos", "calendar"], LOCAL_SYSTEM.format("one", 8)),
    ("m4", ["--pos", "calendar"], LOCAL_SYSTEM.format("two", 9)),
    ("drone", ["--drone"], None),
    ("doubt", ["--cam1-clock", "37", "--pos", "calendar"], SPATIAL_SYSTEM.format("three", 6378200)),
    ("broken", [], None),
    (HOSTILE, ["--no-faults", "--pos", "calendar"], SPATIAL_SYSTEM.format("four", 6378300)),
]
POS_LAYERS = {"pos_epsg_25832": "m1", "pos_epsg_25833": "m2", "pos_system_1": HOSTILE, "pos_system_2": "doubt", "pos_system_3": "m3",
              "pos_system_4": "m4"}


def expect(is_true, what):
    if not is_true:
        sys.exit(f"not so: {what}")


def equal(seen, expected, what):
    expect(seen == expected, f"{what}: {seen!r} instead of {expected!r}")


def campaign(*arguments, cwd, code):
    done = subprocess.run([CAMPAIGN, "--kvmission", os.path.relpath(KVMISSION, cwd), *map(str, arguments)], cwd=cwd, capture_output=True, text=True)
    expect(done.returncode == code, f"exit code {code} of {arguments}, but {done.returncode}:\n{done.stdout}{done.stderr}")
    return done.stdout + done.stderr


def make_missions(folder):
    for seed, (name, options, target) in enumerate(MISSIONS):
        subprocess.run([KVMISSION, "simulate", folder / name, "-q", "--minutes", "2", "--photo-size", "64x48", "--seed", str(seed),
                        *options], check=True)
        if target:
            (folder / name / "target.wkt").write_text(target)
            named = target if target.startswith("EPSG") else "target.wkt"
            (folder / name / "mission.toml").write_text(f'pos = "rover.pos"\ntarget = "{named}"\n')
    (folder / "broken" / "trajectory.nmea").rename(folder.parent / "repair")


def table_of(path):
    with open(path, newline="", encoding="utf-8") as file:
        return {row["mission"]: row for row in csv.DictReader(file)}


def rows_of(path, where="1"):
    """The rows of each layer, without their numbers."""
    db = sqlite3.connect(path)
    db.row_factory = sqlite3.Row
    layers = [name for name, in db.execute("SELECT table_name FROM gpkg_contents") if name not in ("layer_styles", "missions")]
    return {layer: [{key: row[key] for key in row.keys() if key != "fid"} for row in db.execute(f"SELECT * FROM {layer} WHERE {where}")]
            for layer in layers}


def check_layers(results):
    """Every row of every mission is in the campaign, bit for bit but for links, and no other row is."""
    taken, db = 0, sqlite3.connect(results / "campaign.gpkg")
    numbers = dict(db.execute("SELECT table_name, srs_id FROM gpkg_geometry_columns WHERE table_name LIKE 'pos%'"))
    for name, row in table_of(results / "campaign.csv").items():
        if not row["results"]:
            continue
        for layer, rows in rows_of(results / row["results"] / "mission.gpkg").items():
            here = layer if layer != "pos" else next(each for each, mission in POS_LAYERS.items() if mission == name)
            merged = [each for each in rows_of(results / "campaign.gpkg")[here] if each.pop("mission") == name]
            for one, other in zip(merged, rows):
                for key in [key for key in other if key.endswith("_relative")]:
                    link, before = one.pop(key), other.pop(key)
                    expect((link and os.path.realpath(results / link)) == (before and os.path.realpath(results / row["results"] / before)),
                           f"{link} of {name} leads to the photo")
                if "system" in here:  # missions number systems of their own alike; numbers here are others
                    geometry = one["geom"]
                    one["geom"], other["geom"] = geometry[:4] + geometry[8:], other["geom"][:4] + other["geom"][8:]
                    equal(int.from_bytes(geometry[4:8], "little"), numbers[here], "system that a geometry names")
            equal(merged, rows, f"layer {here} of {name}")
            taken += len(rows)
    everything = rows_of(results / "campaign.gpkg")
    equal(sum(map(len, everything.values())), taken, "rows of all layers")
    equal({layer for layer in everything if layer.startswith("pos")}, set(POS_LAYERS), "layers of POS samples")
    for layer, count in db.execute("SELECT table_name, feature_count FROM gpkg_ogr_contents WHERE table_name IN "
                                   "(SELECT table_name FROM gpkg_geometry_columns)").fetchall():
        indexed, = db.execute(f"SELECT COUNT(*) FROM rtree_{layer}_geom").fetchone()
        equal((count, indexed), (len(everything[layer]),) * 2, f"count and index of {layer}")
    equal(db.execute("PRAGMA foreign_key_check").fetchall(), [], "references")
    systems = dict(db.execute("SELECT srs_id, definition || COALESCE(definition_12_063, '') FROM gpkg_spatial_ref_sys"))
    equal(len({systems[number] for number in numbers.values()} - {"undefined"}), len(POS_LAYERS), "systems")


def check_page(page, table):
    text = page.read_text(encoding="utf-8")
    data = json.loads(text.split('id="data">')[1].split("</script>")[0])
    equal({each["mission"]: each["state"] for each in data["missions"]}, {name: row["state"] for name, row in table.items()}, "states")
    if not browser.find():
        return
    with browser.Browser() as chromium:
        chromium.open(page)
        seen = chromium.evaluate("({...document.body.dataset})")
        results = sum(bool(row["results"]) for row in table.values())
        equal([int(seen[key]) for key in ("missions", "rows", "tracks", "failed")], [8, 8, results, 8 - results], "the page shows")
        chromium.evaluate("document.querySelector('#table-rows tr:last-child').click()")
        expect(chromium.evaluate("document.querySelector('#chosen-facts').children.length > 10"), "a mission is shown")
        equal((chromium.complaints, [url for url in chromium.requests if not url.endswith("campaign.html")]), ([], []), "no request")


def check_campaign(folder, results, *options):
    """Runs, repairs and changes missions. @return the layers of the first call"""
    at = {"cwd": folder.parent}
    done = lambda: {file.name: file.stat().st_mtime_ns for file in (results / ".campaign" / "done").iterdir()}
    run = lambda code: (before := done() if results.exists() else {}, campaign(folder, "-o", results, *options, code=code, **at),
                        {name for name, when in done().items() if before.get(name) != when})[1:]
    told, ran = run(1)
    expect("failed: broken: " in told and "no trajectory found" in told, f"the broken one is named: {told}")
    equal(len(ran), 7, "missions that have run")
    table = table_of(results / "campaign.csv")
    equal(len(table), 8, "lines of campaign.csv")
    equal([table[name]["state"] for name in ("broken", "doubt", "m1", HOSTILE)], ["failed", "doubtful", "incomplete", "complete"], "states")
    equal([table["broken"][key] for key in ("photos", "fixes", "doubts")], [""] * 3, "what is not known")
    expect(table["doubt"]["photos"] == "" and "camera-clock-off:1" in table["doubt"]["findings"], "a doubt withholds photos")
    check_layers(results)
    check_page(results / "campaign.html", table)
    layers = rows_of(results / "campaign.gpkg")

    shutil.copy(folder.parent / "repair", folder / "broken" / "trajectory.nmea")
    equal(run(4)[1], {"broken"}, "missions that run after a repair")
    equal(table_of(results / "campaign.csv")["broken"]["state"], "incomplete", "state of the repaired one")
    check_layers(results)
    return layers


def check_changes(folder, results):
    """What runs again, and what does not."""
    photo = next((folder / "m1" / "cam1").glob("*.jpg"))
    package = results / "missions" / "m3" / "mission.gpkg"
    rows = [
        ("nothing", lambda: None, [], set()),
        ("a file with an old time", lambda: (photo.write_bytes(photo.read_bytes() + b" "), os.utime(photo, (0, 0))), [], {"m1"}),
        ("a photo less", lambda: next((folder / "m2" / "cam2").glob("*.jpg")).unlink(), [], {"m2"}),
        ("a dry run", lambda: campaign(folder, "-o", results, "--dry-run", "--", "--pair", "time", cwd=folder.parent, code=0), [], set()),
        ("an option", lambda: None, ["--", "--no-sharpness"], {name for name in os.listdir(results / "missions")}),
    ]
    for what, change, options, expected in rows:
        before = {file.name: file.stat().st_mtime_ns for file in (results / ".campaign" / "done").iterdir()}
        change()
        campaign(folder, "-o", results, "--cores", "2", *options, cwd=folder.parent, code=4)
        after = {file.name: file.stat().st_mtime_ns for file in (results / ".campaign" / "done").iterdir()}
        equal({name for name in after if after[name] != before.get(name)}, expected, f"missions that run after {what}")
    package.write_bytes(package.read_bytes()[:20000])
    told = campaign(folder, "-o", results, "--merge-only", cwd=folder.parent, code=1)
    expect("failed: m3: mission.gpkg cannot be read" in told and "not run" not in told, "a damaged result is named, it alone")
    told = campaign(folder, "-o", results, "--layers", "photos,photo", "--", "--no-sharpness", cwd=folder.parent, code=4)
    expect("no mission has a layer 'photo'" in told, "a layer that is not there is named")
    equal(set(rows_of(results / "campaign.gpkg")), {"photos"}, "chosen layers")
    campaign(folder, "-o", results, "--merge-only", cwd=folder.parent, code=4)
    check_layers(results)


def check_refusals(folder):
    for name in ["empty", b"alike/\xff", "alike/\\xff"]:
        (folder.parent / os.fsdecode(name)).mkdir(parents=True)
    keys = missions.keys_of(["a b", "a_b-c8687a08aa", "a_b", "A_B", "-", "*", "\udcff"])
    equal(len({key.lower() for key in keys}), len(keys), f"distinct keys {keys}")
    for arguments, code, sentence in [
        (["nowhere", "-o", "r"], 1, "nowhere is not a folder"),
        (["empty", "-o", "r"], 1, "holds no mission"),
        (["alike", "-o", "r"], 1, "2 missions would be called \\xff"),
        ([folder, "-o", folder / "r"], 2, "would be taken for a mission"),
        ([folder, "-o", "r", "--", "--output=x"], 2, "--output is set by the campaign"),
        ([folder, "-o", "a'b"], 2, "has a quote"),
        ([folder, "-o", "r", "--leaflet", "nowhere"], 1, "nowhere/leaflet.css"),
        ([folder, "-o", "r", "--cores", "0"], 2, "take numbers from 1"),
        ([folder, "-o", "r", "--slurm", "--profile", "x"], 2, "exclude each other"),
    ]:
        expect(sentence in campaign(*arguments, cwd=folder.parent, code=code), f"{arguments}: {sentence}")


def check_status(folder):
    """What the profile makes of the answers of scontrol."""
    scontrol = folder / "scontrol"
    for answer, code, status in [
        ("JobId=7 JobName=a JobState=RUNNING Reason=None", 0, "running"), ("JobId=7 JobState=PENDING Reason=Priority", 0, "running"),
        ("JobId=7 JobState=COMPLETED Reason=None", 0, "success"), ("JobId=7 JobState=OUT_OF_MEMORY Reason=None", 0, "failed"),
        ("JobId=7 JobState=CANCELLED Reason=None", 0, "failed"), ("slurm_load_jobs error: Invalid job id specified", 1, "success"),
        ("slurm_load_jobs error: Unable to contact slurm controller", 1, "running"),
    ]:
        scontrol.write_text(f"#!/bin/sh\necho '{answer}'\nexit {code}\n")
        scontrol.chmod(0o755)
        said = subprocess.run([ROOT / "workflow" / "slurm" / "status.sh", "7"], capture_output=True, text=True,
                              env={**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"})
        equal((said.stdout.strip(), said.returncode), (status, 0), answer)


def check_interrupt(folder, *options):
    """An interrupt ends the campaign and its missions, in the queue too."""
    begun, slow = folder.parent / "begun", folder.parent / "slow"
    slow.write_text(f"#!/bin/sh\necho $$ >>'{begun}'\nexec sleep 600\n")
    slow.chmod(0o755)
    child = subprocess.Popen([CAMPAIGN, folder, "-o", folder.parent / "slow-results", "--kvmission", slow, *options],
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    begin = time.monotonic()
    while not begun.exists() and time.monotonic() - begin < 60:
        time.sleep(0.1)
    child.send_signal(signal.SIGINT)
    equal(child.wait(60), 130, "exit code of an interrupted campaign")
    while time.monotonic() - begin < 120:
        if not any(pathlib.Path(f"/proc/{pid}").exists() for pid in begun.read_text().split()):
            break
        time.sleep(0.2)
    else:
        sys.exit("not so: missions end with the campaign")
    if options:
        equal(subprocess.run(["squeue", "--noheader"], capture_output=True, text=True).stdout, "", "the queue")
    begun.unlink()


for program in ("snakemake", KVMISSION):
    if not shutil.which(program):
        print(f"skipped: {program} is not installed")
        sys.exit(77)
with tempfile.TemporaryDirectory(prefix="campaign-") as work:
    folder = pathlib.Path(work) / "missions"
    folder.mkdir()
    make_missions(folder)
    here = check_campaign(folder, pathlib.Path(work) / "here", "--cores", "2")
    if sys.argv[2:] == ["slurm"]:
        (folder / "broken" / "trajectory.nmea").unlink()
        there = check_campaign(folder, pathlib.Path(work) / "there", "--slurm")
        equal(there, here, "layers of a run on Slurm")
        check_interrupt(folder, "--slurm")
    else:
        check_changes(folder, pathlib.Path(work) / "here")
        check_refusals(folder)
        check_status(pathlib.Path(work))
        check_interrupt(folder)
