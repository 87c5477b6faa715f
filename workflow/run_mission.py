#!/usr/bin/env python3
"""Runs one mission of the campaign in the working folder.

What it took is noted in done/MISSION if there is a result, else in failed/MISSION.
Usage: run_mission.py MISSION
"""
import json
import os
import resource
import socket
import subprocess
import sys
import time

from missions import printed

RESULTS = {0, 3, 4}  # exit codes of kvmission that come with results


def note(path, content):
    """Writes a file in one step."""
    with open(path + ".new", "w", encoding="utf-8") as file:
        json.dump(content, file)
    os.replace(path + ".new", path)


def last_line(path):
    """The last line, but for the advice that follows wrong usage."""
    with open(path, encoding="utf-8", errors="backslashreplace") as file:
        lines = file.read().splitlines()
    return next((line for line in reversed(lines) if line.strip() and line != "Run with --help for more information."), "")


def main(key):
    with open("campaign.json", encoding="utf-8") as file:
        campaign = json.load(file)
    mission = campaign["missions"][key]
    command = [campaign["kvmission"], "run", mission["folder"], "--output", f"../missions/{key}", "--overwrite",
               "--outputs", campaign["outputs"], "--jobs", str(campaign["threads"]), *campaign["options"]]
    log, begin = f"../logs/{key}.log", time.monotonic()
    with open(log, "wb") as file:
        code = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT).returncode
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    run = {
        "exit_code": code,
        "seconds": round(time.monotonic() - begin, 2),
        "core_seconds": round(used.ru_utime + used.ru_stime, 2),
        "peak_mebibytes": used.ru_maxrss // 1024,
        "host": socket.gethostname(),
    }
    if code in RESULTS:
        note(f"done/{key}", run)
        return 0
    message = last_line(log).removeprefix("kvmission: error: ") or f"kvmission ended with exit code {code}"
    if code < 0:
        message = f"kvmission was killed by signal {-code}"
    note(f"failed/{key}", {**run, "message": message})
    print(printed(f"{mission['name']}: {message}"), file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
