# SPDX-License-Identifier: MIT
"""Many images on one machine: an inspector with lanes, and a walk over images that keeps the lanes busy."""

from __future__ import annotations

from collections import deque
from concurrent.futures import Future, ThreadPoolExecutor
from typing import TYPE_CHECKING, Any, Deque, Iterable, Iterator

from ._narvoassem import LanePool, Recipe, Result

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["Inspector"]


class Inspector:
    """Engines for `lanes` inspections at once, each with room for `max_blobs` defects.

    An inspector keeps its working memory from image to image. Any number of threads may call it: who comes when all
    lanes are taken waits for the next free one. No image inherits anything from another, so every lane gives the same
    result. Raises ArgumentError for lanes outside 1 to 256 or max_blobs outside 1 to 1000000.
    """

    def __init__(self, lanes: int = 1, max_blobs: int = 20000) -> None:
        self._pool = LanePool(lanes, max_blobs)

    @property
    def lanes(self) -> int:
        """Inspections at once."""
        return self._pool.lanes

    @property
    def max_blobs(self) -> int:
        """Room for defects of each lane; a recipe that asks for more is refused."""
        return self._pool.max_blobs

    def inspect(self, image: "NDArray[Any]", recipe: Any) -> Result:
        """As the function inspect(), on the next free lane."""
        return self._pool.inspect(image, recipe)

    def inspect_many(self, images: "Iterable[NDArray[Any]]", recipe: Any) -> Iterator[Result]:
        """Inspects images as they come and yields their results in the same order.

        Images are drawn from `images` only as far ahead as there are lanes, so it may well read files. An image that
        cannot be inspected raises its exception in its turn.
        """
        made = Recipe(recipe)
        with ThreadPoolExecutor(self.lanes) as threads:
            running: Deque["Future[Result]"] = deque()
            try:
                for image in images:
                    running.append(threads.submit(self.inspect, image, made))
                    if len(running) > self.lanes:
                        yield running.popleft().result()
                while running:
                    yield running.popleft().result()
            finally:
                for future in running:
                    future.cancel()

    def __repr__(self) -> str:
        return f"<narvoassem.Inspector: {self.lanes} lanes, {self.max_blobs} blobs each>"
