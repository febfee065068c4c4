#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the includes between folders to allowed_includes.txt, and the folders to one direction.

The Python module includes nothing but the installed headers of the host library, whatever the list says. So do the
commands of the program, but for helpers with texts and files and for the folders of INSIDE.

Fails on an include that the list does not allow, on an entry that no include uses, on a circle of folders, and on an
include of a file of these folders that does not exist. Tests and bench are not part of the list, since nothing includes them.

Usage: check_includes.py SOURCE_FOLDER [--write]    --write rewrites the list from the tree
"""
import os
import re
import sys
from collections import defaultdict
from graphlib import CycleError, TopologicalSorter

CLOSED = {"python": {"include/narvo"}}  # folders that include from no others
HELPERS = {"host", "host/file"}  # texts, problems and files: nothing of inspection
# Folders of the program that still include the host layer itself. One leaves the list once its commands stand on the
# headers of the host library; none joins it.
INSIDE = {
    "tools",
    "tools/bench",
    "tools/capability",
    "tools/cell",
    "tools/evaluate",
    "tools/explain",
    "tools/golden",
    "tools/inspect",
    "tools/learn",
    "tools/live",
    "tools/page",
    "tools/pitch",
    "tools/report",
    "tools/synthetic",
    "tools/truth",
    "tools/tune",
    "tools/watch",
}
ROOTS = ("include", "narvoassem", "measure", "host", "sources", "tools", "python")
INCLUDE = re.compile(r'\s*#\s*include\s+["<]([^">]+)[">]')
LIST = os.path.join("tests", "rules", "allowed_includes.txt")
HEAD = """\
# Which folder may include which: "folder: the folders whose headers it includes". Held to the tree by a test;
# tests/rules/check_includes.py SOURCE_FOLDER --write renews it after an intended change.
"""


def sources(root):
    for top in ROOTS:
        for folder, _, names in os.walk(os.path.join(root, top)):
            for name in names:
                if name.endswith((".h", ".cpp", ".cc", ".inc")):
                    yield os.path.relpath(os.path.join(folder, name), root)


def edges(root):
    """Includes that leave their folder, by folder; and faults."""
    files = set(sources(root))
    found, faults = defaultdict(set), []
    for file in sorted(files):
        folder = os.path.dirname(file)
        with open(os.path.join(root, file), encoding="utf-8") as text:
            for line in text:
                match = INCLUDE.match(line)
                if not match:
                    continue
                name = match[1]
                target = next((path for path in (name, "include/" + name) if path in files), None)
                if target is None and name.split("/")[0] in ROOTS:
                    faults.append(f"{file}: includes {name}, which does not exist")
                target_folder = os.path.dirname(target) if target is not None else folder
                if target_folder == folder:
                    continue
                found[folder].add(target_folder)
                if target_folder not in CLOSED.get(folder, {target_folder}):
                    faults.append(f"{file}: includes {name}; {folder} may include {', '.join(CLOSED[folder])} alone")
    return found, faults


def read_list(path):
    allowed = {}
    with open(path, encoding="utf-8") as text:
        for line in text:
            if line.strip() and not line.startswith("#"):
                folder, _, targets = line.partition(":")
                allowed[folder.strip()] = set(targets.split())
    return allowed


def main(root, write, least=10):
    found, faults = edges(root)
    if len(found) < least:
        faults.append(f"only {len(found)} folders found in {root}")
    for folder in sorted(found):
        inner = sorted(target for target in found[folder] if target.split("/")[0] == "host" and target not in HELPERS)
        if folder.split("/")[0] == "tools" and bool(inner) != (folder in INSIDE):
            faults.append(f"{folder} includes {', '.join(inner)} instead of headers of the host library" if inner
                          else f"check_includes.py: {folder} includes nothing of the host layer, but INSIDE names it")
    path = os.path.join(root, LIST)
    if write:
        with open(path, "w", encoding="utf-8") as text:
            text.write(HEAD)
            for folder in sorted(found):
                text.write(f"{folder}: {' '.join(sorted(found[folder]))}\n")
    allowed = read_list(path)
    for folder in sorted(found.keys() | allowed.keys()):
        for target in sorted(found[folder] - allowed.get(folder, set())):
            faults.append(f"{folder} includes {target}, which {LIST} does not allow")
        for target in sorted(allowed.get(folder, set()) - found[folder]):
            faults.append(f"{LIST}: {folder} does not include {target}")
    try:
        TopologicalSorter(found).prepare()
    except CycleError as circle:
        faults.append("a circle of folders: " + " -> ".join(circle.args[1]))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], "--write" in sys.argv[2:]))
