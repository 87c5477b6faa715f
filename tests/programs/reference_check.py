"""Manual pages as man formats them, and completion as a shell gives it for a typed line.
Usage: reference_check.py KVMISSION REFERENCE_FOLDER man|bash|zsh|fish"""
import os, pathlib, pty, re, select, shlex, shutil, subprocess, sys, tempfile, time

PROGRAM, REFERENCE, SUBJECT = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
HOSTILE = "fo $(touch oops) 'a\\b\""

ROWS = [
    # typed after "kvmission ", what the last word can become
    ("run --heights ", ["ellipsoid", "geoid"]),
    ("export m --heights=ell", ["--heights=ellipsoid"]),
    ("run --cam1-offset a", ["auto"]),
    ("run --jobs ", []),
    ("simulate --rate 2", ["2", "20", "25"]),
    ("rotate m --camera ", ["1", "2"]),
    ("run --outputs gp", ["gpkg", "gpx"]),
    ("run --outputs csv,gp", ["csv,gpkg", "csv,gpx"]),
    ("simulate --pos llh,t", ["llh,tab"]),
    ("run --no-sh", ["--no-sharpness"]),
    ("run fo", [HOSTILE]),
    ("run -o fo", [HOSTILE]),
    ("geotag m --output=fo", ["--output=" + HOSTILE]),
    ("info fo", [HOSTILE, "fo.pos"]),
    ("run m --target fo.", ["fo.pos"]),
    ("transform fo.", ["fo.pos"]),
]


def expect_equal(seen, wanted, *what):
    if seen != wanted:
        sys.exit(f"{' '.join(map(str, what))}: {seen}, not {wanted}")


def help_of(*command):
    return subprocess.run([PROGRAM, *command, "--help"], check=True, capture_output=True, text=True).stdout


def options_in(text):
    """Long options at the starts of lines, as help and manual pages list them."""
    return sorted(set(re.findall(r"^ +(?:-\w, ?)?(--[a-z0-9-]+)", text, re.MULTILINE)))


def commands():
    return re.findall(r"^  ([a-z]+) ", help_of().split("Subcommands:")[1], re.MULTILINE)


class Typist:
    """An interactive shell in a terminal, whose settings are in .zshrc, for bash too. Ctrl-X A inserts every
    completion, Ctrl-X W writes the line into "answer", Ctrl-X K empties it. Keys are typed once there is a prompt:
    before, the terminal itself would edit the line."""

    SETTINGS = {
        "bash": """PS1='ready> '; bind 'set enable-bracketed-paste off'; bind '"\\C-xa": insert-completions'
                   bind -x '"\\C-xw": printf "%s\\n" "$READLINE_LINE" >answer'
                   bind '"\\C-xk": kill-whole-line'; . SCRIPT""",
        "zsh": """PS1='ready> '; fpath=(FOLDER $fpath); autoload -Uz compinit; compinit -u -D; unsetopt zle_bracketed_paste
                  all() { compstate[insert]=all; compstate[list]=; }; every() { comppostfuncs=(all); zle complete-word; }
                  answer() { print -r -- "$BUFFER" >answer; }; zle -N every; zle -N answer
                  zstyle ':completion:*' completer _complete; bindkey -e; setopt no_beep
                  bindkey '^Xa' every; bindkey '^Xw' answer; bindkey '^Xk' kill-whole-line""",
    }
    COMMAND = {"bash": ["bash", "--noprofile", "--rcfile", ".zshrc", "-i"], "zsh": ["zsh", "-d", "-i"]}

    def __init__(self, script, home):
        self.answer = pathlib.Path(home, "answer")
        settings = self.SETTINGS[SUBJECT].replace("SCRIPT", shlex.quote(str(script)))
        pathlib.Path(home, ".zshrc").write_text(settings.replace("FOLDER", shlex.quote(str(script.parent))))
        process, self.terminal = pty.fork()
        if process == 0:
            os.chdir(home)
            os.environ.update(TERM="dumb" if SUBJECT == "bash" else "xterm", HOME=home, ZDOTDIR=home, COLUMNS="1000",
                              LC_ALL="C.UTF-8")
            os.execvp(self.COMMAND[SUBJECT][0], self.COMMAND[SUBJECT])
        self.shown = b""
        self.wait(lambda: b"ready> " in self.shown, "the start")

    def wait(self, is_done, what, seconds=60):
        end = time.monotonic() + seconds
        while not is_done():
            if time.monotonic() > end:
                sys.exit(f"{SUBJECT} does not answer to {what}; it shows {self.shown[-300:]}")
            if select.select([self.terminal], [], [], 0.02)[0]:
                self.shown += os.read(self.terminal, 1 << 16)

    def completed(self, line):
        """The line with every completion of its last word in place of this word."""
        self.answer.unlink(missing_ok=True)
        os.write(self.terminal, f"{line}\x18a\x18w\x18k".encode())
        self.wait(lambda: self.answer.exists() and self.answer.read_text().endswith("\n"), repr(line))
        return self.answer.read_text()[:-1]


def bare(words):
    """Without what some shells append to folders, lists and options with a value."""
    return sorted(word.rstrip("/=,") for word in words)


def typed_completions(typist, line):
    begin = line[:line.rindex(" ") + 1]
    answer = typist.completed(line)
    return [] if answer.rstrip() == line.rstrip() else bare(shlex.split(answer[len(begin):]))


def fish_completions(script, home, line):
    asked = subprocess.run(["fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]", str(script), line],
                           cwd=home, env={**os.environ, "HOME": home, "LC_ALL": "C.UTF-8"}, check=True,
                           capture_output=True, text=True)
    return bare(answer.split("\t")[0] for answer in asked.stdout.splitlines())


def check_completion(script):
    with tempfile.TemporaryDirectory() as home:
        pathlib.Path(home, HOSTILE).mkdir()
        pathlib.Path(home, "fo.pos").touch()
        if SUBJECT == "fish":
            complete = lambda line: fish_completions(script, home, "kvmission " + line)
        else:
            typist = Typist(script, home)
            complete = lambda line: typed_completions(typist, "kvmission " + line)
        expect_equal(complete(""), sorted(commands()), "commands")
        for command in commands():
            expect_equal(complete(command + " --"), options_in(help_of(command)), "options of", command)
        for line, wanted in ROWS:
            expect_equal(complete(line), sorted(wanted), repr(line))
        expect_equal(pathlib.Path(home, "oops").exists(), False, "a file name was run")


def check_pages():
    for command in [[], *([name] for name in commands())]:
        page = REFERENCE / "man" / ("-".join(["kvmission", *command]) + ".1")
        formatted = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", str(page)], capture_output=True, text=True,
                                   env={**os.environ, "LC_ALL": "C.UTF-8", "MANROFFSEQ": "", "MANWIDTH": "120"}, check=True)
        expect_equal(formatted.stderr, "", page.name)
        expect_equal(options_in(formatted.stdout), options_in(help_of(*command)), "options in", page.name)
        whatis = subprocess.run(["lexgrog", str(page)], capture_output=True, text=True)
        expect_equal(whatis.returncode, 0, "one line for apropos in", page.name)


if not shutil.which(SUBJECT):
    print(SUBJECT, "is not installed")
    sys.exit(77)
if SUBJECT == "man":
    check_pages()
else:
    check_completion(next((REFERENCE / SUBJECT).iterdir()).resolve())
