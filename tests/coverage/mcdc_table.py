#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The table of MC/DC: which conditions decide on their own, by file, and which pairs of evaluations are missing.

Reads what `llvm-cov export` writes of the library and compares the conditions whose independent effect no test shows
with the committed list of reasons. A condition that is missing and not listed, or listed and not missing, is an error.

Usage: mcdc_table.py EXPORT.json REASONS ROOT FOLDER_OR_FILE...
REASONS has blocks of lines `path: decision` and `condition NUMBER: reason`; conditions count from 1, as written.
"""

import json
import os
import re
import sys


def text_of(lines, record):
    """The decision as written, on one line."""
    first, left, last, right = record[:4]
    if first == last:
        text = lines[first - 1][left - 1:right - 1]
    else:
        text = " ".join([lines[first - 1][left - 1:], *lines[first:last - 1], lines[last - 1][:right - 1]])
    text = re.sub(r"//.*?(?= {2,}|$)", " ", text)
    return re.sub(r"\s+", " ", text).strip()


def decisions_of(export, root, wanted):
    """By (path, text): which conditions are shown. Copies of one decision, as templates have, count together."""
    found = {}
    for data in export["data"]:
        for entry in data["files"]:
            path = os.path.relpath(entry["filename"], root)
            if not any(path == one or path.startswith(one + "/") for one in wanted):
                continue
            with open(entry["filename"], encoding="utf-8") as source:
                lines = source.read().split("\n")
            for record in entry.get("mcdc_records", []):
                shown = record[-1]
                key = (path, text_of(lines, record))
                before = found.get(key, (record[0], [False] * len(shown)))
                found[key] = (before[0], [a or b for a, b in zip(before[1], shown)])
    return found


def read_reasons(name):
    reasons = {}
    decision = None
    with open(name, encoding="utf-8") as source:
        for number, line in enumerate(source, 1):
            line = line.rstrip("\n")
            if not line.strip() or line.startswith("#"):
                continue
            condition = re.fullmatch(r"    condition (\d+): (.+)", line)
            if condition and decision:
                reasons[(*decision, int(condition[1]))] = condition[2]
                continue
            path, colon, text = line.partition(": ")
            if not colon or line.startswith(" "):
                sys.exit(f"{name}:{number}: neither a decision nor a condition")
            decision = (path, text)
    return reasons


def main():
    export_name, reasons_name, root, *wanted = sys.argv[1:]
    with open(export_name, encoding="utf-8") as source:
        decisions = decisions_of(json.load(source), root, wanted)
    reasons = read_reasons(reasons_name)
    files = {}
    unexplained = []
    missing = set()
    for (path, text), (line, shown) in sorted(decisions.items(), key=lambda one: (one[0][0], one[1][0])):
        totals = files.setdefault(path, [0, 0, 0, 0])
        totals[0] += 1
        totals[1] += len(shown)
        totals[2] += sum(shown)
        for number, is_shown in enumerate(shown, 1):
            if is_shown:
                continue
            missing.add((path, text, number))
            if (path, text, number) in reasons:
                totals[3] += 1
            else:
                unexplained.append(f"{path}: {text}\n    condition {number}: line {line}")
    print(f"{'file':<52} {'decisions':>9} {'conditions':>10} {'shown':>7} {'listed':>7}")
    for path, totals in sorted(files.items()):
        print(f"{path:<52} {totals[0]:>9} {totals[1]:>10} {totals[2]:>7} {totals[3]:>7}")
    total = [sum(column) for column in zip(*files.values())]
    if not total or total[1] < 100:
        sys.exit("no decisions: was the library built for MC/DC?")
    print(f"{'total':<52} {total[0]:>9} {total[1]:>10} {total[2]:>7} {total[3]:>7}   "
          f"{100 * total[2] / total[1]:.1f} % shown")
    stale = [key for key in reasons if key not in missing]
    for path, text, number in sorted(stale):
        print(f"listed but shown, or not there: {path}: {text}, condition {number}")
    for one in unexplained:
        print(f"not shown and without a reason: {one}")
    sys.exit(1 if stale or unexplained else 0)


main()
