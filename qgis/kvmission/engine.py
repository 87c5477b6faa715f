"""Runs the engine in a process of its own: over the Python module kvutilities, else the command kvmission.

Never in QGIS's own process: the engine sets the folders of GDAL and PROJ for the whole process, and QGIS would lose
its own.
"""

import importlib.util
import json
import os
import queue
import shutil
import subprocess
import sys
import threading
import time
from collections import namedtuple

PROGRAM_SETTING = "KVMISSION_PROGRAM"
COMPLETE, INCOMPLETE, DOUBTFUL = 0, 3, 4  # exit codes that come with a result
WRONG_USAGE = 2
ADVICE = "Run with --help for more information."  # of the command; there is no help here
WORKER = os.path.join(os.path.dirname(__file__), "worker.py")
HELP = "name the program in Settings > Options > Processing > Providers > KVMission"
MISSING = (
    "Neither the Python module kvutilities nor the command kvmission was found. Install one of them "
    f"(packages python3-kvutilities and kvmission), or {HELP}."
)
SECONDS_TO_STOP = 15  # to remove what is unfinished

Outcome = namedtuple("Outcome", "code result")  # an exit code, and what the operation's JSON holds


class Failure(Exception):
    """The operation did not end with a result."""


class Unusable(Failure):
    """The module is there, but cannot be imported."""


def _python():
    """The interpreter that QGIS is built with. In QGIS, sys.executable may be QGIS, or any python3 on the path."""
    version = f"python{sys.version_info.major}.{sys.version_info.minor}"
    for names in (("bin", version), ("bin", "python3"), ("python3.exe",), ("python.exe",)):
        path = os.path.join(sys.base_exec_prefix, *names)
        if os.access(path, os.X_OK) and not os.path.isdir(path):
            return path
    return shutil.which(version) or shutil.which("python3")


def find(program=""):
    """Engines to try, the best one first. @param program  the user's choice; empty to look for one"""
    if program:
        path = shutil.which(program)
        if not path:
            raise Failure(f"{program}: not a program; {HELP}, or leave it empty.")
        is_python = os.path.basename(path).lower().startswith("python")
        return [_Module(path) if is_python else _Command(path)]
    engines = []
    module = importlib.util.find_spec("kvutilities")
    if module and module.origin and _python():
        engines.append(_Module(_python(), os.path.dirname(os.path.dirname(module.origin))))
    if shutil.which("kvmission"):
        engines.append(_Command(shutil.which("kvmission")))
    if not engines:
        raise Failure(MISSING)
    return engines


def call(engines, plugin_version, operation, inputs, settings, feedback):
    """Does an operation with the first engine that can be used.

    operation: a command of kvmission; settings by the names of its options. feedback: has finding(severity, text) too
    """
    for number, one in enumerate(engines, 1):
        try:
            return one.call(plugin_version, operation, inputs, settings, feedback)
        except Unusable as unusable:
            if number == len(engines):
                raise Failure(f"{unusable} Install the module there or the command, or {HELP}.") from unusable
            feedback.finding("warning", f"{unusable} The command is used instead.")


def _tell_version(name, version, plugin_version, feedback):
    feedback.pushInfo(f"{name}, version {version}")
    if version.split(".")[:2] != plugin_version.split(".")[:2]:
        feedback.finding(
            "warning",
            f"The plugin belongs to version {plugin_version}, but {name} is version {version}, so settings may differ. "
            "Install the plugin of the same version.",
        )


def _start(arguments, environment=None):
    pipe = subprocess.PIPE
    window = {"creationflags": subprocess.CREATE_NO_WINDOW} if os.name == "nt" else {}
    try:
        return subprocess.Popen(arguments, stdin=pipe, stdout=pipe, stderr=pipe, env=environment, **window)
    except OSError as error:
        raise Failure(f"{arguments[0]}: cannot be started: {error.strerror}; {HELP}.") from error


def _output(process, request, feedback):
    """(stream, line) as they come. Stops the process when the user cancels, and kills it if the caller breaks off."""
    lines, threads = queue.Queue(), []

    def read(name, stream):
        for line in stream:
            lines.put((name, line.decode("utf-8", "replace").rstrip("\r\n")))
        lines.put((name, None))

    for name in ("stdout", "stderr"):
        threads.append(threading.Thread(target=read, args=(name, getattr(process, name)), daemon=True))
        threads[-1].start()
    open_streams, deadline = len(threads), None
    with process:
        try:
            _give(process.stdin, request)
            while open_streams:
                if feedback.isCanceled() and deadline is None:
                    process.terminate()  # not an interrupt: a program started in the background may ignore that
                    deadline = time.monotonic() + SECONDS_TO_STOP
                if deadline and time.monotonic() > deadline:
                    process.kill()
                try:
                    name, line = lines.get(timeout=0.1)
                except queue.Empty:
                    continue
                open_streams -= line is None
                if line is not None:
                    yield name, line
            process.wait()
        finally:
            if process.poll() is None:
                process.kill()
            for thread in threads:
                thread.join()
    if deadline and process.returncode not in (COMPLETE, INCOMPLETE, DOUBTFUL):
        raise Failure("Stopped.")


def _give(stream, request):
    try:
        stream.write(request)
        stream.close()
    except OSError:
        pass  # it has ended already; its exit code tells


class _Module:
    """The Python module, in an interpreter that runs worker.py."""

    def __init__(self, python, folder=None):
        self.python, self.folder = python, folder

    def call(self, plugin_version, operation, inputs, settings, feedback):
        request = json.dumps({"operation": operation, "inputs": inputs, "settings": settings}).encode()
        environment = dict(os.environ)
        if self.folder:
            environment["PYTHONPATH"] = os.pathsep.join(filter(None, [self.folder, environment.get("PYTHONPATH")]))
        process = _start([self.python, WORKER], environment)
        outcome, last = None, ""
        for stream, line in _output(process, request, feedback):
            if stream == "stderr":
                feedback.pushConsoleInfo(line)
                last = line
                continue
            what, value = json.loads(line)
            if what == "version":
                _tell_version(f"The Python module kvutilities of {self.python}", value, plugin_version, feedback)
            elif what == "progress":
                feedback.progress(*value)
            elif what == "finding":
                feedback.finding(*value)
            elif what == "unusable":
                raise Unusable(f"{self.python} cannot use the Python module kvutilities: {value}.")
            elif what == "failure":
                raise Failure(value)
            else:
                outcome = Outcome(*value)
        if outcome is None:
            raise Failure(f"{self.python} ended with {process.returncode} and without a result. {last}".strip())
        return outcome


class _Command:
    """The command kvmission. Each line of its standard error is a finding."""

    def __init__(self, program):
        self.program = program

    def call(self, plugin_version, operation, inputs, settings, feedback):
        version = self._version()
        _tell_version(f"The command {self.program}", version, plugin_version, feedback)
        arguments = [self.program, operation, "--json", *_options(settings), "--", *inputs]
        if operation in ("run", "transform"):
            arguments.insert(2, "--verbose")
        output, errors, others = [], [], []
        process = _start(arguments)
        for stream, line in _output(process, b"", feedback):
            if stream == "stdout":
                output.append(line)
                continue
            severity, text = _finding(line)
            if severity == "error":
                errors.append(text)
            elif severity:
                feedback.finding(severity, text)
            elif text != ADVICE:
                others.append(text)
                feedback.pushConsoleInfo(text)
        if process.returncode == WRONG_USAGE and others:
            errors = errors or others
        if process.returncode not in (COMPLETE, INCOMPLETE, DOUBTFUL):
            raise Failure("\n".join(errors or [*others, f"{self.program} ended with {process.returncode}."]))
        for text in errors:
            feedback.finding("warning", text)
        try:
            return Outcome(process.returncode, json.loads("\n".join(output)))
        except ValueError as error:
            raise Failure(f"{self.program} does not answer as kvmission does; {HELP}.") from error

    def _version(self):
        with _start([self.program, "--version"]) as process:
            words = process.communicate()[0].decode("utf-8", "replace").split()
        if process.returncode != 0 or len(words) != 2 or words[0] != "kvmission":
            raise Failure(f"{self.program} does not answer as kvmission does; {HELP}.")
        return words[1]


def _options(settings):
    for name, value in settings.items():
        if value is True:
            yield f"--{name}"
            continue
        for one in value if isinstance(value, list) else [value]:
            yield f"--{name}={one}"


def _finding(line):
    """Severity and sentence of a line of standard error; without a severity when it is not the command's own."""
    program, colon, text = line.partition(": ")
    if program != "kvmission" or not colon:
        return "", line
    word, colon, rest = text.partition(": ")
    return (word, rest) if colon and word in ("warning", "doubt", "failure", "error") else ("note", text)
