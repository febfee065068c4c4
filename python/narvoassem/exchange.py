# SPDX-License-Identifier: MIT
"""Defects in the files of other programs: KLARF, COCO, Pascal VOC, YOLO and a table, as narvo export writes them."""

from __future__ import annotations

import os
from dataclasses import dataclass, field
from datetime import datetime
from typing import Any, Iterable, List, NamedTuple, Optional, Tuple, Union

from ._narvoassem import Result, defects_of_file, klarf_of_file, listed_defects, write_defects
from .errors import ArgumentError, Problem
from .regions import Rect

__all__ = ["DefectList", "KlarfFile", "ListedDefect", "list_defects", "read_defects", "read_klarf", "save_defects"]

_Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class ListedDefect(NamedTuple):
    """A defect as files of other programs know it."""

    #: Pixels of the image.
    box: Rect
    #: Pixels; 0 where a file does not say it.
    area: float = 0.0
    #: "bright" or "dark" of inspections.
    kind: str = ""


@dataclass
class DefectList:
    """One image with its defects."""

    #: Name of its file.
    image: str
    #: Pixels; 0 where it is not known.
    width: int = 0
    #: The same.
    height: int = 0
    #: In the order in which files list them.
    defects: List[ListedDefect] = field(default_factory=list)


@dataclass
class KlarfFile:
    """What a KLARF file holds. Texts that it does not have are empty."""

    #: "klarf-1.2" or "klarf-1.8".
    form: str
    #: Make of the inspection station.
    station: str
    #: Its model.
    model: str
    #: Its number.
    station_id: str
    #: Name of the lot.
    lot: str
    #: Of the product.
    device: str
    #: Of the recipe.
    setup: str
    #: Of the process step.
    step: str
    #: Of the wafer or panel.
    wafer: str
    #: Its slot.
    slot: int
    #: Of the result, YYYY-MM-DD hh:mm:ss.
    time: str
    #: Micrometres, as it was handed over.
    pixel_size: float
    #: A die each, by row and column, named die_COLUMN_ROW.
    images: List[DefectList]


def list_defects(image: _Path, result: Result) -> DefectList:
    """The defects of a result of inspect() as a list; image is the name of the image's file."""
    return _list_of(listed_defects(image, result))


def read_defects(path: _Path, *, pixel_size: float = 1.0) -> List[DefectList]:
    """Read a list for each image of a result file of narvo (.json, .jsonl), or for each die of a KLARF file.

    pixel_size is micrometres, 0.01 to 1000, and counts for KLARF. Raises FileError or ArgumentError.
    """
    return [_list_of(one) for one in defects_of_file(path, pixel_size)]


def read_klarf(path: _Path, *, pixel_size: float = 1.0) -> KlarfFile:
    """Read a KLARF file of version 1.2 or 1.8, written by any station. Raises FileError or ArgumentError."""
    form, head, images = klarf_of_file(path, pixel_size)
    return KlarfFile(form=form, **head, images=[_list_of(one) for one in images])


def save_defects(
    output: _Path,
    images: Union[DefectList, Iterable[DefectList]],
    form: str,
    *,
    pixel_size: float = 1.0,
    lot: str = "lot",
    wafer: str = "1",
    slot: int = 1,
    device: str = "device",
    setup: str = "setup",
    step: str = "step",
    station: str = "narvo",
    model: str = "narvo",
    station_id: str = "1",
    time: Union[None, str, datetime] = None,
) -> List[str]:
    """Write defects for other programs and return the names of the files.

    form is "klarf-1.2", "klarf-1.8", "coco", "voc", "yolo" or "csv"; output is the file to write, of voc and yolo the
    folder, which gets a file for each image. Files that are there are replaced. All else is for KLARF: pixel_size is
    micrometres, 0.01 to 1000; slot is 1 to 1000; time is "YYYY-MM-DD hh:mm:ss" or a datetime, None now; texts have up
    to 255 bytes without quotes. Raises ArgumentError with all that is wrong, or FileError.
    """
    listed = [images] if isinstance(images, DefectList) else list(images)
    for i, one in enumerate(listed):
        if not isinstance(one, DefectList):
            raise ArgumentError([Problem(f"images[{i}]", repr(one)[:60], "a DefectList")])
    if time is None or isinstance(time, datetime):
        time = (time or datetime.now()).strftime("%Y-%m-%d %H:%M:%S")
    head = {
        "station": station,
        "model": model,
        "station_id": station_id,
        "lot": lot,
        "device": device,
        "setup": setup,
        "step": step,
        "wafer": wafer,
        "slot": slot,
        "time": time,
        "pixel_size": pixel_size,
    }
    return write_defects(output, [_tuple_of(one, i) for i, one in enumerate(listed)], form, head)


def _list_of(listed: Tuple[str, int, int, List[Tuple[Rect, float, str]]]) -> DefectList:
    image, width, height, defects = listed
    return DefectList(image, width, height, [ListedDefect(*defect) for defect in defects])


def _tuple_of(listed: DefectList, place: int) -> Tuple[Any, Any, Any, List[Tuple[Any, Any, Any]]]:
    defects: List[Tuple[Any, Any, Any]] = []
    for defect in listed.defects:
        values: Optional[Tuple[Any, ...]] = tuple(defect) if isinstance(defect, (tuple, list)) else None
        if values is None or len(values) != 3:
            name = f"images[{place}].defects[{len(defects)}]"
            raise ArgumentError([Problem(name, repr(defect)[:60], "a ListedDefect, or box, area and kind")])
        defects.append((values[0], values[1], values[2]))
    return (listed.image, listed.width, listed.height, defects)
