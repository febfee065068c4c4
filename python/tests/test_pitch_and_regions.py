# SPDX-License-Identifier: MIT
"""The pitch search with the recipe that follows from it, and regions as masks, trapezia and bounds."""

import numpy
import pytest

import narvoassem
from conftest import PITCH_X, PITCH_Y, make_pattern
from narvoassem import regions


def test_the_pitch_is_found_and_its_recipe_finds_the_defect():
    image = make_pattern(800, 600, ((403, 301, 70),), seed=1)
    pitch = narvoassem.search_pitch(image)
    assert pitch.found and pitch.x.found and pitch.y.found
    assert (pitch.x.pitch, pitch.y.pitch) == (PITCH_X, PITCH_Y)
    assert abs(pitch.x.measured - PITCH_X) < 0.05 and 0.9 < pitch.x.confidence <= 1 and pitch.x.periods >= 3
    assert pitch.x.cost.dtype == numpy.float32 and pitch.x.cost[0] < 0.1
    assert pitch.x.cost[int(PITCH_X * 16)] < 0.1 < pitch.x.cost[int(PITCH_X * 8)]
    assert pitch.x.runner_up is None or len(pitch.x.runner_up) == 2
    assert str(PITCH_X) in repr(pitch) and "confidence" in repr(pitch.x)

    recipe = narvoassem.pitch_recipe(image, pitch)
    assert recipe["pitch"] == {"x": PITCH_X, "y": PITCH_Y} and recipe.zone_image is not None
    result = narvoassem.inspect(image, recipe)
    assert [(blob["center_x"], blob["center_y"]) for blob in result.blobs] == [(403, 301)]


def test_a_recipe_from_a_part_of_the_image_inspects_that_part():
    image = make_pattern(800, 600, ((403, 301, 70),), seed=1)
    part = regions.Rect(100, 50, 700, 500)
    recipe = narvoassem.pitch_recipe(image, narvoassem.search_pitch(image, part), region=part)
    assert narvoassem.inspect(image, recipe).region == part
    assert recipe.region_of(image.shape) == part


def test_an_image_without_a_period_gives_none_and_no_recipe():
    image = numpy.random.default_rng(1).integers(90, 130, (300, 300), numpy.uint8)
    pitch = narvoassem.search_pitch(image)
    assert not pitch.found and not pitch.x.found and "none" in repr(pitch)
    with pytest.raises(narvoassem.ArgumentError, match="neither axis"):
        narvoassem.pitch_recipe(image, pitch)


@pytest.mark.parametrize(
    "region", [(0, 0, 401, 300), (-1, 0, 400, 300), (0, 0, 63, 300), (10, 10, 5, 5), (0, 0, 1), "abcd", 7, (0, 0, 1.5, 2)]
)
def test_regions_out_of_place_are_refused_by_search_and_recipe(image, region):
    pitch = narvoassem.search_pitch(image)
    with pytest.raises(narvoassem.ArgumentError, match="region"):
        narvoassem.search_pitch(image, region)
    with pytest.raises(narvoassem.ArgumentError, match="region"):
        narvoassem.pitch_recipe(image, pitch, region)


def test_a_pitch_of_another_image_does_no_harm(image):
    large = narvoassem.search_pitch(make_pattern(800, 600, ()))
    small = numpy.ascontiguousarray(image[:64, :64])
    try:
        narvoassem.inspect(small, narvoassem.pitch_recipe(small, large))
    except narvoassem.NarvoError as error:
        assert error.problems
    for wrong in (None, image[::2], image.astype(int)):
        with pytest.raises(narvoassem.ImageError):
            narvoassem.search_pitch(wrong)
    with pytest.raises(TypeError):
        narvoassem.pitch_recipe(image, None)


def test_masks_hold_the_pixels_inside():
    mask = regions.polygon_mask([(2, 1), (7, 1), (7, 5), (2, 5)], (8, 10))
    assert mask.shape == (8, 10) and mask.dtype == bool
    expected = numpy.zeros((8, 10), bool)
    expected[1:5, 2:7] = True
    assert numpy.array_equal(mask, expected)
    assert numpy.array_equal(regions.polygon_mask(numpy.array([[2, 1], [7, 1], [7, 5], [2, 5]]), (8, 10)), expected)


def test_trapezia_cover_a_polygon():
    corners = [(10, 0), (30, 0), (40, 20), (20, 40), (0, 20)]
    for direction in ("vertical", "horizontal"):
        trapezia = regions.cut_trapezia(corners, direction)
        assert trapezia.ndim == 3 and trapezia.shape[1:] == (4, 2) and len(trapezia) >= 2
    columns = regions.cut_trapezia(corners, columns=(10, 25))
    assert columns[:, :, 0].min() >= 10 and columns[:, :, 0].max() <= 25
    assert len(regions.cut_trapezia(corners, columns=(100, 200))) == 0


def test_bounds_and_convexity():
    star = [(10, 0), (12, 8), (20, 10), (12, 12), (10, 20), (8, 12), (0, 10), (8, 8)]
    assert regions.bounds_of(star) == regions.Rect(0, 0, 20, 20)
    assert not regions.is_convex(star) and regions.is_convex([(0, 0), (5, 0), (5, 5), (0, 5)])
    with pytest.raises(narvoassem.ArgumentError, match="convex"):
        regions.cut_trapezia(star)


def test_rect_tells_its_sides_and_cuts_images(image):
    rect = regions.Rect(10, 20, 40, 25)
    assert (rect.width, rect.height) == (30, 5)
    assert image[rect.slices].shape == (5, 30)


@pytest.mark.parametrize(
    "points",
    [
        None,
        7,
        "points",
        [],
        [(0, 0), (1, 1)],
        [(0, 0), (1, 1), (2,)],
        [(0, 0), (1, 1), None],
        [(0, 0), (1.5, 1), (3, 4)],
        [(0, 0), (2**31, 1), (3, 4)],
        [(-(2**31), 0), (2**31 - 1, 1), (3, 4)],
        numpy.zeros((3, 3), int),
        numpy.zeros((), int),
    ],
)
def test_points_that_are_none_are_refused(points):
    for call in (
        regions.bounds_of,
        regions.is_convex,
        regions.cut_trapezia,
        lambda value: regions.polygon_mask(value, (10, 10)),
    ):
        with pytest.raises(narvoassem.ArgumentError, match="points"):
            call(points)


def test_masks_and_trapezia_out_of_range_are_refused():
    corners = [(0, 0), (9, 0), (9, 9)]
    for shape in (None, (0, 9), (9,), (2**31, 9), (70000, 70000), (5, 20), (20, 5)):
        with pytest.raises(narvoassem.ArgumentError):
            regions.polygon_mask(corners, shape)
    for columns in ((5, 5), (-1, 5), (1,), "ab", (0, 10**6)):
        with pytest.raises(narvoassem.ArgumentError, match="columns"):
            regions.cut_trapezia(corners, columns=columns)
    with pytest.raises(narvoassem.ArgumentError, match="direction"):
        regions.cut_trapezia(corners, "sideways")
    with pytest.raises(narvoassem.ArgumentError):
        regions.cut_trapezia([(0, 0), (90000, 0), (5, 5)])


def test_a_lattice_that_is_turned_is_found_and_inspected():
    y, x = numpy.mgrid[0:240, 0:320]
    u, v = 0.96 * x + 0.28 * y, 0.96 * y - 0.28 * x  # turned by 16 degrees
    image = 120 + 45 * numpy.cos(2 * numpy.pi * u / 26) + 35 * numpy.cos(2 * numpy.pi * v / 34)
    image = numpy.clip(numpy.rint(image), 0, 255).astype(numpy.uint8)
    lattice = narvoassem.search_lattice(image)
    assert lattice.found and lattice.strength > 0.9
    lengths = sorted(float(numpy.hypot(*vector)) for vector in lattice.vectors)
    assert lengths == pytest.approx([26, 34], abs=0.3)
    recipe = narvoassem.lattice_recipe(image, lattice)
    assert recipe["mode"] == "lattice"
    assert len(narvoassem.inspect(image, recipe).blobs) == 0
    image[100:106, 150:156] = 250
    assert len(narvoassem.inspect(image, recipe).blobs) == 1
    noise = numpy.random.default_rng(3).integers(0, 255, (120, 160)).astype(numpy.uint8)
    nothing = narvoassem.search_lattice(noise)
    assert not nothing.found and nothing.vectors == []
    with pytest.raises(narvoassem.ArgumentError, match="lattice: not found"):
        narvoassem.lattice_recipe(noise, nothing)
    with pytest.raises(narvoassem.ArgumentError, match="region"):
        narvoassem.search_lattice(image, (0, 0, 10, 10))
