#!/usr/bin/env python3
"""Makes the plugin for QGIS: FOLDER/kvmission, and FOLDER/kvmission-VERSION.zip for QGIS's plugin manager.

Usage: scripts/qgis-plugin.py [KVMISSION] [FOLDER]   (default: build/release/apps/kvmission/kvmission out/qgis)

Its parameters are the settings of KVMISSION, as that lists them, and its version is KVMISSION's.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
HELP_COLUMN = 30  # of the command's help
FOR_THE_TERMINAL = {"help", "dry-run", "json", "quiet", "verbose"}  # options that are not settings
UNITS = {"SECONDS": "s", "MS": "ms", "SHARE": "share", "MEGAPIXELS": "megapixels", "MEGABYTES": "MB"}
KINDS = {"FILE": "file", "FOLDER": "folder", "N": "count", "YYYY-MM-DD": "date", "NAME,...": "choices", "": "flag"}


def options(help_text):
    """(names, help) of each option in a help text. Names too long for their column have a line of their own."""
    lines = help_text.split("\nOptions:\n")[1].splitlines()
    for line, following in zip(lines, [*lines[1:], ""]):
        if not line.startswith("  -"):
            continue
        if following.startswith(" " * HELP_COLUMN):
            yield line.strip(), following.strip()
        else:
            yield line[:HELP_COLUMN].strip(), line[HELP_COLUMN:].strip()


def setting(names, text):
    """A row of settings.json, or nothing for an option that is not a setting."""
    match = re.fullmatch(r"(?:-\w,)?--([a-z0-9-]+)(?: (\S+))?( \.\.\.)?", names.partition(" Excludes:")[0])
    if not match or not text:
        sys.exit(f"qgis-plugin.py: cannot read this option of the command: {names!r}, {text!r}")
    name, placeholder, several = match[1], match[2] or "", bool(match[3])
    if name in FOR_THE_TERMINAL:
        return None
    kind, choices = KINDS.get(placeholder, "text"), []
    if placeholder in UNITS:
        kind = "number"
    elif re.fullmatch(r"[a-z-]+(\|[a-z-]+)+", placeholder):
        kind, choices = "choice", placeholder.split("|")
    elif kind == "choices":
        choices = text.partition(": ")[2].split(", ")
    elif several:
        kind += "s"
    return {"name": name, "kind": kind, "unit": UNITS.get(placeholder, ""), "choices": choices, "help": text}


def main(command="build/release/apps/kvmission/kvmission", folder="out/qgis"):
    def said(*arguments):
        return subprocess.run([command, *arguments], check=True, stdout=subprocess.PIPE, encoding="utf-8").stdout

    if not shutil.which(command):
        sys.exit(f"qgis-plugin.py: {command}: no such program; build it, or name another")
    version = said("--version").split()[1]
    settings = list(filter(None, (setting(*option) for option in options(said("run", "--help")))))
    plugin = pathlib.Path(folder) / "kvmission"
    shutil.rmtree(plugin, ignore_errors=True)
    shutil.copytree(ROOT / "qgis" / "kvmission", plugin, ignore=shutil.ignore_patterns("__pycache__"))
    shutil.copy(ROOT / "LICENSE", plugin)
    table = json.dumps({"version": version, "settings": settings}, indent=1, ensure_ascii=False)
    (plugin / "settings.json").write_text(table + "\n", encoding="utf-8")
    metadata = (plugin / "metadata.txt").read_text(encoding="utf-8")
    (plugin / "metadata.txt").write_text(metadata.replace("@VERSION@", version), encoding="utf-8")
    package = plugin.with_name(f"kvmission-{version}.zip")
    with zipfile.ZipFile(package, "w", zipfile.ZIP_DEFLATED) as archive:
        for file in sorted(plugin.rglob("*")):
            archive.write(file, file.relative_to(plugin.parent))
    print(package)


if __name__ == "__main__":
    main(*sys.argv[1:])
