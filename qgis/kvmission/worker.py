"""Does one operation with the Python module kvutilities, in a process of its own.

Reads the request from standard input; writes pairs [what, value] to standard output, one on a line. What libraries print
there goes to standard error.
"""

import atexit
import json
import math
import os
import signal
import sys
import warnings


_answers = os.fdopen(os.dup(1), "w")
atexit.register(_answers.close)
os.dup2(2, 1)


def tell(what, value):
    print(json.dumps([what, value]), file=_answers, flush=True)


def progress(*what):
    tell("progress", what)


def tell_findings(findings):
    for finding in findings:
        tell("finding", [finding.severity, finding.text])


def run(kvutilities, inputs, settings):
    keywords = {name.replace("-", "_"): value for name, value in settings.items()}
    mission = kvutilities.run_mission(*inputs, progress=progress, **keywords)
    tell_findings(mission.findings)
    return (4 if mission.doubtful else 0 if mission.complete else 3), mission.summary


def transform(kvutilities, inputs, settings):
    made, findings = kvutilities.transform(*inputs, progress=progress, **settings)
    tell_findings(findings)
    return 0, made


def photos_at(path, error):
    """A folder stands for the JPEG photos in it, by name, as it does for the command."""
    if not os.path.isdir(path):
        return [path]
    photos = [
        entry.path
        for entry in sorted(os.scandir(path), key=lambda entry: os.fsencode(entry.name))
        if os.path.splitext(entry.name)[1].lower() in (".jpg", ".jpeg") and entry.name[0] != "." and entry.is_file()
    ]
    if not photos:
        raise error(f"{path}: a folder without JPEG photos")
    return photos


def graded(photo, sharpness, complaints):
    """A row as the command has it. @param complaints  "photo: complaint", in the order of the photos"""
    row = {"path": photo, "sharpness": None if math.isnan(sharpness) else float(sharpness)}
    if complaints and complaints[0].startswith(photo + ": "):
        row["error" if math.isnan(sharpness) else "damage"] = complaints.pop(0)[len(photo) + 2 :]
    return row


def grade(kvutilities, inputs, settings):
    keywords = {name.replace("-", "_"): value for name, value in settings.items()}
    photos = [photo for path in inputs for photo in photos_at(path, kvutilities.Error)]
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        grades = kvutilities.sharpness(photos, progress=progress, **keywords)
    complaints = [str(one.message) for one in caught if issubclass(one.category, kvutilities.PhotoWarning)]
    rows = [graded(photo, sharpness, complaints) for photo, sharpness in zip(photos, grades)]
    problems = [f"{row['path']}: not graded: {row['error']}" for row in rows if "error" in row]
    if len(problems) == len(rows):
        raise kvutilities.Error("\n".join(problems))
    damaged = "damaged, so the sharpness may be wrong"
    problems += [f"{row['path']}: {damaged}: {row['damage']}" for row in rows if "damage" in row]
    for problem in problems:
        tell("finding", ["warning", problem])
    return (3 if problems else 0), rows


def info(kvutilities, inputs, settings):
    return 0, [kvutilities.describe(path, max_gap=settings.get("max-gap", 2)) for path in inputs]


def main():
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # so that the engine tidies up as after Ctrl-C
    request = json.load(sys.stdin)
    try:
        import kvutilities

        tell("version", kvutilities.__version__)
    except (ImportError, AttributeError) as error:
        return tell("unusable", str(error))
    operation = {"run": run, "grade": grade, "transform": transform, "info": info}[request["operation"]]
    try:
        outcome = operation(kvutilities, request["inputs"], request["settings"])
        signal.signal(signal.SIGTERM, signal.SIG_IGN)  # results that are there are told
        tell("outcome", outcome)
    except KeyboardInterrupt:
        tell("failure", "Stopped.")
    except (ValueError, TypeError) as error:
        is_of_setting = str(error).partition(" ")[0] in request["settings"]  # the command writes it as an option
        tell("failure", "--" * is_of_setting + str(error))
    except OSError as error:
        tell("failure", f"{error.filename}: {error.strerror}" if error.filename else str(error))
    except (kvutilities.Error, MemoryError) as error:
        tell("failure", str(error) or "not enough memory")


if __name__ == "__main__":
    main()
