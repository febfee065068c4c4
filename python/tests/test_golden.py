# SPDX-License-Identifier: MIT
"""Golden inspection: a board that does not repeat, shifted, with something added, against good ones."""

import json

import numpy
import pandas
import pytest

import narvoassem

WIDTH, HEIGHT = 320, 256


def make_board(shift_x=0, shift_y=0, extra=(), seed=None):
    """Rectangles at random places, moved by whole pixels; extra ones are (left, top, right, bottom, grey)."""
    random = numpy.random.default_rng(7)
    board = numpy.full((HEIGHT + 80, WIDTH + 80), 60, numpy.int32)
    for _ in range(120):
        left, top = random.integers(0, WIDTH + 60), random.integers(0, HEIGHT + 60)
        board[top : top + random.integers(4, 30), left : left + random.integers(4, 40)] = random.integers(40, 200)
    image = board[40 - shift_y : 40 - shift_y + HEIGHT, 40 - shift_x : 40 - shift_x + WIDTH].copy()
    for left, top, right, bottom, grey in extra:
        image[top:bottom, left:right] = grey
    if seed is not None:
        image = image + numpy.random.default_rng(seed).integers(-2, 3, image.shape)
    return numpy.clip(image, 0, 255).astype(numpy.uint8)


@pytest.fixture(scope="module")
def model():
    return narvoassem.GoldenModel([make_board(seed=1), make_board(2, -1, seed=2)])


def test_what_was_added_is_found_at_its_place_in_image_and_reference(model):
    image = make_board(5, 3, [(150, 120, 162, 130, 250)], seed=3)
    found = model.inspect(image)
    assert (round(found.registration.shift_x), round(found.registration.shift_y)) == (5, 3)
    assert found.registration.correlation > 0.9 and 0.5 < found.compared <= 1 and 0.9 < found.registration.overlap <= 1
    assert numpy.allclose(found.registration.map(100, 100), (95, 97), atol=0.5)
    blobs, places = found.result.blobs, found.places
    assert len(blobs) == len(places) == 1
    assert blobs["bright"][0] and abs(blobs["center_x"][0] - 155.5) < 2 and abs(blobs["center_y"][0] - 124.5) < 2
    assert abs(places["center_x"][0] - 150.5) < 2 and abs(places["center_y"][0] - 121.5) < 2
    assert list(pandas.DataFrame(places).columns) == ["left", "top", "right", "bottom", "center_x", "center_y"]
    assert found.reference.shape == found.threshold.shape == image.shape
    assert found.result.overlay(image).shape == (HEIGHT, WIDTH, 3)
    document = found.to_dict()
    assert json.loads(json.dumps(document)) == document and len(document["blobs"]) == 1
    assert len(found.to_csv().splitlines()) == 2


def test_good_boards_give_nothing(model):
    for shift in (0, 4):
        assert len(model.inspect(make_board(shift, -shift, seed=shift + 5)).result.blobs) == 0


def test_the_model_shows_itself(model):
    assert model.mean.shape == model.tolerance.shape == (HEIGHT, WIDTH)
    (registration,) = model.registrations
    assert (round(registration.shift_x), round(registration.shift_y)) == (-2, 1)
    single = narvoassem.GoldenModel(make_board())
    assert numpy.array_equal(single.mean, make_board()) and single.registrations == []


def test_settings_decide(model):
    image = make_board(0, 0, [(150, 120, 162, 130, 250)], seed=3)
    strict = narvoassem.GoldenModel(make_board(), min_pixels=100000)
    assert len(strict.inspect(image).result.blobs) == 0


@pytest.mark.parametrize(
    "settings",
    [{"threshold": 256}, {"edge_tolerance": -1.0}, {"min_pixels": 0}, {"max_blobs": 0}, {"max_shift": float("nan")},
     {"threshold": 2**40}, {"max_blobs": -(2**70)}, {"max_shift": 10**400}, {"max_rotation": 90.0}, {"max_scale": -1.0}, {"mesh_spacing": 3}, {"min_correlation": 2.0}],
)
def test_settings_out_of_range_are_refused(settings):
    with pytest.raises(narvoassem.ArgumentError):
        narvoassem.GoldenModel(make_board(), **settings)


def test_what_is_no_image_is_refused(model):
    for references in (None, 7, numpy.array(3, numpy.uint8)):
        with pytest.raises(narvoassem.ImageError, match="references: .*; allowed: an image, or a sequence of images"):
            narvoassem.GoldenModel(references)
    for references in ([], [None], [make_board(), make_board().astype(float)], [numpy.zeros((3, 3), numpy.uint8)]):
        with pytest.raises(narvoassem.NarvoError):
            narvoassem.GoldenModel(references)
    for image in (None, make_board().T, numpy.zeros((HEIGHT, WIDTH), numpy.uint8), numpy.zeros((3, 3), numpy.uint8)):
        with pytest.raises(narvoassem.ImageError):
            model.inspect(image)
    with pytest.raises(TypeError):
        narvoassem.GoldenModel.__new__(narvoassem.GoldenModel)
    with pytest.raises(TypeError):
        narvoassem.GoldenResult()
