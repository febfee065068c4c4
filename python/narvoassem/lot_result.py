# SPDX-License-Identifier: MIT
"""What many images have in common, each beyond chance at a stated risk: those of a store, or results in memory."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Dict, Iterable, List, Optional, Sequence, Tuple, Union

from ._narvoassem import LotFeed, Result, store_lot
from .errors import ArgumentError, Problem
from .regions import Rect
from .store import StoredRun

if TYPE_CHECKING:
    import numpy as np
    from numpy.typing import NDArray

__all__ = ["LotAlarm", "LotChange", "LotChart", "LotPlace", "LotRegion", "LotResult", "LotTest", "lot", "lot_of"]

_Place = Union[str, bytes, "os.PathLike[str]"]
_Run = Union[str, StoredRun]


@dataclass(frozen=True)
class LotPlace:
    """Something that chance does not explain."""

    #: "place", "column", "row", "area" or "cell": the test that found it.
    kind: str
    #: Name of the region.
    region: str
    #: Of the defects' centres, pixels of the image; of a place in the cell, from the cell's corner.
    box: Rect
    #: That show it.
    images: int
    #: In these images.
    defects: int
    #: Of a place in the cell: how many cells of the pattern show it; otherwise 0.
    cells: int
    #: Images, or cells, that chance explains.
    expected: float
    #: That chance alone shows the like anywhere in the lot.
    probability: float
    #: Name of the image that shows it first.
    first_image: str
    #: And last.
    last_image: str


@dataclass(frozen=True)
class LotTest:
    """What one test found."""

    #: "place", "column", "row", "area" or "cell".
    kind: str
    #: Tried, in all regions.
    windows: int
    #: How many finds there are; places lists at most 1000.
    found: int
    #: The least probable first.
    places: List[LotPlace]
    #: Sentences: what was not tested, and why.
    notes: List[str]


@dataclass(frozen=True)
class LotAlarm:
    """Where a chart leaves what it was."""

    #: Of the chart: the last point that the rule takes together.
    point: int
    #: Name of the point's first image.
    image: str
    #: 1 beyond three standard deviations, 2 two of three beyond two, 3 four of five beyond one, 4 eight in a row.
    rule: int
    #: The side.
    above: bool
    #: The same in words.
    text: str


@dataclass(frozen=True)
class LotChange:
    """Where the level of a chart changes most."""

    #: First point of the later level.
    point: int
    #: Name of the point's first image.
    image: str
    #: Median of the earlier points.
    before: float
    #: Median of the later points.
    after: float
    #: That chance alone shows as large a change in any chart of the lot.
    probability: float
    #: Whether the probability is not above the risk.
    beyond_chance: bool


@dataclass(frozen=True, eq=False)
class LotChart:
    """How a figure of the images goes from each to the next."""

    #: "defects", "pairs", "refused", "light", "noise", "pitch_x", "pitch_y", "size", "contrast" or "grey".
    name: str
    #: Of the points.
    unit: str
    #: More than one where counts are rare.
    images_a_point: int
    #: In the unit.
    center: float
    #: One standard deviation; of counts, at the mean area; 0 where nothing varies.
    deviation: float
    #: Of counts: the standard deviation over that of a Poisson distribution; None of means.
    dispersion: Optional[float]
    #: Of each point, its first image: place in LotResult.images.
    first_images: "NDArray[np.int64]"
    #: What is drawn.
    points: "NDArray[np.float64]"
    #: The same in standard deviations from the centre, by the limits of each point; empty where nothing varies.
    scores: "NDArray[np.float64]"
    #: By their points.
    alarms: List[LotAlarm]
    #: How many of them normal values give.
    alarms_by_chance: float
    #: None where there are too few points.
    change: Optional[LotChange]


@dataclass(frozen=True)
class LotRegion:
    """A region of the recipe, as most images have it."""

    #: The recipe's.
    name: str
    #: Pixels of the image.
    box: Rect
    #: Pixels that are inspected.
    area: float
    #: Why the pattern has no cell here; empty: it has one.
    no_cell: str


@dataclass(frozen=True, eq=False)
class LotResult:
    """What lot() or lot_of() found."""

    #: Place, without its password; empty for results in memory.
    store: str
    #: Keys, in the order of their images.
    runs: List[str]
    #: Name of the recipe's file; empty for results in memory.
    recipe: str
    #: Pixels within which defects are at the same place.
    distance: int
    #: Probability at which a test may report what is chance alone.
    risk: float
    #: Images from the first on that give centre and limits of the charts; None: all.
    baseline: Optional[int]
    #: None where no image was inspected.
    regions: List[LotRegion]
    #: Names in their order.
    images: List[str]
    #: Of these, not inspected.
    refused: int
    #: Of one size with the same regions: those that places are looked for in.
    comparable: int
    #: Of all images.
    defects: int
    #: By their kind: "place", "column", "row", "area", "cell".
    tests: Dict[str, LotTest]
    #: By their name; of what at least two images have.
    charts: Dict[str, LotChart]
    #: For a person, as narvo lot prints it.
    text: str

    @property
    def places(self) -> List[LotPlace]:
        """All places that are listed, test by test."""
        return [place for test in self.tests.values() for place in test.places]

    def to_dict(self) -> Dict[str, Any]:
        """As narvo lot --json writes it, but for the fields' order."""
        return {
            "version": 1,
            "store": self.store,
            "runs": self.runs,
            "recipe": self.recipe,
            "distance": self.distance,
            "risk": self.risk,
            "baseline": self.baseline or 0,
            "images": len(self.images),
            "refused": self.refused,
            "comparable": self.comparable,
            "defects": self.defects,
            "tests": {kind: self._test_dict(test) for kind, test in self.tests.items()},
            "charts": [_chart_dict(chart) for chart in self.charts.values()],
        }

    def _test_dict(self, test: LotTest) -> Dict[str, Any]:
        places = []
        for place in test.places:
            fields = {**vars(place), "box": place.box._asdict()}
            del fields["kind"]
            if len(self.regions) < 2:
                del fields["region"]
            if test.kind != "cell":
                del fields["cells"]
            places.append(fields)
        return {"windows": test.windows, "found": test.found, "notes": test.notes, "places": places}

    def __str__(self) -> str:
        return self.text

    def __repr__(self) -> str:
        found = sum(test.found for test in self.tests.values())
        alarms = sum(len(chart.alarms) for chart in self.charts.values())
        return f"<narvoassem.LotResult: {len(self.images)} images, {found} found, {alarms} alarms>"

    def _repr_html_(self) -> str:
        """As HTML, for notebooks."""
        from .notebook import lot_html

        return lot_html(self)


def lot(
    place: _Place,
    run: Union[None, _Run, Sequence[_Run]] = None,
    *,
    all_runs: bool = False,
    distance: int = 4,
    risk: float = 0.01,
    baseline: Optional[int] = None,
) -> LotResult:
    """Find what the images of a store have in common: places that come back, streaks, changes.

    place is a file of SQLite or "postgresql://USER@HOST/DATABASE"; run is the key of a run, a StoredRun, or several of
    them, None the latest one. all_runs takes every run that the latest run's recipe made. Defects within distance
    pixels, 1 to 64, are at the same place. risk, 1e-9 to 0.1, is the probability at which a test may report what is
    chance alone. baseline images from the first on, 2 or more, give centre and limits of the charts; None: all.

    The same store and arguments give the same result. Raises FileError for what is no store, or ArgumentError.
    """
    chosen = [run] if run is None or isinstance(run, (str, StoredRun)) else list(run)
    keys = [one.key if isinstance(one, StoredRun) else one for one in chosen if one is not None]
    for key in keys:
        if not isinstance(key, str):
            raise ArgumentError([Problem("run", repr(key), "key of a run, a StoredRun, or a list of them")])
    if all_runs and run is not None:
        raise ArgumentError([Problem("all_runs", "given with run", "one of them")])
    if run is not None and not keys:
        raise ArgumentError([Problem("run", "none", "one or more")])
    found = store_lot(place, keys, bool(all_runs), distance, risk, _images_of(baseline))
    return _result_of(found, distance, risk, baseline)


def lot_of(
    recipe: Any,
    results: Iterable[Tuple[_Place, Optional[Result]]],
    *,
    distance: int = 4,
    risk: float = 0.01,
    baseline: Optional[int] = None,
) -> LotResult:
    """Find what images have in common from their results, without a store.

    results gives the name and the result of each image in their order, with None for one that was not inspected; the
    results are those of inspect() by recipe, which has one region, and are not kept. Otherwise as lot(). Raises
    RecipeError or ArgumentError.
    """
    images = _images_of(baseline)
    feed = LotFeed(recipe)
    feed.find(distance, risk, images)  # what is wrong with these is said before anything is inspected
    for name, result in results:
        feed.add(name, result)
    return _result_of(feed.find(distance, risk, images), distance, risk, baseline)


def _images_of(baseline: Optional[int]) -> int:
    if baseline is None:
        return 0
    if baseline == 0:
        raise ArgumentError([Problem("baseline", "0", "2 to 10000000 images, or None: all")])
    return baseline


def _result_of(found: Dict[str, Any], distance: int, risk: float, baseline: Optional[int]) -> LotResult:
    return LotResult(
        **{
            **found,
            "distance": int(distance),
            "risk": float(risk),
            "baseline": None if baseline is None else int(baseline),
            "regions": [LotRegion(**region) for region in found["regions"]],
            "tests": {test["kind"]: _test_of(test) for test in found["tests"]},
            "charts": {chart["name"]: _chart_of(chart) for chart in found["charts"]},
        }
    )


def _test_of(test: Dict[str, Any]) -> LotTest:
    return LotTest(**{**test, "places": [LotPlace(**place) for place in test["places"]]})


def _chart_of(chart: Dict[str, Any]) -> LotChart:
    change = chart["change"]
    return LotChart(
        **{
            **chart,
            "alarms": [LotAlarm(**alarm) for alarm in chart["alarms"]],
            "change": None if change is None else LotChange(**change),
        }
    )


def _chart_dict(chart: LotChart) -> Dict[str, Any]:
    fields: Dict[str, Any] = dict(vars(chart))
    del fields["scores"]
    if chart.dispersion is None:
        del fields["dispersion"]
    fields["first_images"] = chart.first_images.tolist()
    fields["points"] = chart.points.tolist()
    fields["alarms"] = [
        {"point": alarm.point, "image": alarm.image, "rule": alarm.rule, "side": "above" if alarm.above else "below"}
        for alarm in chart.alarms
    ]
    fields["change"] = None if chart.change is None else dict(vars(chart.change))
    return fields
