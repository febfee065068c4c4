# SPDX-License-Identifier: MIT
"""Proves with z3 that no reader leaves image and tables under the conditions of the engine's bounds checks.

The conditions and addresses are those of address_formulas.inc. Each obligation is one named formula: under its
conditions and what the reader's own loop guarantees, a claim holds. It is proven if its negation has no solution.
Products of two unknowns are named (rowStart, bytes), and what the other obligations use of them is proven first.
"""
import argparse
import pathlib
import re
import sys
import time

import z3

NAMES = """width height left top right bottom hasImage pitch usesTables hasTables hasGrid gridColumns mapStride
cellWidth cellHeight corner0X corner0Y corner3X corner3Y corner1 corner2 otherExtent freeRows x y count bytes
rowStart column gridRow gridColumn columnStart rowDepth originX originY""".split()
LIMIT = 2**31  # extents and coordinates are ints


def Div16(a):
    return a / 16


def Down16(a):
    return 16 * (a / 16)


FUNCTIONS = {
    "And": z3.And, "Or": z3.Or, "Div16": Div16, "Down16": Down16,
    "Down8": lambda a: 8 * (a / 8),
    "Quot16": lambda a: z3.If(a >= 0, a / 16, -(-a / 16)),
    "Max": lambda a, b: z3.If(a >= b, a, b),
    "Clamp": lambda a, low, high: z3.If(a < low, low, z3.If(a > high, high, a)),
}


class Formulas:
    """The text of the formulas over unknowns; `changes` replaces the text of conditions."""

    def __init__(self, path, changes=()):
        self.text = {}
        self.conditions = []
        for number, line in enumerate(path.read_text().splitlines(), 1):
            if not line or line.startswith("//"):
                continue
            found = re.fullmatch(r"(CONDITION|TERM|FORMULA|FORMULA1)\((\w+), (.*)\)", line)
            if not found:
                sys.exit(f"{path}:{number}: neither condition nor formula")
            kind, name, text = found.groups()
            argument = None
            if kind == "FORMULA1":
                argument, text = text.split(", ", 1)
            if kind == "CONDITION":
                self.conditions.append(name)
            self.text[name] = (argument, dict(changes).get(name, text))
        self.v = {name: z3.Int(name) for name in NAMES}
        self.environment = {**FUNCTIONS, **self.v}
        for name, (argument, text) in self.text.items():
            self.environment[name] = self.callable(argument, text)

    def callable(self, argument, text):
        code = compile(text, "formula", "eval")
        if argument is None:
            return lambda: eval(code, self.environment)
        return lambda value: eval(code, {**self.environment, argument: value})

    def __call__(self, text):
        return eval(text, self.environment)


REGION = "LeftInside RightInside TopInside BottomInside ImageGiven"
ALONG = REGION + " PitchNotNegative PitchWithinLimit"
ZONE = ALONG + " GridGiven GridColumns MapStride CellWidth CellHeight"
CORNERS = "Corner0X Corner0Y Corner3X Corner3Y OtherCorner1 OtherCorner2"

# What loops guarantee, in the terms of the formulas.
PIXELS = ["left < right", "top < bottom"]
STRIP_ROWS = ["left < StripEnd()", "Or(freeRows == 1, freeRows == 2)", "top <= y", "y < RowEnd()"]
PRODUCT = ["0 <= rowStart", "rowStart <= bytes - width", "bytes >= 1", "width >= 1"]  # by RowOfTheImage
INSIDE = "And(0 <= {0}, {0} < {1})"


def obligations():
    """(name, conditions, assumptions, claim)"""
    image = lambda address: INSIDE.format(address, "bytes")
    yield "NonEmptyRegionHasAnImage", REGION, PIXELS, "And(hasImage == 1, width >= 1, height >= 1)"
    # NRA over the reals, which holds the integers.
    yield "RowOfTheImage", None, "product", None
    yield "NearestRowIsARow", REGION, PIXELS, INSIDE.format("NearestRow()", "height")
    yield "PixelReaderStaysInside", REGION, PIXELS + PRODUCT, image("NearestAddress()")
    row = PIXELS + PRODUCT + ["count >= 1"]
    yield "RowInPlaceFirst", REGION, row + ["ReadsInPlace()"], image("RowFirst()")
    yield "RowInPlaceLast", REGION, row + ["ReadsInPlace()"], image("RowFirst() + count - 1")
    copied = row + ["Not(ReadsInPlace())"]
    yield "RowCopyFirst", REGION, copied + ["CopiedInside() > 0"], image("CopyFirst()")
    yield "RowCopyLast", REGION, copied + ["CopiedInside() > 0"], image("CopyFirst() + CopiedInside() - 1")
    yield ("RowCopyFillsItsRoom", REGION, copied,
           "And(0 <= CopiedBefore(), 0 <= CopiedInside(), CopiedBefore() + CopiedInside() <= count)")
    # Several rows are listed together when the first and the last lie inside: `x` is where the row before `rowStart`
    # begins, `y` what lies between it and the last one, a multiple of the width.
    group = PRODUCT + ["0 <= rowStart + x", "0 <= y", "rowStart + x + y + count <= bytes", "0 <= column", "column < count"]
    yield "RowsBetweenFirstAndLast", REGION, group + ["0 <= originY", "originY <= y"], image("rowStart + x + originY + column")
    # Windows of 2 or 3 pixels along the row: the far reference ends with the row that is tested.
    window = ["Or(count == 2, count == 3)", "0 <= column", "column < FloatColumns()"]
    yield ("FloatRowReachesNoFurtherThanTested", ALONG, window,
           "And(column + count - 1 < FloatColumns() + Whole() + count,"
           " column + Whole() + 1 + count - 1 < FloatColumns() + Whole() + count)")
    # Average and binarise mode read the region's own pixels.
    region = PIXELS + ["left <= x", "x < right", "top <= y", "y < bottom"]
    yield "RegionPixelIsAColumnAndRow", REGION, region, "And(0 <= x, x < width, 0 <= y, y < height)"
    yield ("BinariseStaysInItsRow", REGION, ["top <= y", "y < bottom", "right - 16 - left >= 1", "0 <= column",
                                              "column < BinariseColumns()"],
           "And(0 <= left + column, left + column < width, 0 <= y, y < height)")
    yield "PitchFitsAnInt", "PitchNotNegative PitchWithinLimit", [], "And(pitch >= 0, pitch < 2147483647)"
    # A table of pitches may hold any int; no sum of an address leaves 64 bits. Bounds are the extremes of each part.
    yield "AddressFits64Bits", None, "sums", None

    yield ("RowTableOfStrips", ALONG, STRIP_ROWS, INSIDE.format("StripRowEntry()", "EntriesPer16(height)"))
    yield ("RowTableOfWindows", ALONG, STRIP_ROWS, INSIDE.format("FloatRowEntry()", "EntriesPer16(height)"))
    tables = ALONG + " TablesGiven"
    for kind in ("Pixel", "Float"):
        columns = ["usesTables == 1", "top < bottom", "0 <= column", f"column < {kind}Columns()"]
        yield f"{kind}ColumnTable", tables, columns, "And(hasTables == 1, 0 <= ColumnEntry(), ColumnEntry() < width)"
        yield f"{kind}ColumnWeights", tables, columns, INSIDE.format("WeightEntry()", "16 * EntriesPer16(width)")
    yield ("FilterTables", REGION, PIXELS, INSIDE.format("NearestEntry()", "EntriesPer16(height)"))
    yield ("TrapeziumColumnTable", CORNERS, ["corner0X <= x", "x < corner0X + Down16(corner3X - corner0X)"],
           INSIDE.format("TrapeziumColumnEntry()", "EntriesPer16(width)"))
    # The top row is visited even where the bottom lies above it.
    yield ("TrapeziumRowTable", CORNERS, ["corner0Y != corner3Y", "corner0Y <= y", "Or(y == corner0Y, y < corner3Y)"],
           INSIDE.format("TrapeziumRowEntry()", "EntriesPer16(height)"))
    # A side runs between two corners, so its rows or columns are as many as the image has at most.
    for name, first, second, extent in (("Rows0", "corner0Y", "corner3Y", "height"),
                                        ("Columns0", "corner0X", "corner3X", "width"),
                                        ("Other", "corner1", "corner2", "otherExtent")):
        yield (f"TrapeziumSide{name}", CORNERS,
               [f"Or(And({first} <= x, x <= {second}), And({second} <= x, x <= {first}))"],
               f"And(0 <= x, x <= {extent})")

    # The walk over a grid: one step for each strip at most, and the record to the right is read for its skip field.
    narrow = ["left < right", "cellWidth < 1", "left <= x", "x < StripEnd()", "0 <= gridColumn"]
    yield ("GridColumnsOfNarrowCells", ZONE, narrow + ["NarrowColumnReached()"],
           "And(hasGrid == 1, gridColumn + 1 < gridColumns)")
    # Regular grids. A column is left at its end, one strip early if the next one is skipped.
    step = ["left <= x", "ColumnReached()", "cellWidth >= 1"]
    yield ("GridColumnStep", ZONE, step + ["x - left >= columnStart + cellWidth - 16"],
           "columnStart + cellWidth <= x - left + 16")
    yield "GridColumnNextStrip", ZONE, step, "columnStart <= (x + 16) - left + 16"
    yield ("GridRowStep", ZONE, ["top <= y", "RowReached()", "y - top >= rowDepth + cellHeight"],
           "rowDepth + cellHeight <= y - top")
    yield "GridRowsNeeded", "CellHeight", "needed", None
    yield ("GridRecordNotBeforeTable", ZONE, "record", None)
    yield ("MapLinesRunForward", ZONE, "lines", None)


def special(kind, f):
    """Obligations with products of unknowns. (assumptions, claim)"""
    v = f.v
    if kind == "product":
        r, w, h = z3.Reals("r w h")
        return [r >= 0, r <= h - 1, w >= 1], z3.And(r * w >= 0, r * w <= h * w - w, h * w >= 1)
    if kind == "sums":
        row, stride, x, count = z3.Reals("row stride x count")
        whole = 2**27  # of an int in 1/16 pixel
        return ([row >= -LIMIT - whole - 4, row <= LIMIT + whole + 4, stride >= 0, stride < LIMIT, x >= -LIMIT - whole,
                 x <= LIMIT + whole, count >= 0, count <= LIMIT + 64],
                z3.And(row * stride + x + count < 2**63, row * stride + x > -(2**63)))
    if kind == "needed":
        # Rows of the grid for an extent of y rows: one for each cell height, of a pixel at least.
        height = v["cellHeight"]
        tall = z3.If(height >= 1, height, 1)
        row, needed = v["gridRow"], z3.Int("needed")
        return ([v["y"] >= 0, needed * tall <= v["y"], v["y"] < (needed + 1) * tall, row >= 0, row * height <= v["y"]],
                row <= needed)
    if kind == "record":
        return [v["gridRow"] >= 0, v["gridColumn"] >= 0], f("GridRecord() >= 0")
    if kind == "lines":
        below = f("(y + 1 - originY) * mapStride + x - originX")
        return [], below >= f("MapElement()")
    raise KeyError(kind)


def prove(f, name, conditions, assumptions, claim, seconds):
    solver = z3.Solver()
    solver.set("timeout", int(seconds * 1000))
    for unknown in ("width", "height"):
        solver.add(f.v[unknown] < LIMIT)
    for condition in (conditions or "").split():
        solver.add(f(condition + "()"))
    if isinstance(assumptions, str):
        terms, statement = special(assumptions, f)
    else:
        terms, statement = [f(text) for text in assumptions], f(claim)
    solver.add(*terms)
    reachable = solver.check()
    solver.add(z3.Not(statement))
    start = time.monotonic()
    answer = solver.check()
    duration = time.monotonic() - start
    verdict = "proven" if answer == z3.unsat else "failed" if answer == z3.sat else "unknown"
    if verdict == "proven" and reachable != z3.sat:
        verdict = "vacuous"  # nothing satisfies the assumptions, so nothing was said
    return verdict, duration, str(solver.model()).replace("\n", "") if answer == z3.sat else ""


# Weakened conditions. Where a half of a condition is missing here, the other conditions imply that nothing is read.
WEAKER = {
    "LeftInside": ["And(-1 <= left, left <= width)"],
    "RightInside": ["And(0 <= right, right <= width + 1)"],
    "TopInside": ["And(-1 <= top, top <= height)"],
    "BottomInside": ["And(0 <= bottom, bottom <= height + 1)"],
    "ImageGiven": ["Or(hasImage == 1, right <= left + 1, bottom <= top)"],
    "PitchNotNegative": ["pitch >= -64"],
    "PitchWithinLimit": ["pitch <= 32 * 67108864"],
    "TablesGiven": ["Or(usesTables >= 0, hasTables == 1)"],
    "GridGiven": ["hasGrid >= 0"],
    "GridColumns": ["gridColumns >= -1"],
    "MapStride": ["mapStride >= -1"],
    "CellWidth": ["Or(cellWidth >= 1, Quot16(right - left) + 1 <= gridColumns)", "Or(cellWidth >= 0, gridColumns > 9)"],
    "CellHeight": ["cellHeight >= 0"],
    "Corner0X": ["And(-1 <= corner0X, corner0X <= width)"],
    "Corner0Y": ["And(-1 <= corner0Y, corner0Y <= height)"],
    "Corner3X": ["And(0 <= corner3X, corner3X <= width + 1)"],
    "Corner3Y": ["And(0 <= corner3Y, corner3Y <= height + 1)"],
    "OtherCorner1": ["And(-1 <= corner1, corner1 <= otherExtent)", "And(0 <= corner1, corner1 <= otherExtent + 1)"],
    "OtherCorner2": ["And(-1 <= corner2, corner2 <= otherExtent)", "And(0 <= corner2, corner2 <= otherExtent + 1)"],
}


def prove_all(path, seconds):
    f = Formulas(path)
    good = True
    for obligation in obligations():
        verdict, duration, model = prove(f, *obligation, seconds)
        print(f"{verdict:8} {duration:7.2f} s  {obligation[0]}" + (f"\n         {model}" if model else ""), flush=True)
        good = good and verdict == "proven"
    return good


def self_test(path, seconds):
    """Each condition dropped, and each weakened: an obligation must fail with a counterexample."""
    original = Formulas(path)
    missing = set(original.conditions) ^ set(WEAKER)
    if missing:
        sys.exit(f"conditions without a weaker form, or the reverse: {sorted(missing)}")
    good = True
    for condition in original.conditions:
        for text in ["And(True)"] + WEAKER[condition]:
            f = Formulas(path, {condition: text})
            failed = ""
            for obligation in obligations():
                if condition in (obligation[1] or "").split():
                    verdict, _, model = prove(f, *obligation, seconds)
                    if verdict == "failed":
                        failed = f"{obligation[0]} fails: {model[:120]}"
                        break
            print(f"{condition} as {text}: {failed or 'NO OBLIGATION FAILS'}", flush=True)
            good = good and bool(failed)
    return good


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("--timeout", type=float, default=30.0, help="seconds for each obligation")
    options = parser.parse_args()
    path = pathlib.Path(__file__).with_name("address_formulas.inc")
    return 0 if (self_test if options.self_test else prove_all)(path, options.timeout) else 1


FUNCTIONS["Not"] = z3.Not
if __name__ == "__main__":
    sys.exit(main())
