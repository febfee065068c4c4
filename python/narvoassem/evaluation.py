# SPDX-License-Identifier: MIT
"""How well a recipe, a golden model or a method of your own finds known defects, as narvo evaluate measures it."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Dict, Iterable, List, NamedTuple, Optional, Tuple, Union

from ._narvoassem import EvaluationFeed, Truth, set_of_folder, truth_of_files
from .errors import NarvoError, Problem
from .regions import Rect

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

__all__ = ["EvaluatedImage", "Evaluation", "EvaluationResult", "Figure", "LabelledImage", "read_labelled"]

_Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class Figure(NamedTuple):
    """A figure, and the range in which 95 % of the figures lie that come of drawing as many images anew."""

    #: None where the images cannot tell.
    value: Optional[float]
    #: Of the range.
    low: float
    #: Of the range.
    high: float


class EvaluatedImage(NamedTuple):
    """One image."""

    #: As it was handed over.
    name: str
    #: In truth.
    defective: bool
    #: Highest of its pixels, 1 at the threshold.
    score: float
    #: Whose places are known.
    defects: int
    #: Of these.
    found: int
    #: Blobs that find nothing.
    false_blobs: int
    #: Why it was not inspected; empty: it was.
    problems: List[Problem]


@dataclass(frozen=True, eq=False)
class EvaluationResult:
    """What came of all images, at the thresholds as they are unless it says otherwise."""

    #: Probability that a defective image scores higher than a good one.
    image_auroc: Figure
    #: The same of pixels.
    pixel_auroc: Figure
    #: Area below overlap_curve up to a share of 0.3, over 0.3.
    region_overlap: Figure
    #: Of whole images.
    image_f1: Figure
    #: Share of the defects, or of the defective images.
    found: Figure
    #: False blobs over images.
    false_an_image: Figure
    #: Of any threshold.
    best_image_f1: Optional[float]
    #: Of any threshold.
    best_pixel_f1: Optional[float]
    #: Defects and found ones, by kind.
    kinds: Dict[str, Tuple[int, int]]
    #: Shares of good and of defective images above each threshold, shape (n, 2).
    image_curve: "NDArray[np.float64]"
    #: Share of good pixels, mean share of each defect that is covered, shape (n, 2).
    overlap_curve: "NDArray[np.float64]"
    #: With all thresholds multiplied, from the highest: factor, share of the defects found, false blobs an image.
    factors: List[Tuple[float, Optional[float], float]]
    #: By name.
    images: List[EvaluatedImage]
    #: Images with problems.
    refused: int
    #: For a person, as narvo evaluate prints them.
    text: str

    def __str__(self) -> str:
        return self.text

    def __repr__(self) -> str:
        return f"<narvoassem.EvaluationResult: {len(self.images)} images>"


@dataclass(frozen=True)
class LabelledImage:
    """An image of a folder with what is known of it."""

    #: File name below the folder.
    name: str
    #: The image's file.
    file: str
    #: The good image that it is compared with; empty: none.
    reference: str
    #: File with painted defects; empty: none.
    mask: str
    #: Kind and rectangle of each defect, where there is no mask.
    boxes: List[Tuple[str, Rect]]
    #: It has defects, whose places need not be known.
    defective: bool
    #: Of the defects in the mask.
    kind: str

    def truth(self) -> Truth:
        """Read what is true of it from its files. Raises ImageError."""
        return truth_of_files(self.file, self.mask, self.boxes, self.defective, self.kind)


def read_labelled(folder: _Path) -> List[LabelledImage]:
    """Read the images of a folder in one of the layouts of narvo evaluate, by name. Raises FileError."""
    return [LabelledImage(*image) for image in set_of_folder(folder)[1]]


class Evaluation:
    """Measure one method on images with known defects, one at a time, from any number of threads.

    A blob that touches a defect grown by margin pixels, 0 to 1000, finds it; blobs of fewer than smallest pixels, 1 to
    1000000, do not count. patch is the side of the squares that count as images in the image figures, 16 to 65536
    pixels, None: whole images. lanes, 1 to 256, is how many images are inspected at once. The figures depend neither on
    the order of the images nor on the threads. Raises ArgumentError.
    """

    def __init__(self, *, margin: int = 3, smallest: int = 1, patch: Optional[int] = None, lanes: int = 1) -> None:
        self._feed = EvaluationFeed(margin, smallest, 0 if patch is None else patch, lanes)

    def measure(self, name: _Path, image: "NDArray[np.uint8]", method: Any, truth: Truth) -> None:
        """Inspect an image by method, a recipe or a GoldenModel, at all its thresholds times 8 down to 1/8.

        Raises ImageError, RecipeError or ArgumentError; nothing is added then, and refuse() may say why.
        """
        self._feed.measure(name, image, method, truth)

    def measure_scores(self, name: _Path, scores: "NDArray[np.floating[Any]]", truth: Truth) -> None:
        """Take scores of a method of your own, 0 and more for each pixel, 1 at its threshold. Raises ArgumentError."""
        self._feed.measure_scores(name, scores, truth)

    def refuse(self, name: _Path, why: Union[NarvoError, Iterable[Problem]], truth: Truth) -> None:
        """Add an image that could not be inspected: nothing is found in it. Raises ArgumentError."""
        problems = why.problems if isinstance(why, NarvoError) else list(why)
        self._feed.refuse(name, problems, truth)

    def report(self) -> EvaluationResult:
        """Figures of the images so far; more may follow. Raises ArgumentError without images."""
        found = self._feed.report()
        for name in ("image_auroc", "pixel_auroc", "region_overlap", "image_f1", "found", "false_an_image"):
            found[name] = Figure(*found[name])
        found["images"] = [EvaluatedImage(*image) for image in found["images"]]
        return EvaluationResult(**found)
