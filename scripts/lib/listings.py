#!/usr/bin/env python3
"""listings PAGE FOLDER: writes the files whose listings are in a Markdown page into the folder.

A listing belongs to a file when the paragraph before it begins with the file's name in backquotes, or ends with it and a
colon. A second listing of a file continues it."""

import pathlib
import re
import sys

LISTING = re.compile(r"(?P<before>[^\n]+)\n\n```\w*\n(?P<text>.*?)^```$", re.DOTALL | re.MULTILINE)
NAME = r"`(\w[\w.]*\.\w+)`"


def file_of(paragraph):
    found = re.search(NAME + ":$", paragraph) or re.match(NAME, paragraph)
    return found and found.group(1)


def main():
    page, folder = sys.argv[1:]
    written = set()
    for listing in LISTING.finditer(pathlib.Path(page).read_text(encoding="utf-8")):
        name = file_of(listing["before"])
        if name:
            with open(pathlib.Path(folder) / name, "a" if name in written else "w", encoding="utf-8") as file:
                file.write(listing["text"])
            written.add(name)
    print("\n".join(sorted(written)))


if __name__ == "__main__":
    main()
