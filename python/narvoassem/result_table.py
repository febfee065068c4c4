# SPDX-License-Identifier: MIT
"""The one table of a batch, made from the outcomes of its images, and its files."""

from __future__ import annotations

import os
import re
from typing import Sequence, Tuple

import numpy
import pandas

from .image_task import Outcome

__all__ = ["make_table", "table_text"]

# Columns that hold nothing in rows without a defect keep their type all the same.
_NULLABLE = {"b": "boolean", "i": "Int32", "f": "Float64", "S": "string"}


# A cell that begins with one of these is a formula to spreadsheets, or begins like a guarded one.
_FORMULA = tuple("=+-@'\t\r\n")


# A quoted cell, or the end of a line.
_QUOTED_OR_END = re.compile('"(?:[^"]|"")*"|\r\n')


def _guarded(text: str) -> str:
    return "'" + text if text.startswith(_FORMULA) else text


def make_table(outcomes_of: Sequence[Tuple[str, Sequence[Outcome]]], blob_type: numpy.dtype) -> pandas.DataFrame:
    """One row for each defect, in the order of images and regions; a region without defects has a row of its own.

    Columns: image (as it was given), region (the recipe's name), outcome (defects, clean or failed), problems (what
    kept an image from being inspected, or a warning), code (the engine's), and the fields of Result.blobs. blob_type is
    the type of those.
    """
    images = [image for image, outcomes in outcomes_of for _ in outcomes]
    outcomes = [outcome for _, outcomes in outcomes_of for outcome in outcomes]
    rows = [1 if outcome.blobs is None else max(1, len(outcome.blobs)) for outcome in outcomes]

    def spread(values: list) -> list:
        return [value for value, count in zip(values, rows) for _ in range(count)]

    table = pandas.DataFrame(
        {
            "image": pandas.Series(spread(images), dtype=object),
            "region": pandas.Series(spread([outcome.region for outcome in outcomes]), dtype=object),
            "outcome": pandas.Series(spread([outcome.word for outcome in outcomes]), dtype=object),
            "problems": pandas.Series(spread([outcome.problems for outcome in outcomes]), dtype=object),
            "code": pandas.array(spread([outcome.code for outcome in outcomes]), dtype="Int32"),
        }
    )
    filled = numpy.array(spread([outcome.blobs is not None and len(outcome.blobs) > 0 for outcome in outcomes]), bool)
    blobs = numpy.zeros(len(filled), blob_type)
    found = [outcome.blobs for outcome in outcomes if outcome.blobs is not None and len(outcome.blobs)]
    if found:
        blobs[filled] = numpy.concatenate(found)
    for name in blob_type.names or ():
        kind = blob_type[name].kind
        values = blobs[name].astype(str).astype(object) if kind == "S" else blobs[name]
        column = pandas.array(values, dtype=_NULLABLE[kind])
        column[~filled] = pandas.NA
        table[name] = column
    return table


def table_text(table: pandas.DataFrame, path: str) -> str:
    """The table as the text of a file, in the form that its name's ending says: .csv or .json."""
    if os.path.splitext(path)[1].lower() == ".json":
        return table.to_json(orient="records", indent=1, double_precision=15) + "\n"
    cells = table.assign(**{name: table[name].map(_guarded) for name in ("image", "region", "problems")})
    # The writer quotes a carriage return inside a cell only where lines end in one.
    text = cells.to_csv(index=False, lineterminator="\r\n")
    return _QUOTED_OR_END.sub(lambda found: "\n" if found[0] == "\r\n" else found[0], text)
