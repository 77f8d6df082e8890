"""Runs a clang tool over sources with the options of a configured and built folder, and remembers those that had no
findings."""

import collections
import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PRODUCT = ("platform/", "agent/", "host/", "managers/", "tools/", "examples/adapter/")
CACHE = os.path.join(os.environ.get("XDG_CACHE_HOME", os.path.expanduser("~/.cache")), "kelp-checks")

# outcome: "read", "known" (nothing has changed since it was read without findings) or "left" for want of time
Result = collections.namedtuple("Result", "outcome findings")


def sources_of(entry):
    """The sources that this entry joins (cmake/KelpJoinSources.cmake), or its own."""
    if os.path.basename(os.path.dirname(entry["file"])) != "joined":
        return [entry["file"]]
    with open(entry["file"], encoding="utf-8") as file:
        return [os.path.join(ROOT, path) for path in re.findall(r'^#include "(.*)"', file.read(), re.MULTILINE)]


def product_entries(folder):
    """The first compile command of each of the product's sources, by the source's path. Joined sources share one."""
    with open(os.path.join(folder, "compile_commands.json"), encoding="utf-8") as file:
        entries = {path: entry for entry in reversed(json.load(file)) for path in sources_of(entry)}
    return {path: entry for path, entry in entries.items() if os.path.relpath(path, ROOT).startswith(PRODUCT)}


def entries_of(paths, entries):
    """The entries that compile the given sources, each once, in the order of the sources."""
    return list({entries[path]["file"]: entries[path] for path in paths}.values())


def options_of(entry):
    words = shlex.split(entry["command"])
    while not words[0].endswith("c++"):
        words.pop(0)
    kept = []
    words = iter(words[1:])
    for word in words:
        if word == "-o":
            next(words)
        elif word not in ("-c", "-Werror", entry["file"]):
            kept.append(word)
    return kept


class ClangReader:
    """`command(path, options)` returns the command that reads a source. It fails if there are findings."""

    def __init__(self, command, settings, seconds=float("inf")):
        version = subprocess.run(["clang++", "--version"], capture_output=True, check=True).stdout
        self.command = command
        self.settings = settings.encode() + version
        self.end = time.monotonic() + seconds
        os.makedirs(CACHE, exist_ok=True)

    def read_all(self, entries):
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            return list(pool.map(self._read, entries))

    def _read(self, entry):
        if time.monotonic() > self.end:
            return Result("left", "")
        remembered = os.path.join(CACHE, self._fingerprint(entry))
        if os.path.exists(remembered):
            return Result("known", "")
        done = subprocess.run(self.command(entry["file"], options_of(entry)), cwd=entry["directory"],
                              capture_output=True, text=True, check=False)
        if done.returncode:
            return Result("read", done.stdout + done.stderr)
        with open(remembered, "w", encoding="utf-8"):
            pass
        return Result("read", "")

    def _fingerprint(self, entry):
        """Of all that the findings depend on."""
        text = subprocess.run(["clang++", "-w", "-E", *options_of(entry), entry["file"]], cwd=entry["directory"],
                              capture_output=True, check=False).stdout
        return hashlib.sha256(self.settings + text.replace(ROOT.encode(), b"")).hexdigest()


def report(results):
    """Print the findings and a summary. Return the exit code."""
    print("".join(each.findings for each in results), end="")
    count = collections.Counter(each.outcome for each in results)
    bad = sum(1 for each in results if each.findings)
    print(f"{count['read']} sources or groups of joined sources read, {count['known']} unchanged since they were read, "
          f"{count['left']} left for want of time, {bad} with findings")
    return 1 if bad else 0
