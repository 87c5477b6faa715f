#!/usr/bin/env python3
"""What goes wrong on Windows: files that other programs hold open, folders that cannot be written, a full disk, Ctrl-C.
Each must end with a message that names the file, and with the results of the earlier run as they were.

usage: tests/windows/trouble.py WINDOWS_COMMAND    (as root, which mounts small disks)
"""
import contextlib, os, signal, subprocess, sys, tempfile, time
from pathlib import Path

HERE = Path(__file__).resolve().parent
WINE = [str(HERE.parent.parent / "scripts/windows/wine-run"), os.environ["KVUTILITIES_WINDOWS_PREFIX"] + "/bin"]
COMMAND = WINE + [str(Path(sys.argv[1]).resolve())]


def kvmission(*arguments):
    return subprocess.run(COMMAND + list(map(str, arguments)), capture_output=True, text=True)


def state(folder):
    """Every file, hidden ones too."""
    return {file: file.read_bytes() for file in sorted(folder.rglob("*")) if file.is_file()}


@contextlib.contextmanager
def held(program, file, sharing):
    with subprocess.Popen(WINE + [program, str(file), sharing], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as other:
        assert other.stdout.readline().strip() == "held"
        yield
        other.stdin.close()


@contextlib.contextmanager
def disk(folder, options):
    folder.mkdir(exist_ok=True)
    subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", folder], check=True)
    try:
        yield
    finally:
        subprocess.run(["umount", folder], check=True)


def expect(what, done, code, named, before, layers):
    wrong = []
    if done.returncode != code:
        wrong.append(f"exit {done.returncode}, not {code}")
    if named not in done.stderr:
        wrong.append(f"does not say {named!r}")
    if state(layers) != before:
        wrong.append(f"changed {sorted(str(f) for f in set(state(layers)) ^ set(before)) or 'results'}")
    print(f"{what}: {', '.join(wrong) or 'as it should'}: {done.stderr.strip().splitlines()[-1:]}")
    return not wrong


def main():
    with tempfile.TemporaryDirectory() as name:
        work = Path(name)
        hold, mission, layers = str(work / "hold.exe"), work / "mission", work / "layers"
        subprocess.run(["x86_64-w64-mingw32-g++-posix", "-municode", "-static", HERE / "Hold.cpp", "-o", hold], check=True)
        assert kvmission("simulate", mission, "--minutes", 2, "--quiet").returncode == 0
        assert kvmission("run", mission, "-o", layers, "--quiet").returncode == 3
        before = state(layers)
        again = ("run", mission, "-o", layers, "--overwrite", "--quiet")
        good = []
        with held(hold, mission / "trajectory.nmea", "none"):
            good.append(expect("input in use", kvmission(*again), 1, "trajectory.nmea", before, layers))
        with held(hold, layers / "photos.dbf", "read"):
            said = "layers\\photos.dbf: cannot be replaced: another program holds it open"
            good.append(expect("layer in use", kvmission(*again), 1, said, before, layers))
        photo = next((mission / "cam1").iterdir())
        with held(hold, photo, "none"):
            done = kvmission("rotate", mission, "--camera", 1, "--angle", 90, "--yes", "--quiet")
            good.append(expect("photo in use", done, 3, photo.name, before, layers))
        if os.geteuid() == 0:
            small = work / "small"
            with disk(small, "size=400k"):
                done = kvmission("run", mission, "-o", small / "layers", "--quiet")
                good.append(expect("full disk", done, 1, "small", {}, small))
            with disk(small, "ro"):
                done = kvmission("run", mission, "-o", small / "layers", "--quiet")
                good.append(expect("disk that cannot be written", done, 1, "layers", {}, small))
        inside = set(layers.iterdir())
        with subprocess.Popen(COMMAND + list(map(str, again)), stderr=subprocess.PIPE, text=True) as process:
            while set(layers.iterdir()) == inside and process.poll() is None:  # until its own folder is there
                time.sleep(0.01)
            process.send_signal(signal.SIGINT)
            done = subprocess.CompletedProcess([], process.wait(), "", process.stderr.read())
        good.append(expect("Ctrl-C", done, 130, "interrupted", before, layers))
    sys.exit(0 if all(good) else 1)


main()
