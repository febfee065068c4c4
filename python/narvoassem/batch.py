# SPDX-License-Identifier: MIT
"""Many image files, on one machine or on many: from a list of files and a recipe to one table::

    from narvoassem.batch import inspect_files

    table = inspect_files(sorted(glob.glob("lot7/*.png")), "recipe.json", workers=4)
    table = inspect_files(files, recipe, scheduler="tcp://scheduler:8786")

or from the command line::

    python3 -m narvoassem.batch lot7/*.png --recipe recipe.json --workers 4 --output lot7.csv

The table is the same to the byte regardless of where the images were inspected. An image that cannot be inspected is a
row of the table and not the end of the batch. A machine that is lost costs only time: its images are inspected by
others. Work is spread by Dask distributed (https://distributed.dask.org); files are read where they are inspected, so
that all machines must see them under the same names.
"""

from __future__ import annotations

import argparse
import contextlib
import functools
import os
import sys
from collections import Counter
from typing import TYPE_CHECKING, Any, Callable, Iterable, Iterator, List, Optional, Sequence, Tuple

from ._narvoassem import Recipe, blob_dtype, printable
from .errors import ArgumentError, NarvoError, Problem
from .image_task import Outcome, failed, inspect_file

if TYPE_CHECKING:
    import pandas
    from distributed import Client

__all__ = ["distribute", "inspect_files", "main"]

_EXIT_DONE, _EXIT_BAD_INPUT, _EXIT_NOT_WRITTEN, _EXIT_INCOMPLETE = 0, 2, 3, 4

_FORMATS = (".csv", ".json")
_LOST = "lost every worker that began with it"


def distribute(
    client: "Client", task: Callable[[str], List[Outcome]], images: Sequence[str]
) -> Iterator[Tuple[int, List[Outcome]]]:
    """Runs a task for each image on a Dask cluster and yields index and outcomes as they come.

    What a lost worker had begun is started again by another. An image whose workers are lost repeatedly is tried
    once more alone, so that it is not blamed for a neighbour on the same worker, and then fails.
    """
    from distributed import as_completed
    from distributed.scheduler import KilledWorker

    def outcome_of(future: Any, image: str) -> Optional[List[Outcome]]:
        try:
            return future.result()
        except KilledWorker:
            return None

    # Each call of a task is one of its own, independent of earlier runs and of how often a file is named.
    futures = client.map(task, images, pure=False, retries=0)
    index_of = {future.key: index for index, future in enumerate(futures)}
    waiting = as_completed(futures, loop=client.loop)
    del futures
    suspects: List[int] = []
    for future in waiting:
        index = index_of[future.key]
        outcome = outcome_of(future, images[index])
        if outcome is None:
            suspects.append(index)
        else:
            yield index, outcome
    for index in sorted(suspects):
        future = client.submit(task, images[index], pure=False)
        yield index, outcome_of(future, images[index]) or [failed(f"image {images[index]}: {_LOST}")]


@contextlib.contextmanager
def _cluster(scheduler: Optional[str], workers: int) -> "Iterator[Client]":
    import dask
    from distributed import Client, LocalCluster
    from distributed.comm import resolve_address

    if scheduler is not None:
        resolve_address(scheduler)  # a malformed address is refused at once, not after waiting for an answer
        with Client(scheduler, set_as_default=False) as client:
            yield client
        return
    # Processes on this machine, reachable from nowhere else; no limit of memory at which they would be ended. A busy
    # machine is slow to answer; and a process that died is replaced however long that takes: by default the cluster
    # abandons slow ones, and waits for none.
    timeouts = {"distributed.deploy.lost-worker-timeout": "1 day", "distributed.comm.timeouts.connect": "120s"}
    with dask.config.set(timeouts), LocalCluster(
        n_workers=workers,
        threads_per_worker=1,
        processes=True,
        host="127.0.0.1",
        dashboard_address="127.0.0.1:0",
        memory_limit=0,
    ) as cluster, Client(cluster, set_as_default=False) as client:
        yield client


def _check(images: List[str], scheduler: Optional[str], workers: int) -> None:
    found = []
    if scheduler is not None and workers:
        found.append(Problem("workers", str(workers), "left out where a scheduler is given"))
    if not 0 <= workers <= 1024:
        found.append(Problem("workers", str(workers), "0 to 1024; 0 inspects in this process"))
    if not images:
        found.append(Problem("images", "none", "one image file or more"))
    if found:
        raise ArgumentError(found)


def inspect_files(
    images: "Iterable[str | os.PathLike[str]]",
    recipe: Any,
    *,
    workers: int = 0,
    scheduler: Optional[str] = None,
    client: "Optional[Client]" = None,
    on_image: Optional[Callable[[int, List[Outcome]], None]] = None,
    max_pixels: Optional[int] = None,
) -> "pandas.DataFrame":
    """Inspects image files by a recipe and returns one table, in the order of the files.

    workers: that many processes on this machine; 0 inspects in this process, one image after the other.
    scheduler: address of a Dask scheduler whose workers take the work; client: a Dask client to use instead.
    on_image: called with index and outcomes, one for each region, as images happen to be done.
    max_pixels: larger images fail without being decoded; None is read_image's own limit.

    recipe may hold several regions. The table has one row for each defect, and one for each region of an image without:
    columns image, region, outcome (defects, clean or failed), problems, code, and those of Result.blobs. Raises
    RecipeError or ArgumentError.
    """
    paths = [os.fspath(image) for image in images]
    _check(paths, scheduler, workers)
    recipes = Recipe.regions_of(recipe)
    from .result_table import make_table  # pandas; problems are reported before, and faster

    outcomes: List[List[Outcome]] = [[] for _ in paths]

    inspect_one = functools.partial(inspect_file, recipes=recipes, max_pixels=max_pixels)
    with contextlib.ExitStack() as stack:
        if client is None and (scheduler is not None or workers):
            client = stack.enter_context(_cluster(scheduler, workers))
        done = enumerate(map(inspect_one, paths)) if client is None else distribute(client, inspect_one, paths)
        for index, found in done:
            outcomes[index] = found
            if on_image is not None:
                on_image(index, found)
    # An image that nobody answered for is a row all the same.
    answered = [found or [failed(f"image {path}: {_LOST}")] for path, found in zip(paths, outcomes)]
    return make_table(list(zip(paths, answered)), blob_dtype)


def _parse(arguments: Optional[Sequence[str]]) -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="python3 -m narvoassem.batch",
        description="Inspect many image files by one recipe and write one table of all defects.",
        epilog="A file of names, one a line, is given as @FILE. Exit codes: 0 done; 2 bad command line, recipe or "
        "scheduler; 3 table not written; 4 done, but images failed or were not looked at as a whole.",
        fromfile_prefix_chars="@",
    )
    parser.add_argument("images", nargs="+", metavar="IMAGE", help="image file (PNG, TIFF, BMP, PGM, JPEG)")
    parser.add_argument("-r", "--recipe", required=True, metavar="FILE", help="recipe file")
    parser.add_argument("-o", "--output", required=True, metavar="FILE", help="table to write: .csv or .json")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--workers", type=int, default=0, metavar="N", help="processes on this machine (default: none)")
    where.add_argument("--scheduler", metavar="ADDRESS", help="Dask scheduler, e.g. tcp://host:8786")
    parser.add_argument("--max-pixels", type=int, metavar="N", help="pixels that an image may have")
    parser.add_argument("-q", "--quiet", action="store_true", help="print problems only")
    return parser.parse_args(arguments)


def _complain(text: str) -> None:
    print(f"narvoassem.batch: {printable(text)}", file=sys.stderr)


def _run(
    options: argparse.Namespace, on_image: Callable[[int, List[Outcome]], None]
) -> "Optional[pandas.DataFrame]":
    try:
        return inspect_files(
            options.images,
            options.recipe,
            workers=options.workers,
            scheduler=options.scheduler,
            on_image=on_image,
            max_pixels=options.max_pixels,
        )
    except NarvoError as error:
        for problem in error.problems:
            _complain(str(problem))
    except (OSError, ValueError, ImportError) as error:
        _complain(str(error) if options.scheduler is None else f"--scheduler: {options.scheduler}: {error}")
    return None


def main(arguments: Optional[Sequence[str]] = None) -> int:
    """The command line form. Returns the exit code."""
    options = _parse(arguments)
    if os.path.splitext(options.output)[1].lower() not in _FORMATS:
        _complain(f"--output: {options.output}; allowed: a name ending in {' or '.join(_FORMATS)}")
        return _EXIT_BAD_INPUT
    # A table that is there stays until the new one is whole; an unwritable place is reported before the work.
    part = options.output + ".part"
    try:
        stream = open(part, "w", encoding="utf-8", errors="surrogateescape", newline="")
    except OSError as error:
        _complain(f"--output: {error}")
        return _EXIT_NOT_WRITTEN

    counts: Counter = Counter()
    troubled = {}

    def note(index: int, outcomes: List[Outcome]) -> None:
        words = {outcome.word for outcome in outcomes}
        counts["failed" if "failed" in words else "defects" if "defects" in words else "clean"] += 1
        counts["blobs"] += sum(len(outcome.blobs) for outcome in outcomes if outcome.blobs is not None)
        problems = [f"{each.region}: " * bool(each.region) + each.problems for each in outcomes if each.problems]
        if problems:
            troubled[index] = "; ".join(problems)

    table = None
    try:
        with stream:
            table = _run(options, note)
            if table is not None:
                from .result_table import table_text

                stream.write(table_text(table, options.output))
        if table is not None:
            os.replace(part, options.output)
    except OSError as error:
        _complain(f"--output: {error}")
        return _EXIT_NOT_WRITTEN
    finally:
        with contextlib.suppress(FileNotFoundError):
            os.remove(part)
    if table is None:
        return _EXIT_BAD_INPUT

    for index in sorted(troubled):
        _complain(f"{options.images[index]}: {troubled[index]}")
    if not options.quiet:
        words = ", ".join(f"{counts[word]} {word}" for word in ("defects", "clean", "failed"))
        print(f"images: {len(options.images)} ({words}); blobs: {counts['blobs']}")
        print(f"written: {printable(options.output)}")
    return _EXIT_INCOMPLETE if troubled else _EXIT_DONE


if __name__ == "__main__":
    sys.exit(main())
