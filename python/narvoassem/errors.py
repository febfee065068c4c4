# SPDX-License-Identifier: MIT
"""The exceptions of the package. Each carries every problem that was found, not the first one alone."""

from __future__ import annotations

from typing import Iterable, List, NamedTuple

from ._narvoassem import printable

__all__ = [
    "ArgumentError",
    "FileError",
    "ImageError",
    "ImageWarning",
    "InspectionError",
    "NarvoError",
    "Problem",
    "RecipeError",
]


class Problem(NamedTuple):
    """One thing that is wrong, in words for a person."""

    #: Path of a recipe field ("zones.list[2].gain"), name of an argument, or a file.
    field: str
    #: What was found there.
    value: str
    #: What would have been right.
    allowed: str

    def __str__(self) -> str:
        return printable(f"{self.field}: {self.value}; allowed: {self.allowed}")


class NarvoError(Exception):
    """Base of all exceptions that the package raises on purpose. Its text has one line for each problem."""

    #: Everything that was found wrong.
    problems: List[Problem]

    def __init__(self, problems: Iterable[Problem]) -> None:
        self.problems = [Problem(*problem) for problem in problems]
        super().__init__(self.problems)

    def __str__(self) -> str:
        return "\n".join(str(problem) for problem in self.problems)


class RecipeError(NarvoError, ValueError):
    """A recipe that is not valid, or not for the image that it is used on."""


class ImageError(NarvoError, ValueError):
    """An array that cannot be inspected, or an image file that cannot be read."""


class ArgumentError(NarvoError, ValueError):
    """Another argument out of its range: a lane count, a region, corners of a polygon."""


class FileError(NarvoError, OSError):
    """A file that cannot be written."""


class InspectionError(NarvoError, RuntimeError):
    """A call that the engine refused although recipe and image passed all checks."""


class ImageWarning(UserWarning):
    """What an image lost when it became 8-bit grey. Each kind of loss is told once in a process."""
