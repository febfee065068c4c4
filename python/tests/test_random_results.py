# SPDX-License-Identifier: MIT
"""Properties of results: they come back from dict, text, table, pickle and database as they were."""

import csv
import io
import json
import os
import pathlib
import pickle
import subprocess

import numpy
import pandas
import pytest
from hypothesis import given
from hypothesis import strategies as st

import narvoassem
from narvoassem.batch import inspect_files
from narvoassem.image_task import Outcome, failed
from narvoassem.result_table import make_table, table_text
from strategies import assert_told, base_document, documents, examples, images, panels, recipe_of

NARVO = pathlib.Path(os.environ["NARVO_BUILD_DIR"]) / "tools" / "narvo"


def inspected(document, image):
    """Result and recipe, or nothing where the two do not go together."""
    try:
        recipe = recipe_of(document)
        return narvoassem.inspect(image, recipe), recipe
    except narvoassem.RecipeError as error:
        assert_told(error)
        return None, None
    except narvoassem.ImageError as error:
        assert_told(error)
        return None, None


def plain(value):
    return value.item() if isinstance(value, numpy.generic) else value


@given(document=documents(), image=images, bands=st.lists(st.tuples(*[st.integers(-200, 400)] * 4), max_size=2))
@examples(40)
def test_a_result_comes_back_from_dict_text_and_pickle(document, image, bands):
    result, recipe = inspected(document, image)
    if result is None:
        return
    as_dict = result.to_dict()
    assert json.loads(json.dumps(as_dict, allow_nan=False)) == as_dict
    assert len(as_dict["blobs"]) == len(result.blobs) == len(list(csv.DictReader(io.StringIO(result.to_csv()))))
    for row, blob in zip(csv.DictReader(io.StringIO(result.to_csv())), result.blobs):
        for name in ("left", "top", "right", "bottom", "area"):
            assert int(row[name]) == blob[name], name
    other = pickle.loads(pickle.dumps(result))
    assert other.to_dict() == as_dict and other.to_csv() == result.to_csv() and repr(other) == repr(result)
    assert other.blobs.tobytes() == result.blobs.tobytes() and other.pairs.tobytes() == result.pairs.tobytes()
    assert (other.code, other.shape, other.region) == (result.code, image.shape, result.region)
    picture = result.overlay(image, bands)
    assert picture.shape == image.shape + (3,) and numpy.array_equal(other.overlay(image, bands), picture)
    assert len(result._repr_html_()) > 0


RESULT = narvoassem.inspect(
    numpy.kron(numpy.random.default_rng(1).integers(0, 2, (40, 50)), numpy.full((3, 3), 90)).astype(numpy.uint8),
    base_document("zone"),
)
STATE = RESULT.__reduce__()[1][0]
_PARTS = st.one_of(
    st.none(),
    st.integers(),
    st.integers(-3, 200),
    st.floats(),
    st.text(max_size=4),
    st.binary(max_size=300),
    st.lists(st.integers(-5, 500), max_size=4),
    st.just([numpy.zeros((3, 2), numpy.int32)]),
    st.sampled_from([part[:-1] for part in STATE if isinstance(part, bytes) and part] + [True, False]),
    st.builds(lambda low, high: narvoassem.Rect(low, low, high, high), st.integers(-(2**40), 99), st.integers(0, 2**40)),
)


@given(data=st.data(), changes=st.integers(1, 4))
@examples(100)
def test_a_damaged_pickle_gives_a_result_or_an_exception(data, changes):
    state = list(STATE)
    for _ in range(changes):
        state[data.draw(st.integers(0, len(state) - 1))] = data.draw(_PARTS)
    try:
        result = narvoassem.Result._from_state(tuple(state))
    except (ValueError, TypeError, RuntimeError, MemoryError, OverflowError) as error:
        assert type(error).__name__
        return
    assert repr(result) and isinstance(result.to_dict(), dict) and isinstance(result.to_csv(), str)
    assert len(result.blobs) >= 0 and len(result.pairs) >= 0


#: Names of images and regions, as file systems and recipes allow them, formulas of spreadsheets among them.
_NAMES = st.text(
    st.characters(blacklist_categories=("Cs",), blacklist_characters="\x00/"), min_size=1, max_size=12
) | st.sampled_from(["=1+1", "@a", "'b", "-3", "a,b", 'a"b', "a\nb", "NA", "", " ", "nan", "1e5", "\ta"])


@st.composite
def outcomes(draw):
    """Outcomes of one image: failed ones, clean ones, and blobs of RESULT in any number."""
    listed = []
    for _ in range(draw(st.integers(1, 3))):
        count = draw(st.none() | st.integers(0, len(RESULT.blobs)))
        region = draw(_NAMES)
        if count is None:
            listed.append(failed(draw(st.text(st.characters(blacklist_categories=("Cs",)), max_size=9)), region))
        else:
            listed.append(Outcome(region, draw(st.sampled_from(["", "full"])), draw(st.integers(0, 31)), RESULT.blobs[:count]))
    return listed


@given(lot=st.lists(st.tuples(_NAMES, outcomes()), min_size=1, max_size=4))
@examples(60)
def test_a_table_holds_every_outcome_and_comes_back_from_its_files(lot):
    table = make_table(lot, narvoassem._narvoassem.blob_dtype)
    rows = iter(table.to_dict("records"))
    for image, listed in lot:
        for outcome in listed:
            blobs = [] if outcome.blobs is None else list(outcome.blobs)
            for blob in blobs or [None]:
                row = next(rows)
                assert (row["image"], row["region"], row["problems"]) == (image, outcome.region, outcome.problems)
                assert row["outcome"] == outcome.word
                for name in RESULT.blobs.dtype.names:
                    if blob is None:
                        assert row[name] is pandas.NA
                    else:
                        held = blob[name].decode() if isinstance(blob[name], bytes) else blob[name]
                        assert row[name] == held, name
    assert next(rows, None) is None

    columns = list(table.columns)
    read = json.loads(table_text(table, "a.json"))
    for told, row in zip(read, table.to_dict("records")):
        assert list(told) == columns
        for name in columns:
            if row[name] is pandas.NA:
                assert told[name] is None
            elif isinstance(row[name], float):
                assert told[name] == pytest.approx(row[name], rel=1e-14, abs=1e-14)
            else:
                assert told[name] == plain(row[name]), name
    assert len(read) == len(table)
    text = list(csv.reader(io.StringIO(table_text(table, "a.csv"), newline="")))
    assert text[0] == columns and len(text) == 1 + len(table)
    for cells, row in zip(text[1:], table.to_dict("records")):
        for name, cell in zip(columns, cells):
            if name in ("image", "region", "problems"):
                # A cell that a spreadsheet would take for a formula begins with a quote mark.
                assert not cell.startswith(tuple("=+-@\t\r\n"))
                assert (cell[1:] if cell.startswith("'") else cell) == row[name]
            elif row[name] is pandas.NA:
                assert cell == ""
            elif isinstance(row[name], float):
                assert float(cell) == row[name]
            else:
                assert cell == str(plain(row[name])), name


@given(lot=st.lists(panels(), min_size=2, max_size=3), noise=st.booleans())
@examples(3)
def test_a_store_gives_the_table_of_the_images(tmp_path_factory, lot, noise):
    folder = tmp_path_factory.mktemp("store")
    document = base_document("zone", lot[0][1], lot[0][2])
    recipe_of(document).save(folder / "r.json")
    files = []
    for index, (image, _, _) in enumerate(lot):
        files.append(str(folder / f"{index}.png"))
        if noise:
            image = numpy.random.default_rng(index).integers(0, 256, image.shape).astype(numpy.uint8)
        narvoassem.write_image(files[-1], image)
    run = subprocess.run(
        [NARVO, "inspect", *files, "-r", "r.json", "--store", "s.sqlite", "--run", "lot", "-o", "lot"],
        cwd=folder, capture_output=True, text=True,
    )
    assert (folder / "s.sqlite").exists(), run.stderr
    pandas.testing.assert_frame_equal(narvoassem.read_store(folder / "s.sqlite", "lot"), inspect_files(files, folder / "r.json"))
