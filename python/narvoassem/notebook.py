# SPDX-License-Identifier: MIT
"""What notebooks show: pictures, and results as HTML. Neither needs anything but NumPy."""

from __future__ import annotations

import html
import struct
import zlib
from typing import TYPE_CHECKING, Any, Iterable, List, Optional, Sequence

import numpy

from ._narvoassem import Explanation, LearnResult, PitchResult, Result
from .errors import ArgumentError, ImageError, Problem

if TYPE_CHECKING:
    from .lot_result import LotChart, LotPlace, LotResult

__all__ = ["Picture", "explanation_html", "learn_html", "lot_html", "pitch_html", "result_html", "show"]

_ROWS = 20  # of a table; the rest is counted
_BRIGHT, _DARK = "#d9822b", "#0f8a9d"
_ALARM = "#c9302c"
_COLUMNS = ("number", "bright", "center_x", "center_y", "left", "top", "right", "bottom", "area", "max_difference")


class Picture:
    """An image that a notebook shows: grey of shape (rows, columns) or colour of shape (rows, columns, 3), uint8."""

    def __init__(self, pixels: numpy.ndarray, largest: int = 1200) -> None:
        """A side of more than largest pixels is reduced by a whole factor; each pixel is then a mean."""
        if not isinstance(pixels, numpy.ndarray) or pixels.dtype != numpy.uint8 or pixels.size == 0:
            raise _refused_pixels(pixels)
        if pixels.ndim != 2 and (pixels.ndim != 3 or pixels.shape[2] != 3):
            raise _refused_pixels(pixels)
        if isinstance(largest, bool) or not isinstance(largest, int) or not 16 <= largest <= 16384:
            raise ArgumentError([Problem("largest", repr(largest), "whole number, 16 to 16384 pixels")])
        #: As they are shown.
        self.pixels = _reduced(pixels, -(-max(pixels.shape[:2]) // largest))

    def _repr_png_(self) -> bytes:
        rows, columns = self.pixels.shape[:2]
        # Each row begins with its filter, 0: none.
        lines = numpy.zeros((rows, 1 + self.pixels[0].size), numpy.uint8)
        lines[:, 1:] = self.pixels.reshape(rows, -1)
        header = struct.pack(">IIBBBBB", columns, rows, 8, 0 if self.pixels.ndim == 2 else 2, 0, 0, 0)
        chunks = ((b"IHDR", header), (b"IDAT", zlib.compress(lines.tobytes(), 6)), (b"IEND", b""))
        return b"\x89PNG\r\n\x1a\n" + b"".join(
            struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
            for name, data in chunks
        )

    def __repr__(self) -> str:
        return f"<narvoassem.Picture: {self.pixels.shape[1]} by {self.pixels.shape[0]} pixels>"


def show(image: numpy.ndarray, result: Optional[Result] = None, *, largest: int = 1200) -> Picture:
    """The image as a notebook shows it, with every defect of a result framed and numbered.

    A side of more than largest pixels is reduced. Raises ImageError if the image is none, or not the inspected one.
    """
    return Picture(image if result is None else result.overlay(image), largest)


def result_html(result: Result) -> str:
    """A sentence, a map of the defects and a table of the largest."""
    blobs = result.blobs
    rows, columns = result.shape
    text = f"{len(blobs)} {'defect' if len(blobs) == 1 else 'defects'}, {columns} by {rows} pixels"
    parts = [_sentence(f"{result.name}: {text}" if result.name else text)]
    parts += [_sentence(f"Incomplete: {warning}") for warning in result.warnings]
    if len(blobs):
        parts.append(_map(blobs, rows, columns))
        order = numpy.argsort(-blobs["area"], kind="stable")[:_ROWS]
        parts.append(_table(_COLUMNS, ([blobs[index][name] for name in _COLUMNS] for index in order)))
    if len(blobs) > _ROWS:
        parts.append(_sentence(f"The {_ROWS} largest of {len(blobs)}."))
    return "".join(parts)


def pitch_html(pitch: PitchResult) -> str:
    """A table of both axes, and their curves of cost."""
    names = ("axis", "pitch", "periods", "confidence", "cost of displacements")
    axes = (("x", pitch.x), ("y", pitch.y))
    rows = ([name, axis.pitch, axis.periods, round(axis.confidence, 3)] if axis.found else [name, "none"] for name, axis in axes)
    return _table(names, rows, [_curve(axis.cost) for _, axis in axes])


def learn_html(learnt: LearnResult) -> str:
    """The reasons for the recipe, and the warnings."""
    items = "".join(f"<li>{html.escape(reason)}</li>" for reason in learnt.reasons)
    return f"<ul>{items}</ul>" + "".join(_sentence(f"Warning: {warning}") for warning in learnt.warnings)


def lot_html(found: LotResult) -> str:
    """A sentence, a table of what chance does not explain, and the charts with their alarms."""
    runs = ", ".join(found.runs)
    counts = f"{len(found.images)} images, {found.defects} defects"
    parts = [_sentence(f"{runs}: {counts}" if runs else counts)]
    places = found.places
    if places:
        names = ("kind", "region", "where", "images", "cells", "expected", "probability", "first_image", "last_image")
        parts.append(_table(names, (_place_cells(place) for place in places[:_ROWS])))
    else:
        parts.append(_sentence(f"Nothing that chance does not explain at a risk of {found.risk:g}."))
    total = sum(test.found for test in found.tests.values())
    if total > min(len(places), _ROWS):
        parts.append(_sentence(f"The first {min(len(places), _ROWS)} of {total}."))
    charts = list(found.charts.values())
    if charts:
        names = ("chart", "unit", "center", "alarms", "changes_at", "points")
        rows = ([chart.name, chart.unit, f"{chart.center:.3g}", len(chart.alarms), _change(chart)] for chart in charts)
        parts.append(_table(names, rows, [_control_chart(chart) for chart in charts]))
    return "".join(parts)


def explanation_html(explanation: Explanation) -> str:
    """The sentences that say why, then every step."""
    items = "".join(f"<li>{html.escape(reason)}</li>" for reason in explanation.why)
    steps = html.escape(str(explanation))
    return f"<ul>{items}</ul><details><summary>every step</summary><pre>{steps}</pre></details>"


def _refused_pixels(pixels: Any) -> ImageError:
    value = f"{pixels.dtype} of shape {pixels.shape}" if isinstance(pixels, numpy.ndarray) else type(pixels).__name__
    return ImageError([Problem("image", value, "uint8 array of shape (rows, columns) or (rows, columns, 3), not empty")])


def _reduced(pixels: numpy.ndarray, factor: int) -> numpy.ndarray:
    if factor <= 1:
        return numpy.ascontiguousarray(pixels)
    down, across = (min(factor, side) for side in pixels.shape[:2])
    rows, columns = pixels.shape[0] // down, pixels.shape[1] // across
    blocks = pixels[: rows * down, : columns * across].reshape(rows, down, columns, across, -1)
    means = blocks.mean(axis=(1, 3), dtype=numpy.float32)
    return numpy.rint(means).astype(numpy.uint8).reshape(rows, columns, *pixels.shape[2:])


def _sentence(text: str) -> str:
    return f"<p>{html.escape(text)}</p>"


def _cell(value: Any) -> str:
    return html.escape(str(value.item() if isinstance(value, numpy.generic) else value))


def _table(names: Sequence[str], rows: Iterable[Sequence[Any]], last: Sequence[str] = ()) -> str:
    """A table; last holds a cell of HTML for the end of each row."""
    head = "".join(f"<th>{html.escape(name.replace('_', ' '))}</th>" for name in names)
    body: List[str] = []
    for index, row in enumerate(rows):
        cells = [f"<td>{_cell(value)}</td>" for value in row]
        if last:
            cells += ["<td></td>"] * (len(names) - 1 - len(cells)) + [f"<td>{last[index]}</td>"]
        body.append(f"<tr>{''.join(cells)}</tr>")
    return f"<table><thead><tr>{head}</tr></thead><tbody>{''.join(body)}</tbody></table>"


def _map(blobs: numpy.ndarray, rows: int, columns: int) -> str:
    """Where defects lie: the largest 1000 as boxes in the image's outline, bright ones orange, dark ones cyan."""
    scale = min(480 / columns, 320 / rows)
    width, height = columns * scale, rows * scale
    boxes = []
    for blob in blobs[numpy.argsort(-blobs["area"], kind="stable")[:1000]]:
        left, top = blob["left"] * scale, blob["top"] * scale
        across, down = (blob["right"] - blob["left"]) * scale, (blob["bottom"] - blob["top"]) * scale
        # Small ones are drawn three pixels wide, about their middle.
        left, across = (left, across) if across >= 3 else (left + across / 2 - 1.5, 3)
        top, down = (top, down) if down >= 3 else (top + down / 2 - 1.5, 3)
        colour = _BRIGHT if blob["bright"] else _DARK
        boxes.append(
            f'<rect x="{left:.1f}" y="{top:.1f}" width="{across:.1f}" height="{down:.1f}" fill="{colour}">'
            f"<title>{blob['number']}: {blob['area']} pixels</title></rect>"
        )
    return (
        f'<svg width="{width:.0f}" height="{height:.0f}" viewBox="0 0 {width:.1f} {height:.1f}" role="img">'
        f'<rect width="100%" height="100%" fill="none" stroke="#888"/>{"".join(boxes)}</svg>'
    )


def _curve(cost: numpy.ndarray, width: int = 240, height: int = 48) -> str:
    """A cost curve, 0 at the bottom."""
    if len(cost) < 2:
        return ""
    taken = cost[:: max(len(cost) // width, 1)]
    top = max(float(taken.max()), 1e-6)
    points = " ".join(
        f"{index * width / (len(taken) - 1):.1f},{height - 1 - float(value) / top * (height - 2):.1f}"
        for index, value in enumerate(taken)
    )
    return (
        f'<svg width="{width}" height="{height}" role="img"><polyline points="{points}" fill="none" '
        f'stroke="{_DARK}"/></svg>'
    )


def _span(begin: int, end: int) -> str:
    return f"{begin} to {end - 1}" if end - begin > 1 else str(begin)


def _place_cells(place: LotPlace) -> List[Any]:
    box = place.box
    across, down = f"x {_span(box.left, box.right)}", f"y {_span(box.top, box.bottom)}"
    where = {"column": across, "row": down}.get(place.kind, f"{across}, {down}")
    cells = place.cells if place.kind == "cell" else ""
    figures = [f"{place.expected:.3g}", f"{place.probability:.3g}"]
    return [place.kind, place.region, where, place.images, cells, *figures, place.first_image, place.last_image]


def _change(chart: LotChart) -> str:
    change = chart.change
    return f"{change.image}: {change.before:.3g} to {change.after:.3g}" if change and change.beyond_chance else ""


def _control_chart(chart: LotChart, width: int = 480, height: int = 64) -> str:
    """Points in standard deviations between the limits of three, the first 200 alarms as dots."""
    scores = numpy.clip(chart.scores, -5.0, 5.0)
    if len(scores) < 2:
        return ""

    def across(point: float) -> float:
        return 3.0 + point * (width - 6) / (len(scores) - 1)

    def down(score: float) -> float:
        return height / 2 - score * (height / 2 - 4) / 5.0

    # Of many points, the least and the largest of each few, so that none that stands out is left out.
    step = -(-len(scores) // (width // 2))
    drawn = []
    for begin in range(0, len(scores), step):
        part = scores[begin : begin + step]
        drawn += sorted({begin + int(part.argmin()), begin + int(part.argmax())})
    points = " ".join(f"{across(point):.1f},{down(scores[point]):.1f}" for point in drawn)
    lines = "".join(
        f'<path d="M0 {down(level):.1f}H{width}" stroke="#888" fill="none"{dashes}/>'
        for level, dashes in ((0, ""), (3, ' stroke-dasharray="4 3"'), (-3, ' stroke-dasharray="4 3"'))
    )
    dots = "".join(
        f'<circle cx="{across(alarm.point):.1f}" cy="{down(scores[alarm.point]):.1f}" r="3" fill="{_ALARM}">'
        f"<title>{html.escape(alarm.image)}: {html.escape(alarm.text)}</title></circle>"
        for alarm in chart.alarms[:200]
    )
    return (
        f'<svg width="{width}" height="{height}" role="img">{lines}'
        f'<polyline points="{points}" fill="none" stroke="{_DARK}"/>{dots}</svg>'
    )
