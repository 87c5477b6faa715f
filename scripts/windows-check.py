#!/usr/bin/env python3
"""Compiles every source for Windows as far as warnings go; warnings are errors, and nothing is linked.

usage: scripts/windows-check.py [BUILD [SOURCE...]]

BUILD (default build/dev) tells how each source is compiled here. Headers of other libraries are Debian's own: they are
the same on every system, but for those that are written below.
"""
import concurrent.futures, json, os, shlex, subprocess, sys, tempfile
from pathlib import Path

COMPILER = "x86_64-w64-mingw32-g++-posix"
# One by one: /usr/include as a whole would bring this system's C library.
HEADERS = ["boost", "CLI", "toml++", "nlohmann", "fmt", "libexif", "expat.h", "expat_external.h", "gtest", "proj.h",
           "shapefil.h", "jmorecfg.h", "jerror.h"]
# libjpeg's types clash with those of <windows.h>, which libjpeg-turbo's configuration for Windows avoids like this.
JPEGLIB = """#define HAVE_BOOLEAN
typedef unsigned char boolean;
#define XMD_H
typedef short INT16;
typedef int INT32;
#include "/usr/include/jpeglib.h"
"""
ELSEWHERE = ("_posix.cpp", "tests/faults/", "tests/consumer", "BombTest.cpp", "python/", "fuzz/")  # for this system or its tools alone


def make_headers(folder):
    for name in HEADERS:
        os.symlink(f"/usr/include/{name}", folder / name)
    os.symlink(next(Path("/usr/include").rglob("jconfig.h")), folder / "jconfig.h")
    (folder / "jpeglib.h").write_text(JPEGLIB, "ascii")


def flags_of(command):
    """What a compilation here says about the language, own headers and warnings."""
    words = iter(shlex.split(command))
    for word in words:
        if word == "-isystem":
            folder = next(words)
            if not folder == "/usr/include":
                yield from (word, folder)
        elif word.startswith(("-I", "-W", "-std")) or (word.startswith("-D") and not word.startswith(("-DTOML", "-DFMT"))):
            yield word


def sources(build, wanted):
    """@return the flags of each source"""
    commands = {entry["file"]: entry["command"] for entry in json.loads((build / "compile_commands.json").read_text())}
    for listed in subprocess.run(["git", "ls-files", "*.cpp"], capture_output=True, text=True, check=True).stdout.split():
        file = str(Path(listed).resolve())
        if any(part in listed for part in ELSEWHERE) or (wanted and listed not in wanted):
            continue
        command = commands.get(file) or commands.get(file.replace("_windows.cpp", "_posix.cpp"))
        if command:
            yield listed, list(flags_of(command))


def main():
    build = Path(sys.argv[1] if len(sys.argv) > 1 else "build/dev")
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        make_headers(Path(folder))

        def compiled(source):
            name, flags = source
            done = subprocess.run([COMPILER, "-fsyntax-only", *flags, "-Werror", "-DNOMINMAX", "-DTOML_HEADER_ONLY=1", "-isystem",
                                   folder, name], capture_output=True, text=True)
            return name, done.returncode, done.stderr

        results = list(pool.map(compiled, sources(build, sys.argv[2:])))
    failed = [(name, said) for name, code, said in results if code != 0]
    for name, said in failed:
        print(f"{said}not for Windows: {name}", file=sys.stderr)
    print(f"{len(results) - len(failed)} of {len(results)} sources compile for Windows")
    sys.exit(1 if failed or not results else 0)


main()
