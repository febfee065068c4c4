# SPDX-License-Identifier: MIT
"""Golden cells in Python."""

import pathlib

import numpy
import pytest

import narvoassem

RECIPE = {"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 30}}


def panel(spot=0, seed=0, pitch_x=32):
    """Noisy cells with a pad; a spot of 3 by 3 pixels at 20, 10 of each is brighter."""
    noise = numpy.random.default_rng(seed).integers(0, 9, (360, 480))
    v, u = numpy.mgrid[0:360, 0:480]
    u, v = u % pitch_x, v % 24
    image = numpy.where((u >= 4) & (u < 26) & (v >= 4) & (v < 18), 140, 60)
    image[(u >= 19) & (u < 22) & (v >= 9) & (v < 12)] += spot
    return (image + noise).astype(numpy.uint8)


@pytest.fixture(scope="module")
def cell():
    return narvoassem.GoldenCell([panel(seed=seed) for seed in range(3)], RECIPE)


def test_what_every_cell_has_is_found(cell):
    assert cell.images == 3
    assert cell.mean.shape == (24, 32)
    assert repr(cell) == "<narvoassem.GoldenCell: 32 by 24 places>"
    assert len(narvoassem.inspect(panel(12, 9), RECIPE).blobs) == 0
    result = cell.compare(panel(12, 9), RECIPE)
    assert len(result.places) == 1
    place = result.places[0]
    assert abs(place["center_x"] - 20) <= 1 and abs(place["center_y"] - 10) <= 1
    assert abs(place["difference"] - 12) < 1.5
    assert place["standard_errors"] > 6
    assert result.difference.shape == (24, 32)
    assert abs(result.difference[10, 20] - 12) < 1.5
    assert result.parts == 36 and result.parts_left_out == 0
    assert abs(result.gain - 1) < 0.05
    assert str(result).startswith("1 place of the cell differs")
    assert repr(result) == "<narvoassem.CellResult: 1 places>"


def test_good_images_are_like_the_cell_wherever_they_lie(cell):
    for seed in range(10, 16):
        image = numpy.ascontiguousarray(numpy.roll(panel(seed=seed), (seed, -seed), (0, 1))[24:336, 32:448])
        assert len(cell.compare(image, RECIPE).places) == 0
    assert len(cell.compare(panel(12, 9), RECIPE, least_difference=20).places) == 0
    assert len(cell.compare(panel(12, 9), RECIPE, certainty=100, tolerance=4).places) == 0


def test_files_keep_it(cell, tmp_path):
    cell.save(tmp_path / "cell.json")
    again = narvoassem.GoldenCell.load(tmp_path / "cell.json")
    assert numpy.abs(again.mean - cell.mean).max() < 0.001
    places = again.compare(panel(12, 9), RECIPE).places
    assert len(places) == 1 and places[0]["area"] == cell.compare(panel(12, 9), RECIPE).places[0]["area"]
    with pytest.raises(narvoassem.FileError, match="none.json"):
        narvoassem.GoldenCell.load(tmp_path / "none.json")
    with pytest.raises(narvoassem.FileError):
        cell.save(tmp_path / "no folder" / "cell.json")
    (tmp_path / "other.json").write_text("{}")
    with pytest.raises(narvoassem.FileError, match="golden_cell"):
        narvoassem.GoldenCell.load(pathlib.Path(tmp_path / "other.json"))


def test_bad_input_is_named(cell):
    flat = numpy.full((360, 480), 90, numpy.uint8)
    with pytest.raises(narvoassem.ImageError, match=r"images\[1\]"):
        narvoassem.GoldenCell([panel(), flat], RECIPE)
    with pytest.raises(narvoassem.ImageError, match="resemble"):
        cell.compare(flat, RECIPE)
    with pytest.raises(narvoassem.ImageError):
        cell.compare(panel().astype(float), RECIPE)
    with pytest.raises(narvoassem.NarvoError, match="images"):
        narvoassem.GoldenCell([], RECIPE)
    with pytest.raises(narvoassem.RecipeError, match="no pitch"):
        narvoassem.GoldenCell(panel(), {"version": 1, "mode": "average", "average": {"bright": 9, "dark": 9}})
    with pytest.raises(narvoassem.RecipeError, match="32 by 24"):
        cell.compare(panel(), {**RECIPE, "pitch": {"x": 40, "y": 24}})
    for name, value in (("least_difference", -1), ("tolerance", 5), ("certainty", 2), ("certainty", float("nan"))):
        with pytest.raises(narvoassem.ArgumentError, match=name):
            cell.compare(panel(), RECIPE, **{name: value})
    with pytest.raises(TypeError):
        narvoassem.GoldenCell.__new__(narvoassem.GoldenCell)
    with pytest.raises(TypeError):
        narvoassem.CellResult()
