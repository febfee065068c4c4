# SPDX-License-Identifier: MIT
"""Rows without end: the blobs of a stream are those of the whole image, however it is cut."""

import os
import threading

import numpy as np
import pytest

import narvoassem
from conftest import make_pattern, make_recipe_dict

RECIPE = make_recipe_dict()
WIDTH = 400
PLACE = ["left", "top", "right", "bottom", "center_x", "center_y", "peak_x", "peak_y", "area", "peak", "band", "bright"]


def web(rows, seed=1):
    """The pattern with dirt on it."""
    random = np.random.default_rng(seed)
    squares = [
        (int(random.integers(20, WIDTH - 20)), int(y), int(random.choice([-70, 70]))) for y in range(60, rows - 60, 41)
    ]
    return make_pattern(WIDTH, rows, squares)


def pieces(image, seed):
    random = np.random.default_rng(seed)
    top = 0
    while top < len(image):
        bottom = top + int(random.choice([1, 2, 7, 100, 400]))
        yield image[top:bottom]
        top = bottom


def places(blobs):
    return sorted(tuple(int(blob[name]) for name in PLACE) for blob in blobs)


def run(stream, image, seed):
    found = [stream.push(rows) for rows in pieces(image, seed)]
    found.append(stream.finish())
    return np.concatenate(found)


@pytest.mark.parametrize("seed", range(4))
@pytest.mark.parametrize("direction", ["vertical", "horizontal"])
def test_however_it_is_cut_the_blobs_are_those_of_the_whole_image(direction, seed):
    image = web(1500, seed)
    recipe = {**RECIPE, "direction": direction}
    whole = narvoassem.inspect(image, recipe)
    assert len(whole.blobs) >= 20
    stream = narvoassem.StripStream(recipe, WIDTH, window_rows=[0, 280, 300, 1000][seed])
    found = run(stream, image, seed)
    assert places(found) == places(whole.blobs)
    assert stream.counts.exact and stream.warnings == []
    assert stream.counts.rows == stream.counts.final_rows == len(image)
    assert stream.counts.blobs == len(found)


@pytest.mark.parametrize("bits", [8, 16])
def test_light_is_taken_out_row_by_row(bits):
    fall_off = 1 - 0.4 * np.linspace(-1, 1, WIDTH) ** 2
    kind = np.uint8 if bits == 8 else np.uint16
    camera = (web(900) * fall_off * (0.9 if bits == 8 else 200)).astype(kind)
    flat = np.round(fall_off * (230 if bits == 8 else 51000)).astype(kind)[np.newaxis]
    recipe = narvoassem.Recipe(RECIPE, flat_field=flat)
    converted = narvoassem.convert_image(camera, recipe)
    whole = narvoassem.inspect(converted, recipe)
    assert len(whole.blobs) >= 5
    if bits == 8:
        stream = narvoassem.StripStream(recipe, WIDTH, camera_rows=True)
        assert places(run(stream, camera, 1)) == places(whole.blobs)
        assert stream.warnings == []
    plain = narvoassem.StripStream(recipe, WIDTH)
    found = [plain.push(narvoassem.convert_image(rows, recipe)) for rows in pieces(camera, 1)]
    found.append(plain.finish())
    assert places(np.concatenate(found)) == places(whole.blobs)
    assert len(plain.warnings) == 1 and "camera_rows" in plain.warnings[0]


def test_rows_are_counted_in_64_bits_with_the_columns_of_a_result():
    stream = narvoassem.StripStream(RECIPE, WIDTH)
    found = run(stream, web(600), 0)
    assert found.dtype.names == narvoassem.inspect(web(600), RECIPE).blobs.dtype.names
    for name in ("top", "bottom", "center_y", "peak_y"):
        assert found.dtype[name] == np.int64
    assert found["top"].max() > 120
    assert (found["bottom"] > found["top"]).all()


def test_blobs_come_within_the_stated_delay():
    image = web(6000)
    stream = narvoassem.StripStream(RECIPE, WIDTH, window_rows=300, largest_blob=20)
    for top in range(0, len(image), 10):
        for blob in stream.push(image[top : top + 10]):
            assert top + 10 - blob["top"] <= stream.delay_rows + 10
    assert stream.width == WIDTH
    assert repr(stream).startswith("<narvoassem.StripStream: 400 pixels wide, 6000 rows")


def test_what_a_stream_cannot_do_is_refused_by_field():
    for wrong, field in (
        ({"region": {"left": 0, "top": 0, "right": 100, "bottom": 100}}, "region"),
        ({"auto_direction": True}, "auto_direction"),
        ({"no_such_field": 1}, "no_such_field"),
    ):
        with pytest.raises(narvoassem.RecipeError) as refused:
            narvoassem.StripStream({**RECIPE, **wrong}, WIDTH)
        assert field in {problem.field for problem in refused.value.problems}
    for wrong, allowed in (
        ({"window_rows": -1}, "273 to 10000 rows, or 0"),
        ({"largest_blob": 0, "max_open_pairs": 0}, "1 to 1000000 rows"),
        ({"largest_blob": 2**70}, "1 to 1000000 rows"),
        ({"max_open_pairs": -(10**400)}, "1 to 10000000 pairs"),
    ):
        with pytest.raises(narvoassem.RecipeError) as refused:
            narvoassem.StripStream(RECIPE, WIDTH, **wrong)
        assert [problem.field for problem in refused.value.problems] == list(wrong)
        assert refused.value.problems[0].allowed == allowed
    for width in (0, -1, 32001, 2**70):
        with pytest.raises(narvoassem.RecipeError, match=f"width: {width}; allowed: 1 to 32000 pixels"):
            narvoassem.StripStream(RECIPE, width)
    for wrong in ({"width": "wide"}, {"width": WIDTH, "window_rows": 1.5}):
        with pytest.raises(TypeError):
            narvoassem.StripStream(RECIPE, **wrong)
    with pytest.raises(TypeError):
        type(narvoassem.StripStream(RECIPE, WIDTH)._feed).__new__(int)


def test_wrong_rows_are_refused_and_not_taken():
    stream = narvoassem.StripStream(RECIPE, WIDTH)
    image = web(600)
    for rows in (
        image[:, :-1],
        np.ascontiguousarray(image[:, :-1]),
        image.astype(np.uint16),
        image[0],
        image[:0],
        np.dstack([image] * 3),
        None,
    ):
        with pytest.raises((narvoassem.ImageError, TypeError)):
            stream.push(rows)
    assert stream.counts.rows == 0
    stream.push(image[:10])
    with pytest.raises(narvoassem.ArgumentError, match="height"):
        stream.finish()
    found = np.concatenate([stream.push(image[10:]), stream.finish(), stream.finish()])
    assert places(found) == places(narvoassem.inspect(image, RECIPE).blobs)
    with pytest.raises(narvoassem.ImageError):
        stream.push(image)


def test_threads_push_one_after_the_other_and_no_blob_is_lost():
    image = np.tile(web(97 * 4)[97:194], (50, 1))  # four periods
    stream = narvoassem.StripStream(RECIPE, WIDTH, window_rows=300)
    found = []

    def push():
        for _ in range(10):
            found.append(stream.push(image[:97]))
            assert stream.counts.rows > 0

    threads = [threading.Thread(target=push) for _ in range(5)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    found.append(stream.finish())
    # All pieces are alike, so their order does not matter.
    assert places(np.concatenate(found)) == places(narvoassem.inspect(image, RECIPE).blobs)


def test_a_forked_child_is_told_that_the_stream_is_its_parents():
    stream = narvoassem.StripStream(RECIPE, WIDTH)
    stream.push(web(600))
    child = os.fork()
    if child == 0:
        code = 1
        try:
            stream.push(web(600))
        except narvoassem.ImageError as error:
            code = 0 if "forked" in str(error) else 2
        finally:
            del stream
            os._exit(code)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    assert stream.counts.rows == 600
