# SPDX-License-Identifier: MIT
"""Images without end, as a line camera sends them: rows go in, and blobs come out as they become final."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, List, NamedTuple, Tuple

import numpy as np

from ._narvoassem import RowFeed, blob_dtype

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["StreamCounts", "StripStream"]

_ROWS = ("top", "bottom", "center_y", "peak_y")
#: A row of StripStream's arrays: that of Result.blobs with rows of 64 bits.
_STREAM_DTYPE = np.dtype(
    [(name, np.dtype(np.int64) if name in _ROWS else blob_dtype.fields[name][0]) for name in blob_dtype.names or ()]
)


class StreamCounts(NamedTuple):
    """What a stream has done so far, and where its blobs may differ from those of one inspection."""

    #: Rows that came.
    rows: int
    #: Rows whose part in the result is final.
    final_rows: int
    #: Blobs that were reported.
    blobs: int
    #: Blobs taller than largest_blob, or near a part that was reported already.
    cut_blobs: int
    #: Times that more pairs waited than max_open_pairs.
    crowded: int
    #: Windows with more pairs than the engine takes.
    overflows: int
    #: Chains of answers longer than the rows that are kept before a window.
    open_chains: int
    #: Windows for whose search memory was missing.
    memory_short: int
    #: Whether none of the last five has been counted.
    exact: bool


class StripStream:
    """Inspects rows without end by a recipe of one region over the whole width.

    However the rows are cut into pieces, the blobs are those that inspect() finds in the whole image, but for their
    order and numbers and for what counts and warnings say. The arrays that push() and finish() return have the columns
    of Result.blobs; top, bottom, center_y and peak_y are counted from the first row of the stream, in 64 bits.

    window_rows (0 chooses, at most 10000) are inspected in one call: less shortens the delay. largest_blob (1 to
    1000000) is the rows that a blob may have, taller ones are cut. max_open_pairs (1 to 10000000) pairs may wait for
    their blobs. With camera_rows the rows are the camera's, and the recipe's section image is applied to them: flat and
    dark fields of one row, levels, weights. Any threads may push, one after the other; blobs are returned to the call that made them final.

    Raises RecipeError for what a stream cannot do, settings out of range and a width outside 1 to 32000.
    """

    def __init__(
        self,
        recipe: Any,
        width: int,
        *,
        window_rows: int = 0,
        largest_blob: int = 1024,
        max_open_pairs: int = 100000,
        camera_rows: bool = False,
    ) -> None:
        settings = {
            "window_rows": window_rows,
            "largest_blob": largest_blob,
            "max_open_pairs": max_open_pairs,
            "camera_rows": int(bool(camera_rows)),
        }
        self._feed = RowFeed(recipe, width, settings)

    @property
    def width(self) -> int:
        """Pixels of a row."""
        return self._feed.width

    @property
    def delay_rows(self) -> int:
        """Rows between a row's arrival and the report of a blob that begins there, at most."""
        return self._feed.delay_rows

    @property
    def counts(self) -> StreamCounts:
        """What it has done so far."""
        return StreamCounts(*self._feed.counts())

    @property
    def warnings(self) -> List[str]:
        """What speaks against exactness, in words."""
        return self._feed.warnings()

    def push(self, rows: "NDArray[np.uint8]") -> "NDArray[np.void]":
        """Takes the next rows, an image of the stream's width, and returns the blobs that are final by them.

        Raises ImageError for rows that are none, of another width, or behind finish(); then none was taken.
        """
        return _along_the_stream(self._feed.push(rows))

    def finish(self) -> "NDArray[np.void]":
        """The last row has come: returns the blobs that are left. Further calls return none.

        Raises ArgumentError where fewer rows came than the recipe can inspect; then more may be pushed.
        """
        return _along_the_stream(self._feed.finish())

    def __repr__(self) -> str:
        counts = self.counts
        return f"<narvoassem.StripStream: {self.width} pixels wide, {counts.rows} rows, {counts.blobs} blobs>"


def _along_the_stream(found: "Tuple[NDArray[np.int64], NDArray[np.void]]") -> "NDArray[np.void]":
    first_rows, blobs = found
    placed = blobs.astype(_STREAM_DTYPE)
    for name in _ROWS:
        placed[name] += first_rows
    return placed
