"""The missions of a campaign: which there are, by what key each is known, and what its files look like."""
import collections
import hashlib
import json
import os
import re
import stat
from concurrent.futures import ThreadPoolExecutor


def shown(name):
    """A name as UTF-8 can hold it: bytes that are not UTF-8 become escapes."""
    return name.encode("utf-8", "surrogateescape").decode("utf-8", "backslashreplace")


def printed(text):
    """A text for a terminal: control characters are shown as \\u001b."""
    return re.sub(r"[\x00-\x1f\x7f-\x9f]", lambda match: f"\\u{ord(match[0]):04x}", shown(text))


def keys_of(names):
    """The name of each mission's files among the results: safe for shells and queues, and unique even where letter case is
    ignored. A name that looks like a made one is not kept either, as it could meet that one."""
    alike = collections.Counter(name.lower() for name in names)
    keys = []
    for name in names:
        if (re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9._-]{0,63}", name) and not re.search(r"\.$|-[0-9A-Fa-f]{10}$", name) and
                alike[name.lower()] == 1):
            keys.append(name)
        else:
            kept = re.sub(r"[^A-Za-z0-9]+", "_", name).strip("_")[:40]
            keys.append(f"{kept or 'mission'}-{hashlib.sha256(os.fsencode(name)).hexdigest()[:10]}")
    return keys


def find(folder):
    """Name and path of each mission: the folders in a folder, and links that lead nowhere, which are reported as failed."""
    with os.scandir(folder) as entries:
        return sorted((entry.name, os.path.join(folder, entry.name)) for entry in entries
                      if not entry.name.startswith(".") and
                      (entry.is_dir() or (entry.is_symlink() and not os.path.exists(entry.path))))


def files_of(folder, seen=frozenset()):
    """Path, size and time of each file below a folder. Links are followed, but not in circles."""
    try:
        about = os.stat(folder)
        entries = sorted(os.scandir(folder), key=lambda entry: entry.name)
    except OSError as error:
        yield folder, error.errno, 0
        return
    if (about.st_dev, about.st_ino) in seen:
        return
    for entry in entries:
        try:
            of = entry.stat()
        except OSError as error:
            yield entry.path, error.errno, 0
            continue
        if stat.S_ISDIR(of.st_mode):
            yield from files_of(entry.path, seen | {(about.st_dev, about.st_ino)})
        else:
            yield entry.path, of.st_size, of.st_mtime_ns


def fingerprint(folder, settings):
    """What a result depends on. It changes when a file is changed, added, removed or renamed, and with the settings.
    It changes with the folder's path too, which results hold in their links to photos."""
    digest, count, size = hashlib.sha256(json.dumps([folder, settings]).encode()), 0, 0
    for path, length, changed in files_of(folder):
        digest.update(os.fsencode(os.path.relpath(path, folder)) + b"\0%d %d\n" % (length, changed))
        count, size = count + 1, size + length
    return json.dumps({"files": count, "bytes": size, "sha256": digest.hexdigest()})


def changed(missions, settings):
    """The new content of inputs/MISSION for each mission that has no result or has changed."""
    def new(item):
        key, mission = item
        content = fingerprint(mission["folder"], settings)
        try:
            with open(f"inputs/{key}", encoding="utf-8") as file:
                if file.read() == content and os.path.exists(f"done/{key}"):
                    return key, None
        except FileNotFoundError:
            pass
        return key, content

    with ThreadPoolExecutor(8) as pool:
        return {key: content for key, content in pool.map(new, missions.items()) if content}


def write_fingerprints(contents):
    """Writes inputs/MISSION, so that this mission is run."""
    for key, content in contents.items():
        if os.path.exists(f"done/{key}"):
            os.remove(f"done/{key}")
        with open(f"inputs/{key}.new", "w", encoding="utf-8") as file:
            file.write(content)
        os.replace(f"inputs/{key}.new", f"inputs/{key}")
