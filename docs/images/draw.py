#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the diagrams of the pages as SVG beside this file. Profiles and hits are computed, not sketched.

Usage: docs/images/draw.py
"""
from pathlib import Path

PITCH = 24
PERIODS = 6
THRESHOLD = 30
DEFECT = range(78, 83)  # rows of a bright spot, in the fourth period

INK, FAINT, BRIGHT, DARK, LIMIT = "#1f2933", "#9aa5b1", "#d9822b", "#0f8a9d", "#b83280"


class Drawing:
    """Collects SVG elements and writes them on a white ground."""

    def __init__(self, width, height):
        self.width, self.height, self.parts = width, height, []

    def line(self, x1, y1, x2, y2, colour=INK, width=1.0, dash=""):
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.parts.append(
            f'<line x1="{x1:g}" y1="{y1:g}" x2="{x2:g}" y2="{y2:g}" stroke="{colour}" stroke-width="{width:g}"{dashes}/>'
        )

    def steps(self, points, colour=INK, width=1.5):
        path = " ".join(f"{x:g},{y:g}" for x, y in points)
        self.parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width:g}"/>')

    def box(self, x, y, width, height, fill, stroke="none", opacity=1.0):
        self.parts.append(
            f'<rect x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}" fill="{fill}" stroke="{stroke}" '
            f'fill-opacity="{opacity:g}"/>'
        )

    def text(self, x, y, words, colour=INK, size=13, anchor="start", weight="normal"):
        words = words.replace("&", "&amp;").replace("<", "&lt;")
        self.parts.append(
            f'<text x="{x:g}" y="{y:g}" fill="{colour}" font-size="{size}" text-anchor="{anchor}" '
            f'font-weight="{weight}">{words}</text>'
        )

    def arrow(self, x1, y1, x2, y2, colour=INK):
        self.line(x1, y1, x2, y2, colour, 1.5)
        side = 5 if x2 >= x1 else -5
        if y1 == y2:
            self.parts.append(f'<path d="M{x2:g},{y2:g} l{-side * 1.4:g},{-4} v8 z" fill="{colour}"/>')
        else:
            self.parts.append(f'<path d="M{x2:g},{y2:g} l-4,-7 h8 z" fill="{colour}"/>')

    def save(self, name):
        text = (
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" width="{self.width}" '
            f'height="{self.height}" font-family="sans-serif">\n<rect width="100%" height="100%" fill="white"/>\n'
        )
        Path(__file__).with_name(name).write_text(text + "\n".join(self.parts) + "\n</svg>\n", encoding="utf-8")


def profile():
    """Grey values along one column: a periodic pattern with one bright spot."""
    good = [180 if 5 <= y % PITCH < 15 else 90 for y in range(PITCH * PERIODS)]
    return [value + (55 if y in DEFECT else 0) for y, value in enumerate(good)]


def draw_method():
    grey = profile()
    difference = [a - b for a, b in zip(grey, grey[PITCH:])]
    drawing = Drawing(890, 400)
    left, step = 160, 5
    at = lambda y: left + y * step

    drawing.text(14, 70, "grey value", weight="bold")
    drawing.text(14, 88, "along y", FAINT)
    points = [(at(y + side), 150 - value * 0.5) for y, value in enumerate(grey) for side in (0, 1)]
    for period in range(PERIODS + 1):
        drawing.line(at(period * PITCH), 20, at(period * PITCH), 360, FAINT, 0.7, "3,4")
    drawing.steps(points)
    drawing.box(at(DEFECT[0]), 18, len(DEFECT) * step, 132, BRIGHT, opacity=0.18)
    drawing.text(at(DEFECT[0]) - 4, 32, "defect D", BRIGHT, anchor="end")
    drawing.arrow(at(PITCH), 165, at(2 * PITCH), 165)
    drawing.text(at(1.5 * PITCH), 180, "one pitch", anchor="middle")

    zero = 270
    drawing.text(14, 262, "value minus the", weight="bold")
    drawing.text(14, 280, "value one pitch on", weight="bold")
    for sign, word in ((1, "+ threshold"), (-1, "- threshold")):
        drawing.line(left, zero - sign * THRESHOLD, at(PITCH * PERIODS), zero - sign * THRESHOLD, LIMIT, 1, "6,4")
        drawing.text(at(PITCH * PERIODS) - 4, zero - sign * THRESHOLD + (-5 if sign > 0 else 14), word, LIMIT, 11, "end")
    drawing.steps([(at(y + side), zero - value) for y, value in enumerate(difference) for side in (0, 1)])
    hits = [y for y, value in enumerate(difference) if abs(value) > THRESHOLD]
    for y in hits:
        bright = difference[y] > 0
        drawing.box(at(y), zero - (difference[y] if bright else 0), step, abs(difference[y]), BRIGHT if bright else DARK)
    first, second = hits[0], DEFECT[0]
    drawing.text(at(first) - 6, zero + 52, "at D - pitch: darker", DARK, anchor="end")
    drawing.text(at(second + len(DEFECT)) + 6, zero - 40, "at D: brighter", BRIGHT)
    drawing.line(at(first + 2.5), 345, at(second + 2.5), 345, INK, 1.5)
    drawing.line(at(first + 2.5), 335, at(first + 2.5), 345, INK, 1.5)
    drawing.line(at(second + 2.5), 335, at(second + 2.5), 345, INK, 1.5)
    drawing.text(at((first + second) / 2 + 2.5), 364, "two hits one pitch apart, of opposite sign,", anchor="middle")
    drawing.text(at((first + second) / 2 + 2.5), 382, "form one pair, which stands for D", anchor="middle", weight="bold")
    drawing.save("method.svg")


def draw_bands():
    drawing = Drawing(860, 250)
    left, width, pitch = 60, 740, 110
    right = left + width
    drawing.box(left, 40, width, 90, "#f5f7fa", FAINT)
    drawing.box(left, 40, pitch, 90, DARK, opacity=0.15)
    drawing.box(right - pitch, 40, pitch, 90, BRIGHT, opacity=0.15)
    drawing.text(left, 28, "start of the region", FAINT)
    drawing.text(right, 28, "end of the region", FAINT, anchor="end")
    drawing.text(left + pitch / 2, 58, "first pitch", anchor="middle", weight="bold")
    drawing.text(left + width / 2, 58, "middle", anchor="middle", weight="bold")
    drawing.text(right - pitch / 2, 58, "last pitch", anchor="middle", weight="bold")

    def answers(x, partner, colour):
        drawing.box(x - 4, 88, 8, 8, colour)
        if partner:
            drawing.arrow(x + 8, 92, x + pitch - 8, 92)
            drawing.box(x + pitch - 4, 88, 8, 8, colour)

    answers(left + 55, False, DARK)
    answers(left + 300, True, INK)
    answers(right - pitch - 50, False, BRIGHT)
    drawing.arrow(right - pitch - 42, 92, right - 58, 92, BRIGHT)
    drawing.box(right - 54, 88, 8, 8, "none", BRIGHT)
    for x, anchor, colour, lines in (
        (left, "start", DARK, ("a hit here may be kept", "without a partner")),
        (left + width / 2, "middle", INK, ("a hit here needs a partner", "one pitch on, or is dropped")),
        (right, "end", BRIGHT, ("a hit one pitch before the end stands", "for a partner that cannot be compared")),
    ):
        for row, words in enumerate(lines):
            drawing.text(x, 160 + 18 * row, words, colour, anchor=anchor)
    drawing.text(left + width / 2, 225, "compare direction", FAINT, anchor="middle")
    drawing.arrow(left + width / 2 - 130, 235, left + width / 2 + 130, 235, FAINT)
    drawing.save("bands.svg")


def draw_zones():
    drawing = Drawing(860, 260)
    cell, zones = 90, {0: "#d9dee4", 1: "#9fd3c7", 2: "#f3c98b"}

    def one_cell(x, y):
        drawing.box(x, y, cell, cell * 0.8, zones[0], FAINT)
        drawing.box(x + 12, y + 10, cell - 24, cell * 0.8 - 20, zones[1], FAINT)
        drawing.box(x + cell / 2 - 9, y + 26, 18, 20, zones[2], FAINT)

    for row in range(2):
        for column in range(4):
            one_cell(30 + column * cell, 40 + row * cell * 0.8)
    drawing.text(30, 28, "the pattern, cell by cell", FAINT)
    drawing.text(30, 212, "one image of a cell, painted with zone numbers, applies to all cells;", INK)
    drawing.text(30, 230, "every zone has its own thresholds, filters and limits", INK)
    rows = (
        (0, "0 wiring", "offset 60", "loose: edges move slightly"),
        (1, "1 window", "offset 12, gain 10/256", "strict: the visible area"),
        (2, "2 contact", "offset 25", "in between"),
    )
    for index, (zone, name, limit, why) in enumerate(rows):
        y = 70 + 45 * index
        drawing.box(440, y - 16, 22, 22, zones[zone], FAINT)
        drawing.text(474, y, name, weight="bold")
        drawing.text(560, y, limit)
        drawing.text(474, y + 17, why, FAINT, 12)
    drawing.save("zones.svg")


def draw_steps():
    drawing = Drawing(860, 130)
    steps = (
        ("find", "one bit per pixel:", "above threshold?"),
        ("pair", "two hits become", "one record"),
        ("filter", "test with other", "references"),
        ("grow", "neighbours become", "a blob"),
        ("merge", "join nearby blobs,", "remove ghosts"),
        ("report", "place, size,", "strength, shape"),
    )
    width, gap = 124, 18
    for index, (name, *lines) in enumerate(steps):
        x = 14 + index * (width + gap)
        drawing.box(x, 20, width, 86, "#f5f7fa", FAINT)
        drawing.text(x + width / 2, 46, name, anchor="middle", weight="bold", size=15)
        for row, words in enumerate(lines):
            drawing.text(x + width / 2, 70 + 17 * row, words, anchor="middle", size=12)
        if index + 1 < len(steps):
            drawing.arrow(x + width + 2, 63, x + width + gap - 2, 63)
    drawing.save("steps.svg")


def draw_architecture():
    drawing = Drawing(900, 560)
    host, library = "#fff7ed", "#ecf7f8"

    def layer(y, height, name, fill, width=756):
        drawing.box(130, y, width, height, fill, FAINT)
        drawing.text(116, y + height / 2 + 5, name, FAINT, 13, "end")

    def part(x, y, width, name, *lines):
        height = 28 + 16 * len(lines)
        drawing.box(x, y, width, height, "white", FAINT)
        drawing.text(x + width / 2, y + 20, name, anchor="middle", weight="bold")
        for row, words in enumerate(lines):
            drawing.text(x + width / 2, y + 38 + 16 * row, words, anchor="middle", size=12)

    part(146, 14, 220, "narvo", "command line, tools/")
    part(398, 14, 220, "narvoassem for Python", "python/")
    part(650, 14, 220, "your program", "C++")
    drawing.arrow(256, 58, 256, 92)
    drawing.arrow(508, 58, 508, 92)
    drawing.arrow(760, 58, 760, 192)

    layer(94, 68, "host/", host, 512)
    for x, name in ((146, "recipes"), (244, "images"), (342, "lanes, batches"), (440, "results"), (538, "golden, explain")):
        drawing.box(x, 112, 90, 32, "white", FAINT)
        drawing.text(x + 45, 132, name, anchor="middle", size=11)
    drawing.arrow(380, 162, 380, 192)

    layer(194, 62, "include/", library)
    for x, name, words in (
        (146, "CConvParam", "what to inspect, and how"),
        (398, "CAssemControl", "pool: one engine per lane"),
        (650, "CDefectBlob", "one defect"),
    ):
        part(x, 203, 220, name, words)
    drawing.arrow(508, 256, 508, 284)

    layer(286, 260, "narvoassem/", library)
    part(146, 296, 724, "engine", "checks the parameters, splits wide regions into bands, starts re-runs")
    drawing.arrow(508, 340, 508, 362)
    part(146, 364, 724, "driver", "chooses one kernel from the parameters, runs it, builds blobs")
    drawing.arrow(322, 408, 322, 432)
    drawing.arrow(694, 408, 694, 432)

    drawing.box(146, 434, 352, 98, "white", FAINT)
    drawing.text(322, 453, "kernel", anchor="middle", weight="bold")
    drawing.box(518, 434, 352, 98, "white", FAINT)
    drawing.text(694, 453, "stores", anchor="middle", weight="bold")
    chain = (
        (158, "find", "one bit per pixel", "vector code", DARK),
        (276, "scan", "values of hits", "strips, rows", INK),
        (394, "pair", "two hits,", "one record", INK),
        (530, "pairs", "filters", "", INK),
        (648, "blobs", "group, merge,", "remove ghosts", INK),
        (766, "result", "until the", "next call", INK),
    )
    for x, name, first, second, colour in chain:
        drawing.text(x + 46, 482, name, colour, 14, "middle", "bold")
        drawing.text(x + 46, 502, first, colour, 12, "middle")
        drawing.text(x + 46, 518, second, colour, 12, "middle")
    for (x, *_), (following, *_) in zip(chain, chain[1:]):
        drawing.arrow(x + 84, 478, following + 10, 478)
    drawing.save("architecture.svg")


if __name__ == "__main__":
    draw_method()
    draw_bands()
    draw_zones()
    draw_steps()
    draw_architecture()
