#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Says where two types of one namespace have one name in different files.

Linked into one program they are one type to the linker, which keeps the members of either: the program crashes, and
no compiler says so. Types in unnamed namespaces are of their file alone.
Usage: check_type_names.py ROOT
"""

import collections
import pathlib
import re
import sys

FOLDERS = ("include", "narvoassem", "host", "sources", "tools", "python")
# What stands at the beginning of a line is at namespace scope: bodies are indented.
OPENS = re.compile(r"^namespace\s*([\w:]*)")
CLOSES = re.compile(r"^}\s*// namespace")
TYPE = re.compile(r"^(?:struct|class|union|enum class|enum)\s+(?:NARVO_API\s+|NARVOHOST_API\s+|\[\[\w+\]\]\s*)?(\w[\w:]*)[^;]*$")


def types_of(text):
    """Qualified names of the types that a file defines outside unnamed namespaces."""
    inside = []
    for line in text.splitlines():
        if opened := OPENS.match(line):
            inside.append(opened[1])
        elif CLOSES.match(line) and inside:
            inside.pop()
        elif (found := TYPE.match(line)) and "" not in inside:
            yield "::".join([*inside, found[1]])


def main():
    root = pathlib.Path(sys.argv[1])
    files = collections.defaultdict(set)
    for folder in FOLDERS:
        for path in (root / folder).rglob("*"):
            if path.suffix in {".h", ".cpp", ".cc", ".hpp"}:
                for name in types_of(path.read_text(encoding="utf-8")):
                    files[name].add(str(path.relative_to(root)))
    twice = {name: paths for name, paths in files.items() if len(paths) > 1}
    for name, paths in sorted(twice.items()):
        print(f"{name} is defined in {' and '.join(sorted(paths))}")
    if not files:
        print(f"{root} has no types")
    return 1 if twice or not files else 0


if __name__ == "__main__":
    sys.exit(main())
