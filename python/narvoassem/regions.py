# SPDX-License-Identifier: MIT
"""Regions: the rectangle that calls give and take, and a recipe's "region" from corners."""

from __future__ import annotations

from typing import Any, Dict, Iterable, NamedTuple, Optional, Sequence, Tuple

from . import _narvoassem
from .functions import of_package

__all__ = [
    "Rect",
    "bounds_of",
    "cut_trapezia",
    "is_convex",
    "polygon",
    "polygon_mask",
    "rectangle",
    "trapezium",
]


bounds_of = of_package(_narvoassem.bounds_of, __name__)
cut_trapezia = of_package(_narvoassem.cut_trapezia, __name__)
is_convex = of_package(_narvoassem.is_convex, __name__)
polygon_mask = of_package(_narvoassem.polygon_mask, __name__)


class Rect(NamedTuple):
    """A rectangle in pixels; right and bottom are exclusive."""

    left: int
    top: int
    right: int
    bottom: int

    @property
    def width(self) -> int:
        """Columns."""
        return self.right - self.left

    @property
    def height(self) -> int:
        """Rows."""
        return self.bottom - self.top

    @property
    def slices(self) -> Tuple[slice, slice]:
        """The index that cuts the rectangle out of an image: image[rect.slices]."""
        return slice(self.top, self.bottom), slice(self.left, self.right)


def rectangle(left: int, top: int, right: int, bottom: int) -> Dict[str, Any]:
    """A recipe's "region": a rectangle in pixels, right and bottom exclusive."""
    return {"shape": "rectangle", "left": left, "top": top, "right": right, "bottom": bottom}


def _corners(points: Iterable[Sequence[int]]) -> list:
    return [[int(x), int(y)] for x, y in points]


def polygon(points: Iterable[Sequence[int]]) -> Dict[str, Any]:
    """A recipe's "region" for float mode: any polygon, by the even-odd rule. Corners are (x, y) in pixels."""
    return {"shape": "polygon", "points": _corners(points)}


def trapezium(points: Iterable[Sequence[int]], columns: Optional[Tuple[int, int]] = None) -> Dict[str, Any]:
    """A recipe's "region" for float mode: a convex polygon that is cut into trapezia.

    Corners are (x, y) in pixels, ten at most. columns = (first, last) keeps these columns alone.
    """
    region: Dict[str, Any] = {"shape": "trapezium", "points": _corners(points)}
    if columns is not None:
        region["columns"] = [int(columns[0]), int(columns[1])]
    return region
