# SPDX-License-Identifier: MIT
"""Results in a database, as narvo inspect --store writes them: a file of SQLite or a PostgreSQL server."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, List, NamedTuple, Optional, Union

from ._narvoassem import blob_dtype, stored_images, stored_runs
from .errors import ArgumentError, Problem
from .image_task import Outcome

if TYPE_CHECKING:
    import pandas

__all__ = ["StoredRun", "read_store", "store_runs"]

_Place = Union[str, bytes, "os.PathLike[str]"]


class StoredRun(NamedTuple):
    """One run of a store."""

    #: Its name: that of narvo inspect --run, or machine and result file.
    key: str
    #: The store's own number.
    number: int
    #: Name of the recipe's file, as it was given.
    recipe: str
    #: Digest of the recipe, by which the store keeps its text.
    recipe_digest: str
    #: What wrote it.
    program: str
    #: When it began, nanoseconds since 1970.
    started: int
    #: Images in it.
    images: int
    #: Of these, with problems.
    refused: int
    #: In all images.
    blobs: int


def store_runs(place: _Place) -> List[StoredRun]:
    """The runs of a store, in the order in which they began. Raises FileError."""
    return [StoredRun(*run) for run in stored_runs(place)]


def read_store(place: _Place, run: Optional[str] = None) -> "pandas.DataFrame":
    """The results of one run as one table, in the order of its images.

    place is a file of SQLite or "postgresql://USER@HOST/DATABASE"; run is the run's key, None the latest one. The table
    is that of narvoassem.batch.inspect_files: a row for each defect, one for each region without, one for each image
    that was refused. Raises FileError, or ArgumentError for a run that is not there.
    """
    runs = store_runs(place)
    chosen = runs[-1:] if run is None else [one for one in runs if one.key == run]
    if not chosen:
        keys = ", ".join(one.key for one in runs) or "none, the store is empty"
        raise ArgumentError([Problem("run", str(run), f"one of the store's runs: {keys}")])
    from .result_table import make_table  # pandas; problems are reported before, and faster

    images = stored_images(place, chosen[0].number)
    return make_table([(image, [Outcome(*region) for region in regions]) for image, regions in images], blob_dtype)
