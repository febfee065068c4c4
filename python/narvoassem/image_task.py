# SPDX-License-Identifier: MIT
"""One image file of a batch: what is done for it, on whatever machine, and what comes back."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, List, NamedTuple, Optional, Sequence

from ._narvoassem import Recipe, inspect, read_image
from .errors import NarvoError

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["Outcome", "failed", "inspect_file"]


class Outcome(NamedTuple):
    """What became of one region of one image file, or of an image that could not be read."""

    #: The recipe's name; empty where it has none, and for an image that could not be read.
    region: str
    #: What is wrong, or what the inspection warned of, in words; empty: nothing.
    problems: str
    #: The engine's code; None where nothing was inspected.
    code: Optional[int]
    #: The blobs as in Result.blobs; None where nothing was inspected.
    blobs: "Optional[NDArray[Any]]"

    @property
    def word(self) -> str:
        """What the table calls it: defects, clean or failed."""
        if self.blobs is None:
            return "failed"
        return "defects" if len(self.blobs) else "clean"


def failed(problems: str, region: str = "") -> Outcome:
    """The outcome of what was not inspected."""
    return Outcome(region, problems, None, None)


def _told(error: NarvoError) -> str:
    return "; ".join(str(problem) for problem in error.problems)


def inspect_file(path: str, recipes: Sequence[Recipe], max_pixels: Optional[int] = None) -> List[Outcome]:
    """Reads an image file and inspects its regions. What is wrong with it is its outcome, not an exception."""
    try:
        image = read_image(path, image=recipes[0] if recipes else None, max_pixels=max_pixels)
    except NarvoError as error:
        return [failed(_told(error))]
    except MemoryError:
        return [failed(f"image {path}: not enough memory")]
    outcomes = []
    for recipe in recipes:
        try:
            result = inspect(image, recipe)
            outcomes.append(Outcome(result.name, "; ".join(result.warnings), result.code, result.blobs))
        except NarvoError as error:
            outcomes.append(failed(_told(error), recipe["name"]))
        except MemoryError:
            outcomes.append(failed("not enough memory", recipe["name"]))
    return outcomes
