#!/usr/bin/env python3
"""Lets system calls and allocations of every command fail, or kills it there, and looks at what is left.

usage: faults.py KVMISSION LIBRARY [--full] [--every N] [--kills N] [--points N] [--jobs N] [--only CASE]

Results are the old set or the new set; photos, copies and simulated files are each old or new, byte for byte. The exit
code tells them apart, an error is a sentence, no signal ends the command, and nothing is left beside the results or it
is named. After a kill, the next run restores or completes the results and leaves nothing. Prints counts; without
--full, only a few points of each kind of call in each command, and no kills at random moments.
"""
import argparse, collections, errno, multiprocessing, os, random, shutil, signal, sqlite3, subprocess, sys, tempfile, time
from pathlib import Path

SIMULATE = "--minutes 1 --rate 1 --interval 9 --photo-size 48x32 --no-faults --names exif"
WHOLE, EACH, TEXT = "the whole set", "each file", "standard output"
Case = collections.namedtuple("Case", "name arguments rule old again")

# `old` makes results of an earlier run; `again` are runs after a kill: the first one must leave a whole set.
OVERWRITE = "run m -o o --jobs 1 --overwrite"
CASES = {case.name: case for case in [
    Case("run", "run m -o o --jobs 1", WHOLE, False, ["run m -o o --jobs 1", "run m -o o --jobs 1 --overwrite"]),
    Case("overwrite", OVERWRITE, WHOLE, True, ["run m -o o --jobs 1", OVERWRITE]),
    Case("export", "export m -o o --jobs 1 --overwrite", WHOLE, True, []),
    Case("copies", "geotag m -o o --jobs 1", EACH, False, []),
    Case("in-place", "geotag m --in-place --yes --backup b --jobs 1", EACH, False,
         ["geotag m --in-place --yes --backup b --jobs 1"]),
    Case("rotate", "rotate m --camera 1 --angle 90 --yes --backup b", EACH, False,
         ["rotate m --camera 1 --angle 90 --yes --backup b"]),
    Case("transform", "transform p.pos --target EPSG:25832 -o o/points.shp --overwrite", WHOLE, True, []),
    Case("info", "info m/trajectory.nmea m/events.txt m/housekeeping.log m/orientation.txt p.pos m/cam1/DSC_0001.jpg",
         TEXT, False, []),
    Case("grade", "grade m/cam1 --jobs 1", TEXT, False, []),
    Case("simulate", "simulate s --seed 2 " + SIMULATE, EACH, False, []),
]}
ERRORS = {"open": ["EMFILE", "EACCES", "EIO", "ENOSPC"], "read": ["EIO", "EINTR"],
          "write": ["ENOSPC", "EIO", "EINTR"], "mkdir": ["ENOSPC", "EACCES"], "rename": ["EACCES", "EIO", "ENOSPC"],
          "unlink": ["EACCES", "EIO"], "access": ["EACCES"], "sync": ["EIO", "EINTR"], "memory": ["ENOMEM"]}
DISK_FULL = "disk full"  # every write from there on
KILL_KINDS = ["rename", "sync", "unlink", "mkdir"]
LOCK = ".kvmission-lock"  # may stay: it holds nothing once its process has ended
SECONDS = 120
MANY = 500  # calls of a kind in a case of which --every thins out


class Bench:
    """A folder with a mission, and what each case makes of it."""

    def __init__(self, program, library, folder):
        self.program, self.library = program, library
        self.folder, self.template = Path(folder, "w").resolve(), Path(folder, "template")
        self.report, self.stderr = Path(folder, "report"), Path(folder, "stderr")
        self.template.mkdir()
        subprocess.run([program, "simulate", "m", "-q", *SIMULATE.split()], cwd=self.template, check=True)
        rest = " 0.01 0.01 0.02 0.0 0.0 0.0 1.0 8 0.1 1\n"
        for second in range(9):
            with open(self.template / "p.pos", "a", encoding="ascii") as file:
                file.write(f"2200 {345600 + second}.000 48.25 15.5 30{second}.0" + rest)
        self.known, self.server = {}, ()
        loaded = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
        self.libraries = next(Path(line.split()[2]).parent for line in loaded.splitlines() if "libKVMission" in line)

    def prepare(self, case):
        """Puts the folder into the state before a case. @return the bytes of each file"""
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(self.template, self.folder)
        (self.folder / "t").mkdir()
        if case.old:
            for name in [*self.known[case.name], "o/photos.qix", "o/notes.txt"] if case.name in self.known else []:
                path = self.folder / name
                if name.startswith("o/") and not name.endswith("/"):
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_bytes(b"old " + name.encode())
        return self.content()

    def content(self):
        found = {}
        for path in sorted(self.folder.rglob("*")):
            name = str(path.relative_to(self.folder))
            if name != "stdout":
                found.update({name + "/": None} if path.is_dir() else {name: path.read_bytes()})
        return found

    def start(self, arguments, files=(), **more):
        environment = dict(os.environ, LC_ALL="C.UTF-8", TMPDIR=str(self.folder / "t"), **more)
        with open(self.folder / "stdout", "wb") as out, open(self.stderr, "wb") as complaints:
            return subprocess.Popen([self.program, *arguments.split()], cwd=self.folder, env=environment,
                                    stdin=subprocess.DEVNULL, stdout=out, stderr=complaints, pass_fds=files)

    def serve(self, arguments):
        """Starts the program with its libraries loaded, and stops the one before."""
        for file in self.server:
            file.close()
        (requests, to_server), (from_server, answers) = os.pipe(), os.pipe()
        self.start(arguments, (requests, answers), LD_PRELOAD=self.library, FAULT_UNDER=str(self.folder),
                   FAULT_REPORT=str(self.report), FAULT_SERVER=f"{requests},{answers}")
        os.close(requests), os.close(answers)
        self.server = open(to_server, "w", encoding="ascii"), open(from_server, encoding="ascii")

    def run_failing(self, **fault):
        """@return as `run`"""
        self.report.unlink(missing_ok=True)
        requests, answers = self.server
        print(*(f"FAULT_{name.upper()}={value}" for name, value in fault.items()), file=requests, flush=True)
        code = os.waitstatus_to_exitcode(int(answers.readline()))
        return None if code == -signal.SIGALRM else code

    def run(self, arguments):
        """@return the exit code or negative signal, or None for a command that does not end"""
        process = self.start(arguments)
        try:
            return process.wait(SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            return None

    def said(self):
        return self.stderr.read_text("utf-8", "replace")

    def printed(self):
        return (self.folder / "stdout").read_bytes()

    def reported(self, word):
        lines = self.report.read_text("utf-8", "replace").splitlines() if self.report.exists() else []
        return [line.split() for line in lines if line.startswith(word)]

    def learn(self, case):
        """Runs a case undisturbed, first to learn the names of its results."""
        for _ in range(2 if case.old else 1):
            self.old = self.prepare(case)
            code = self.run(case.arguments)
            assert code == 0, f"{case.name}: exit {code}: {self.said()}"
            self.known[case.name] = {name: None for name in self.content() if name not in self.old or case.old}
        self.new, self.text, self.usual = self.content(), self.printed(), self.said()
        self.serve(case.arguments)

    def seconds(self, case):
        self.prepare(case)
        start = time.monotonic()
        self.run(case.arguments)
        return time.monotonic() - start

    def calls(self, case):
        """@return for each kind of call the numbers of those that are to fail"""
        self.prepare(case)
        self.run_failing(call="")
        numbers = {name: range(1, int(count) + 1) for _, name, count in self.reported("count") if int(count) > 0}
        self.prepare(case)
        self.run_failing(call="memory", stacks=1)
        return numbers | {"memory": [int(number) for _, number in self.reported("stack")]}


def is_same(name, found, expected):
    """A GeoPackage also by its content: SQLite counts transactions that it had to repeat."""
    def rows(data):
        database = sqlite3.connect(":memory:")
        database.deserialize(data)
        return list(database.iterdump())
    try:
        return found == expected or (name.endswith(".gpkg") and rows(found) == rows(expected))
    except (TypeError, sqlite3.Error):
        return False


def complain_of_state(bench, case, actual):
    """@return (what is wrong, or None; whether every result is new)"""
    old, new = bench.old, bench.new
    extra = [name for name in actual if name not in old and name not in new and not name.endswith(LOCK)]
    said = bench.said()
    unsaid = [name for name in extra if not any(part in said for part in name.strip("/").split("/")[1:]
                                                if part.startswith("."))]
    if unsaid and "to remove a folder .kvmission-..." not in said:
        return f"left without a word: {', '.join(unsaid)}", False
    for name in new.keys() & old.keys():
        if new[name] == old[name] and actual.get(name) != old[name]:
            return f"{name} changed or lost", False
    results = [name for name in new.keys() | old.keys() if new.get(name, 0) != old.get(name, 0)]
    results = [name for name in results if not name.endswith("/")]
    is_new = all(is_same(name, actual.get(name), new.get(name)) for name in results)
    if case.rule == EACH:
        for name in results:
            if actual.get(name) not in (old.get(name), new.get(name)):
                return f"{name} is neither old nor new", is_new
            backup = f"b/{Path(name).parent.name}/{Path(name).name}"
            if name in old and actual.get(name) != old[name] and backup in new and actual.get(backup) != new[backup]:
                return f"{name} changed without its backup", is_new
    if case.rule == WHOLE and not is_new:
        present = [name for name in results if actual.get(name) is not None]
        if not all(actual.get(name) == old.get(name) for name in results) and any(
                name in old and actual[name] == old[name] for name in present):
            return "a mixture of old and new results", is_new
    return None, is_new


def judge(bench, case, code):
    """@return what is wrong after a failure, or None"""
    if code is None:
        return f"does not end within {SECONDS} s"
    if code < 0:
        return f"ended by signal {-code} in " + " ".join(" ".join(line) for line in bench.reported("signal"))
    wrong, is_new = complain_of_state(bench, case, bench.content())
    said = [line for line in bench.said().splitlines() if line not in bench.usual.splitlines()]
    if wrong:
        return wrong
    if code == 0:
        if case.rule == TEXT and bench.printed() != bench.text:
            return "exit 0, but standard output is not what it was"
        return None if is_new else "exit 0, but results are not the new ones"
    if not any(line.startswith("kvmission: ") or "standard output" in line for line in said):
        return f"exit {code} without a sentence"
    old_or_new = is_new or all(bench.content().get(name) == data for name, data in bench.old.items())
    if case.rule == WHOLE and not old_or_new and code not in (3, 4):
        return f"exit {code}, but results are neither the old nor the new ones"
    return None


def foreign_code(bench, crash):
    """@return the library that a crash happened in, or None when it was the project's own code"""
    library, offset = crash[2].rsplit("+", 1)
    if not library.startswith(("libKV", "kvmission")):
        return library
    path = bench.program if library == "kvmission" else next(Path(bench.libraries).glob(library), "")
    if not path or not shutil.which("addr2line"):
        return None
    names = subprocess.run(["addr2line", "-Cfe", path, offset], capture_output=True, text=True).stdout
    return "nlohmann's JSON" if "nlohmann::" in names.splitlines()[0] else None


def try_point(bench, case, point):
    kind, number, error = point
    bench.prepare(case)
    many = 10 ** 9 if error == DISK_FULL else 1
    value = errno.ENOSPC if error == DISK_FULL else getattr(errno, error)
    code = bench.run_failing(call=kind, at=number, error=value, **{"for": many})
    if not bench.reported("failed"):
        return "not reached", None
    wrong = judge(bench, case, code)
    crash = bench.reported("signal")
    if wrong and crash and kind == "memory" and len(crash[0]) > 2 and (library := foreign_code(bench, crash[0])):
        return f"ended in {library} (signal {crash[0][1]})", None
    return "tried", wrong


def try_kill(bench, case, point):
    kind, number, seconds = point
    bench.prepare(case)
    if kind == "moment":
        process = bench.start(case.arguments)
        time.sleep(seconds)
        process.kill()
        code = process.wait()
    else:
        code = bench.run_failing(call=kind, at=number, error=0)
    if code != -signal.SIGKILL:
        return "not reached", judge(bench, case, code)
    if case.rule == EACH:
        after = bench.content()
        bench.stderr.write_text(" ".join(after))  # what is left may be left; the next run is asked about it
        wrong, _ = complain_of_state(bench, case, after)
        if wrong:
            return "killed", wrong
    for i, arguments in enumerate(case.again):
        code = bench.run(arguments)
        actual = bench.content()
        wrong, is_new = complain_of_state(bench, case, actual)
        is_old = all(actual.get(name) == data for name, data in bench.old.items())
        is_last = i == len(case.again) - 1
        if code is None or code < 0 or wrong:
            return "killed", f"{arguments}: exit {code}, {wrong}: {bench.said()}"
        if (is_last and not is_new) or not (is_old or is_new or case.rule == EACH):
            return "killed", f"{arguments}: exit {code}, results are lost: {bench.said()}"
    return "killed", None


def points_of(case, calls, options):
    """@return (function, point) for each call that is to fail and each kill"""
    points = []
    for kind, numbers in calls.items():
        errors = ERRORS.get(kind, ["EIO"])
        if not options.full:
            last = len(numbers) - 1
            numbers = [numbers[i] for i in sorted({last * i // max(1, options.points - 1) for i in range(options.points)})]
        elif len(numbers) > MANY:
            numbers = numbers[:: options.every]
        points += [(try_point, (kind, number, errors[i % len(errors)])) for i, number in enumerate(numbers)]
        if kind == "write":
            points += [(try_point, (kind, number, DISK_FULL)) for number in numbers[:: 10 if options.full else 1]]
        if case.again and kind in KILL_KINDS:
            points += [(try_kill, (kind, number, 0)) for number in numbers]
    return points


def work(arguments):
    """One share of the points of all cases."""
    program, library, options, share = arguments
    counters, failures = collections.Counter(), []
    with tempfile.TemporaryDirectory(prefix="faults-") as folder:
        bench = Bench(program, library, folder)
        for case in CASES.values():
            if options.only and case.name not in options.only:
                continue
            bench.learn(case)
            points = points_of(case, bench.calls(case), options)[share :: options.jobs]
            chance, killed = random.Random(share), (case.name, "moment", "killed")
            seconds = bench.seconds(case) if case.again and options.kills else 0
            while points or (case.again and counters[killed] * options.jobs < options.kills):
                function, point = points.pop() if points else (try_kill, ("moment", 0, chance.uniform(0, seconds)))
                result, wrong = function(bench, case, point)
                counters[case.name, point[0], result] += 1
                done = counters[case.name, point[0], result]
                if options.full and done % 500 == 0:
                    print(f"{case.name}: {done} {point[0]} {result}", flush=True)
                if wrong:
                    failures.append(f"{case.name}: {point[0]} {point[1]} {point[2]}: {wrong}")
                    print(failures[-1], flush=True)
    return counters, failures


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("program", type=os.path.abspath)
    parser.add_argument("library", type=os.path.abspath)
    parser.add_argument("--full", action="store_true")
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--kills", type=int, default=0)
    parser.add_argument("--points", type=int, default=2)
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("--only", action="append")
    options = parser.parse_args()
    # The library cannot catch system calls where a sandbox forbids filters.
    if subprocess.run([options.program, "--version"], env=dict(os.environ, LD_PRELOAD=options.library),
                      stdout=subprocess.DEVNULL).returncode == 77:
        print("skipped: system calls cannot be caught here")
        sys.exit(77)
    with multiprocessing.Pool(options.jobs) as pool:
        shares = pool.map(work, [(options.program, options.library, options, i) for i in range(options.jobs)])
    counters = sum((share[0] for share in shares), collections.Counter())
    for (case, kind, result), count in sorted(counters.items()):
        print(f"{case:10} {kind:9} {result:40} {count:6}")
    failures = sum(len(share[1]) for share in shares)
    print(f"{sum(counters.values())} points, {failures} failures")
    sys.exit(1 if failures or not counters else 0)


if __name__ == "__main__":
    main()
