"""Gives doxygen pages and headers in the form that it understands. Usage: filter.py FILE"""
import os
import pathlib
import re
import sys


def label(path):
    """The page of a file: docs/kvmission/run.md is "kvmission_run"."""
    return "_".join(pathlib.PurePath(os.path.relpath(path, "docs")).with_suffix("").parts)


def slug(heading):
    """What links to a heading are called in Markdown."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")


def with_label(line, page):
    marks, heading = re.match(r"(#+) +(.*)", line).groups()
    return f"{marks} {heading} {{#{page if marks == '#' else page + '-' + slug(heading)}}}"


def with_links(text, path):
    """Links to pages become references; what has no page here becomes its text. Pictures are found by their names."""
    def link(match):
        words, target = match.groups()
        file, _, heading = target.partition("#")
        to = os.path.normpath(os.path.join(os.path.dirname(path), file)) if file else path
        if "://" in target:
            return match.group()
        if to.endswith(".json"):
            return f"[{words}]({os.path.basename(to)})"
        if not to.startswith("docs/") or not to.endswith(".md"):
            return words
        return f"[{words}](#{label(to)}{'-' + heading if heading else ''})"

    text = re.sub(r"(!\[[^]]*\])\([^)]*/([^)/]+)\)", r"\1(\2)", text)
    return re.sub(r"(?<!!)\[([^]]*)\]\(([^) ]+)\)", link, text)


def page(path, text):
    pieces = re.split(r"(^```.*?^```$)", text, flags=re.MULTILINE | re.DOTALL)
    for at in range(0, len(pieces), 2):  # code is between them
        piece = re.sub(r"^#+ .*", lambda line: with_label(line.group(), label(path)), pieces[at], flags=re.MULTILINE)
        piece = re.sub(r"\(#(?=[0-9A-F]{6}\))", r"(\\#", piece)  # a colour
        pieces[at] = with_links(piece, path)
    return "".join(pieces)


def header(text):
    text = re.sub(r"\\(?=u[0-9a-f]{4})", r"\\\\", text)  # not a command
    # The parameter of the second of two overloads, which share a comment.
    return text.replace("@param missionDate ", "@remark `missionDate`: ")


path = os.path.relpath(sys.argv[1])
text = pathlib.Path(path).read_text(encoding="utf-8")
sys.stdout.reconfigure(encoding="utf-8")
sys.stdout.write(page(path, text) if path.endswith(".md") else header(text))
